#include "protocol/Frame.h"

#include <string>

#include "foundation/Base64.h"
#include "foundation/TextFunctions.h"
#include "protocol/PayloadCodec.h"

namespace qv {

String MakeFrame(const String& messageText) {
    const String packed = zCompress(messageText);
    std::string frame;
    frame.reserve(kFrameStart.size() + (packed.Size() + 2) / 3 * 4 + kFrameEnd.size());
    frame.append(kFrameStart);
    AppendBase64(frame, packed.Bytes());
    frame.append(kFrameEnd);
    return String(std::move(frame));
}

String DecodePayload(std::string_view payload) {
    return setToUTF8(zDecompress(Base64Decode(String(payload))));
}

void FrameBuffer::Append(std::string_view bytes) {
    bytes_.Append(bytes);
}

std::optional<std::size_t> FrameBuffer::Search(std::string_view bytes, std::string_view marker,
                                               std::size_t& searchedTo) {
    const std::size_t at = FindIgnoringCase(bytes, marker, searchedTo);
    if (at != std::string_view::npos) return at;
    // A marker may yet be completed by the next bytes: leave its beginning unsearched.
    searchedTo = bytes.size() >= marker.size() ? bytes.size() - marker.size() + 1 : 0;
    return std::nullopt;
}

std::optional<String> FrameBuffer::TakeFrame() {
    const std::string_view bytes = bytes_.View();
    if (!start_) start_ = Search(bytes, kFrameStart, startSearchedTo_);
    if (!end_) end_ = Search(bytes, kFrameEnd, endSearchedTo_);
    if (!start_ || !end_) return std::nullopt;

    const std::size_t payloadFrom = *start_ + kFrameStart.size();
    String payload = *end_ > payloadFrom ? String(bytes.substr(payloadFrom, *end_ - payloadFrom)) : String();
    const std::size_t cut = *end_ + kFrameEnd.size();
    bytes_.Drop(cut);

    // The first "Start_" behind the cut is still the first; the first "_End"
    // lay before it, so the next one is sought from the new front.
    if (*start_ >= cut) {
        *start_ -= cut;
    } else {
        start_.reset();
        startSearchedTo_ = 0;
    }
    end_.reset();
    endSearchedTo_ = 0;
    return payload;
}

}  // namespace qv
