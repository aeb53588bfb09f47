#include "platform/linux/pdf/PdfProtocol.h"

#include <cmath>
#include <cstring>

#include "base/Match.h"

namespace lanternfly::pdfwire {

namespace {

enum class Kind : uint32_t {
    open = 1,
    pageSize,
    buffer,
    render,
    hello = 101,
    opened,
    pageMeasured,
    rendered,
};

constexpr size_t headerBytes = 8;

class Writer {
public:
    explicit Writer(Kind kind) {
        put(uint32_t{0});
        put(static_cast<uint32_t>(kind));
    }

    template <typename Number>
    Writer& put(Number number) {
        static_assert(sizeof(Number) <= Message::capacityBytes);
        std::memcpy(_message.bytes.data() + _message.size, &number, sizeof number);
        _message.size += sizeof number;
        return *this;
    }

    Message finish() {
        const auto size = static_cast<uint32_t>(_message.size);
        std::memcpy(_message.bytes.data(), &size, sizeof size);
        return _message;
    }

private:
    Message _message;
};

class Reader {
public:
    explicit Reader(std::span<const uint8_t> bytes) : _rest(bytes) {
        const auto size = take<uint32_t>();
        _kind = take<uint32_t>();
        if (size != bytes.size()) _isSound = false;
    }

    uint32_t kind() const { return _isSound ? _kind : 0; }

    template <typename Number>
    Number take() {
        Number number{};
        if (_rest.size() < sizeof number) {
            _isSound = false;
            return number;
        }
        std::memcpy(&number, _rest.data(), sizeof number);
        _rest = _rest.subspan(sizeof number);
        return number;
    }

    // Everything was there, and nothing is left.
    bool isComplete() const { return _isSound && _rest.empty(); }

private:
    std::span<const uint8_t> _rest;
    uint32_t _kind = 0;
    bool _isSound = true;
};

bool isSide(uint32_t sidePX) {
    return sidePX >= 1 && sidePX <= maxSidePX;
}

} // namespace

Message encode(const Request& request) {
    return match(
        request, [](const OpenRequest&) { return Writer(Kind::open).finish(); },
        [](const PageSizeRequest& r) { return Writer(Kind::pageSize).put(r.index).finish(); },
        [](const BufferRequest& r) { return Writer(Kind::buffer).put(r.sizeBytes).finish(); },
        [](const RenderRequest& r) {
            return Writer(Kind::render).put(r.index).put(r.widthPX).put(r.heightPX).finish();
        });
}

Message encode(const Reply& reply) {
    return match(
        reply,
        [](const HelloReply& r) {
            return Writer(Kind::hello).put(r.version).put(r.protections).finish();
        },
        [](const OpenReply& r) {
            return Writer(Kind::opened)
                .put(static_cast<uint32_t>(r.status))
                .put(r.pageCount)
                .finish();
        },
        [](const PageSizeReply& r) {
            return Writer(Kind::pageMeasured).put(r.width).put(r.height).finish();
        },
        [](const RenderReply& r) {
            return Writer(Kind::rendered).put(static_cast<uint32_t>(r.status)).finish();
        });
}

std::optional<Request> decodeRequest(std::span<const uint8_t> bytes) {
    Reader reader(bytes);
    std::optional<Request> request;
    if (reader.kind() == static_cast<uint32_t>(Kind::open)) {
        request = OpenRequest{};
    } else if (reader.kind() == static_cast<uint32_t>(Kind::pageSize)) {
        const PageSizeRequest read{reader.take<uint32_t>()};
        if (read.index < maxPageCount) request = read;
    } else if (reader.kind() == static_cast<uint32_t>(Kind::buffer)) {
        const BufferRequest read{reader.take<uint64_t>()};
        if (read.sizeBytes > 0 && read.sizeBytes <= uint64_t{maxSidePX} * maxSidePX * 4)
            request = read;
    } else if (reader.kind() == static_cast<uint32_t>(Kind::render)) {
        RenderRequest read;
        read.index = reader.take<uint32_t>();
        read.widthPX = reader.take<uint32_t>();
        read.heightPX = reader.take<uint32_t>();
        if (read.index < maxPageCount && isSide(read.widthPX) && isSide(read.heightPX))
            request = read;
    }
    return reader.isComplete() ? request : std::nullopt;
}

std::optional<Reply> decodeReply(std::span<const uint8_t> bytes) {
    Reader reader(bytes);
    std::optional<Reply> reply;
    if (reader.kind() == static_cast<uint32_t>(Kind::hello)) {
        HelloReply read;
        read.version = reader.take<uint32_t>();
        read.protections = reader.take<uint32_t>();
        if (read.version == protocolVersion && (read.protections & ~allProtections) == 0)
            reply = read;
    } else if (reader.kind() == static_cast<uint32_t>(Kind::opened)) {
        const auto status = reader.take<uint32_t>();
        const auto pageCount = reader.take<uint32_t>();
        if (status <= static_cast<uint32_t>(OpenStatus::encrypted) && pageCount <= maxPageCount)
            reply = OpenReply{static_cast<OpenStatus>(status), pageCount};
    } else if (reader.kind() == static_cast<uint32_t>(Kind::pageMeasured)) {
        PageSizeReply read;
        read.width = reader.take<double>();
        read.height = reader.take<double>();
        if (std::isfinite(read.width) && std::isfinite(read.height) && read.width >= 0 &&
            read.height >= 0)
            reply = read;
    } else if (reader.kind() == static_cast<uint32_t>(Kind::rendered)) {
        const auto status = reader.take<uint32_t>();
        if (status <= static_cast<uint32_t>(RenderStatus::failed))
            reply = RenderReply{static_cast<RenderStatus>(status)};
    }
    return reader.isComplete() ? reply : std::nullopt;
}

} // namespace lanternfly::pdfwire
