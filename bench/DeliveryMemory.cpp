// Peak resident memory of delivering one 16 MiB page, above the process at
// rest: page in hand (as HTTPSocket holds it at PageReceived), window made,
// peer connected. A process of its own, so that nothing measured before
// raises the high-water mark.
//
// Usage: qvbench_memory html|noise
// Prints one JSON object: the page kind, its size, and the peak resident set
// in KiB at rest and after the delivery.

#include <sys/resource.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "ChannelRig.h"
#include "Inputs.h"

namespace {

constexpr std::size_t kPageBytes = std::size_t{16} << 20;

long PeakResidentKiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string kind = argc == 2 ? argv[1] : "";
    if (kind != "html" && kind != "noise") {
        std::fprintf(stderr, "usage: %s html|noise\n", argv[0]);
        return 2;
    }
    const qv::String page(kind == "html" ? qv::bench::HtmlText(kPageBytes)
                                         : qv::bench::NoiseBytes(kPageBytes));
    const qv::HTTPSocket::Headers headers = qv::bench::TypicalHeaders(kPageBytes);
    qv::bench::ChannelRig rig;
    if (!rig.Ready()) {
        std::fprintf(stderr, "the channel did not come up\n");
        return 1;
    }
    const long idle = PeakResidentKiB();
    if (!rig.DeliverPage(headers, page)) {
        std::fprintf(stderr, "the peer did not receive the frame\n");
        return 1;
    }
    const long peak = PeakResidentKiB();
    std::printf("{\"page\": \"%s\", \"page_bytes\": %zu, \"idle_kib\": %ld, \"peak_kib\": %ld}\n",
                kind.c_str(), kPageBytes, idle, peak);
    return 0;
}
