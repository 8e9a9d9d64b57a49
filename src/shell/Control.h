#pragma once

#include <cstdint>
#include <optional>

namespace qv {

class RSSDownloadWindow;

// What a control on the window carries besides its own class: the window it
// sits on and its index in a control array (unset: no array). Controls are
// reached by name through the window, so this is a polymorphic base that the
// look-up casts from.
class Control {
public:
    virtual ~Control() = default;

    void _SetWindow(RSSDownloadWindow* window) { window_ = window; }
    RSSDownloadWindow* Window() const { return window_; }
    std::optional<std::int32_t> _Index() const { return index_; }
    void _SetIndex(std::optional<std::int32_t> index) { index_ = index; }

private:
    RSSDownloadWindow* window_ = nullptr;
    std::optional<std::int32_t> index_;
};

}  // namespace qv
