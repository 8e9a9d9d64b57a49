// Peak resident memory of a delivery, above the process at rest (window made,
// peer connected). A process of its own, so that nothing measured before
// raises the high-water mark.
//
// html, noise: one 16 MiB page delivered, with the page already in hand (as
// HTTPSocket holds it at PageReceived).
// headers: a header block of 1,000,000 lines of 14 bytes made, parsed and
// delivered as a report with no body; the block itself counts, since the
// parsed headers keep it.
//
// Usage: qvbench_memory html|noise|headers
// Prints one JSON object: the kind, the size of its page or block, and the
// peak resident set in KiB at rest and after the delivery.

#include <sys/resource.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

#include "ChannelRig.h"
#include "Inputs.h"

namespace {

constexpr std::size_t kPageBytes = std::size_t{16} << 20;
constexpr std::size_t kHeaderLines = 1'000'000;

long PeakResidentKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

struct Peak {
    std::size_t bytes = 0;  // of the page or the block
    long idleKiB = 0;
    long peakKiB = 0;
};

bool DeliverPage(qv::bench::ChannelRig& rig, const std::string& kind, Peak& peak) {
    const qv::String page(kind == "html" ? qv::bench::HtmlText(kPageBytes) : qv::bench::NoiseBytes(kPageBytes));
    const qv::HTTPSocket::Headers headers = qv::bench::TypicalHeaders(kPageBytes);
    peak.bytes = page.Size();
    peak.idleKiB = PeakResidentKiB();
    return rig.DeliverPage(headers, page);
}

bool DeliverHeaderBlock(qv::bench::ChannelRig& rig, Peak& peak) {
    peak.idleKiB = PeakResidentKiB();
    const qv::String block(qv::bench::HeaderBlock(kHeaderLines));
    peak.bytes = block.Size();
    auto headers = std::make_shared<qv::InternetHeaders>();
    headers->_ParseHeaders(block);
    return headers->Count() == static_cast<std::int32_t>(kHeaderLines) && rig.DeliverPage(headers, qv::String());
}

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc == 2 ? argv[1] : "";
    if (kind != "html" && kind != "noise" && kind != "headers") {
        std::fprintf(stderr, "usage: %s html|noise|headers\n", argv[0]);
        return 2;
    }
    qv::bench::ChannelRig rig;
    if (!rig.Ready()) {
        std::fprintf(stderr, "the channel did not come up\n");
        return 1;
    }
    Peak peak;
    if (!(kind == "headers" ? DeliverHeaderBlock(rig, peak) : DeliverPage(rig, kind, peak))) {
        std::fprintf(stderr, "the peer did not receive the frame\n");
        return 1;
    }
    peak.peakKiB = PeakResidentKiB();
    std::printf("{\"page\": \"%s\", \"page_bytes\": %zu, \"idle_kib\": %ld, \"peak_kib\": %ld}\n", kind.c_str(),
                peak.bytes, peak.idleKiB, peak.peakKiB);
    return 0;
}
