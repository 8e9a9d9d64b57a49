#pragma once

#include <cstddef>

#include "foundation/String.h"

namespace qv {

// The body of a response as it arrives. Pieces are appended in amortised O(1);
// Text() hands the whole over as a String without a copy and keeps it, so a
// 64 MiB body is copied neither once per piece nor once per reader.
class PageBuffer {
public:
    void Append(const String& piece);
    std::size_t Size() const { return frozen_ ? text_.Size() : growing_.Size(); }
    String Text();
    void Clear();

private:
    // Appends to the growing text, making room ahead first when it is full.
    void Grow(const String& bytes);

    StringBuilder growing_;
    std::size_t room_ = 0;
    String text_;
    bool frozen_ = false;
};

}  // namespace qv
