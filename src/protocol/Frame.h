#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "foundation/ByteQueue.h"
#include "foundation/String.h"

namespace qv {

// A frame on the channel: "Start_", the payload (Base64 of a packed message),
// "_End". No length, no checksum, nothing between frames.
inline constexpr std::string_view kFrameStart = "Start_";
inline constexpr std::string_view kFrameEnd = "_End";

// The whole frame of a message text, packed, encoded and framed in one buffer.
String MakeFrame(const String& messageText);

// The message text in a payload, marked UTF-8; "" when the payload does not
// decode or decompress.
String DecodePayload(std::string_view payload);

// The receive buffer of the channel, which cuts frames out of the byte stream.
//
// The cut is the long-standing one that the peer depends on, byte for byte: the
// first "Start_" and the first "_End" are each searched from the start of the
// buffer (ignoring letter case), independently, so an "_End" ahead of the
// "Start_" yields an empty payload; the buffer is then cut behind that "_End",
// dropping everything before it. Only the searching is smarter: what has been
// searched is remembered, so taking many frames out of one large read, or one
// large frame that arrives in many small reads, costs time linear in the bytes.
class FrameBuffer {
public:
    void Append(std::string_view bytes);
    // The payload of the next frame, cut from the buffer together with all that
    // stood before its end marker; nullopt while the buffer holds no pair of
    // markers. The payload is empty when the end marker comes too early.
    std::optional<String> TakeFrame();
    // The bytes not cut yet.
    std::string_view Pending() const { return bytes_.View(); }

private:
    static std::optional<std::size_t> Search(std::string_view bytes, std::string_view marker,
                                             std::size_t& searchedTo);

    ByteQueue bytes_;
    // Offsets from the front of the buffer: the first marker found, or where
    // the search for it can go on without missing one.
    std::optional<std::size_t> start_;
    std::optional<std::size_t> end_;
    std::size_t startSearchedTo_ = 0;
    std::size_t endSearchedTo_ = 0;
};

}  // namespace qv
