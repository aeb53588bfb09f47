// What the host and the PDF helper say to each other: one short message per datagram, each with its
// own size and kind in front, numbers in the machine's byte order. Decoding trusts nothing.
// Threads: value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>

namespace lanternfly::pdfwire {

inline constexpr uint32_t protocolVersion = 1;
// The helper finds its end of the socket pair here, and nothing else is open but 0, 1 and 2.
inline constexpr int channelDescriptor = 3;
inline constexpr uint32_t maxPageCount = 1'000'000;
inline constexpr uint32_t maxSidePX = 16384;

// Requests. The descriptor travels beside the message.
struct OpenRequest { // + the document, read-only
    friend bool operator==(const OpenRequest&, const OpenRequest&) = default;
};
struct PageSizeRequest {
    uint32_t index = 0;
    friend bool operator==(const PageSizeRequest&, const PageSizeRequest&) = default;
};
// Where the pictures go from now on. Has no reply.
struct BufferRequest { // + shared memory of at least that size
    uint64_t sizeBytes = 0;
    friend bool operator==(const BufferRequest&, const BufferRequest&) = default;
};
// Rows of widthPX × 4 bytes, BGRA, top row first.
struct RenderRequest {
    uint32_t index = 0, widthPX = 0, heightPX = 0;
    friend bool operator==(const RenderRequest&, const RenderRequest&) = default;
};
using Request = std::variant<OpenRequest, PageSizeRequest, BufferRequest, RenderRequest>;

// Which parts of the sandbox hold, one bit each.
enum Protection : uint32_t {
    limitsHold = 1, // memory, CPU time, file size, processes, descriptors, core files
    callsHold = 2,  // system calls outside the list kill the helper
    filesHold = 4,  // only font folders can be opened, and only to read
};
inline constexpr uint32_t allProtections = limitsHold | callsHold | filesHold;

// Replies.
struct HelloReply { // first, unasked
    uint32_t version = 0, protections = 0;
    friend bool operator==(const HelloReply&, const HelloReply&) = default;
};
enum class OpenStatus : uint32_t { opened, damaged, encrypted };
struct OpenReply {
    OpenStatus status = OpenStatus::damaged;
    uint32_t pageCount = 0;
    friend bool operator==(const OpenReply&, const OpenReply&) = default;
};
// Points; 0 × 0 for a page that cannot be read.
struct PageSizeReply {
    double width = 0, height = 0;
    friend bool operator==(const PageSizeReply&, const PageSizeReply&) = default;
};
enum class RenderStatus : uint32_t { drawn, failed };
struct RenderReply {
    RenderStatus status = RenderStatus::failed;
    friend bool operator==(const RenderReply&, const RenderReply&) = default;
};
using Reply = std::variant<HelloReply, OpenReply, PageSizeReply, RenderReply>;

struct Message {
    static constexpr size_t capacityBytes = 32;
    std::array<uint8_t, capacityBytes> bytes{};
    size_t size = 0;

    std::span<const uint8_t> view() const { return {bytes.data(), size}; }
};

Message encode(const Request& request);
Message encode(const Reply& reply);

// Nothing when the size, the kind or a number is not what the protocol allows.
std::optional<Request> decodeRequest(std::span<const uint8_t> bytes);
std::optional<Reply> decodeReply(std::span<const uint8_t> bytes);

} // namespace lanternfly::pdfwire
