#pragma once

#include <cstddef>
#include <string>

namespace qv::bench {

// Inputs for the benchmarks, the same bytes on every run and every machine.

// HTML-like text of exactly `size` bytes: markup, links and prose from a small
// vocabulary, so that it compresses about as well as a real page does.
std::string HtmlText(std::size_t size);

// `size` bytes that do not compress, like an image or an archive.
std::string NoiseBytes(std::size_t size);

enum class HeaderNames { Distinct, OneRepeated };

// A response's header block as a server may send it: a status line and `lines`
// lines of 14 bytes with CR LF, either "X-0000000: v" to "X-9999999: v", each
// name its own, or "X-0000000: v" over and over.
std::string HeaderBlock(std::size_t lines, HeaderNames names = HeaderNames::Distinct);

}  // namespace qv::bench
