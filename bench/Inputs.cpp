#include "Inputs.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace qv::bench {

namespace {

// xorshift64: fixed by its definition, unlike the distributions of <random>.
class Random {
public:
    std::uint64_t Next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }
    std::size_t Below(std::size_t bound) { return static_cast<std::size_t>(Next() % bound); }

private:
    std::uint64_t state_ = 0x9E3779B97F4A7C15;
};

constexpr std::array<std::string_view, 48> kWords = {
    "the",      "council",  "market",   "river",     "said",    "report",   "new",      "city",
    "season",   "rates",    "would",    "after",     "league",  "plans",    "school",   "weather",
    "minister", "record",   "police",   "festival",  "of",      "and",      "to",       "in",
    "a",        "for",      "with",     "on",        "was",     "from",     "local",    "budget",
    "energy",   "transport", "museum",  "election",  "storm",   "players",  "hospital", "prices",
    "week",     "year",     "north",    "opening",   "bridge",  "vote",     "morning",  "company",
};

constexpr std::array<std::string_view, 6> kSections = {"world", "local", "sport", "business", "culture", "weather"};

void AppendWords(std::string& out, Random& random, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) out += ' ';
        out += kWords[random.Below(kWords.size())];
    }
}

void AppendStory(std::string& out, Random& random) {
    const std::string_view section = kSections[random.Below(kSections.size())];
    out += "<div class=\"story story-";
    out += section;
    out += "\">\n  <h2><a href=\"http://news.example.org/";
    out += section;
    out += "/2024/";
    out += std::to_string(100000 + random.Below(900000));
    out += ".html\">";
    AppendWords(out, random, 4 + random.Below(6));
    out += "</a></h2>\n";
    for (std::size_t paragraphs = 1 + random.Below(3); paragraphs > 0; --paragraphs) {
        out += "  <p>";
        AppendWords(out, random, 20 + random.Below(40));
        out += ".</p>\n";
    }
    out += "  <span class=\"byline\">";
    AppendWords(out, random, 2);
    out += "</span>\n</div>\n";
}

}  // namespace

std::string HtmlText(std::size_t size) {
    Random random;
    // Room for the last story to run over, so that the text is never moved
    // while it grows: a measure of peak memory sees it once, not twice.
    constexpr std::size_t kLastStoryRoom = 64 * 1024;
    std::string text;
    text.reserve(size + kLastStoryRoom);
    text = "<!DOCTYPE html>\n<html><head><title>News</title></head>\n<body>\n";
    while (text.size() < size) AppendStory(text, random);
    text.resize(size);
    return text;
}

std::string NoiseBytes(std::size_t size) {
    Random random;
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random.Next() >> 56);
    return bytes;
}

std::string HeaderBlock(std::size_t lines, HeaderNames names) {
    constexpr std::string_view kStatusLine = "HTTP/1.0 200 OK\r\n";
    constexpr std::string_view kLine = "X-0000000: v\r\n";
    constexpr std::size_t kDigitsAt = 2;
    constexpr std::size_t kDigits = 7;
    std::string block;
    block.reserve(kStatusLine.size() + lines * kLine.size());  // made once: seen once at the peak
    block += kStatusLine;
    std::string line(kLine);
    for (std::size_t number = 0; number < lines; ++number) {
        std::size_t rest = names == HeaderNames::Distinct ? number : 0;
        for (std::size_t digit = kDigits; digit-- > 0; rest /= 10) {
            line[kDigitsAt + digit] = static_cast<char>('0' + rest % 10);
        }
        block += line;
    }
    return block;
}

}  // namespace qv::bench
