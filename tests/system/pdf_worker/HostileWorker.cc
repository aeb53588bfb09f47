// A PDF helper as an attacker would have it: what it does is the name it is started by.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/pdf/PdfProtocol.h"

using namespace lanternfly;
using namespace lanternfly::pdfwire;

namespace {

void sendBytes(const void* bytes, size_t size) {
    if (send(channelDescriptor, bytes, size, MSG_NOSIGNAL) < 0) _exit(1);
}

void say(const Reply& reply) {
    const auto message = encode(reply);
    sendBytes(message.bytes.data(), message.size);
}

struct Heard {
    std::optional<Request> request;
    int descriptor = -1;
};

Heard hear() {
    Message message;
    iovec part{message.bytes.data(), message.bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(channelDescriptor, &header, 0);
    if (size <= 0) _exit(0);
    message.size = static_cast<size_t>(size);
    Heard heard{decodeRequest(message.view()), -1};
    if (const cmsghdr* rights = CMSG_FIRSTHDR(&header))
        std::memcpy(&heard.descriptor, CMSG_DATA(rights), sizeof heard.descriptor);
    return heard;
}

[[noreturn]] void hang() {
    for (;;)
        pause();
}

void sendDescriptors(const Message& message) {
    const int descriptor = open("/dev/null", O_RDONLY);
    iovec part{const_cast<uint8_t*>(message.bytes.data()), message.size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    cmsghdr* rights = CMSG_FIRSTHDR(&header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    sendmsg(channelDescriptor, &header, MSG_NOSIGNAL);
}

} // namespace

int main() {
    const std::string path = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    const std::string mode = path.substr(path.rfind('/') + 1);

    if (mode == "exits") return 3;
    if (mode == "never-speaks") hang();
    if (mode == "other-version") {
        say(HelloReply{protocolVersion + 1, 0});
        hang();
    }
    say(HelloReply{protocolVersion, allProtections});
    hear(); // the document
    if (mode == "hangs-opening") hang();
    if (mode == "no-pages") say(OpenReply{OpenStatus::opened, 0});
    if (mode == "too-many-pages") {
        const auto message = encode(Reply{OpenReply{OpenStatus::opened, 0xffffffffu}});
        sendBytes(message.bytes.data(), message.size);
    }
    say(OpenReply{OpenStatus::opened, 3});

    int buffer = -1;
    size_t bufferBytes = 0;
    for (;;) {
        const auto heard = hear();
        if (!heard.request) return 4;
        if (const auto* size = std::get_if<BufferRequest>(&*heard.request)) {
            buffer = heard.descriptor;
            bufferBytes = size->sizeBytes;
            // Shared memory that shrinks would make its other reader fault.
            if (mode == "shrinks-buffer" && ftruncate(buffer, 0) == 0) return 5;
        } else if (const auto* measured = std::get_if<PageSizeRequest>(&*heard.request)) {
            if (mode == "absurd-page")
                say(PageSizeReply{1e300, 1e-300});
            else if (mode == "page-without-area")
                say(PageSizeReply{0, 612});
            else if (mode == "page-of-nan")
                say(PageSizeReply{std::nan(""), 612});
            else if (mode == "dies-measuring-page-2" && measured->index == 1)
                abort();
            else
                say(PageSizeReply{400, 300});
        } else if (const auto* render = std::get_if<RenderRequest>(&*heard.request)) {
            const bool isSecond = render->index == 1;
            if (mode == "hangs-on-page-2" && isSecond) hang();
            if (mode == "dies-on-page-2" && isSecond) abort();
            if (mode == "ends-after-each-page") {
                say(RenderReply{RenderStatus::drawn});
                return 0;
            }
            if (mode == "babbles") {
                const std::string babble(100'000, 'x');
                sendBytes(babble.data(), babble.size());
            } else if (mode == "answers-something-else") {
                say(PageSizeReply{1, 1});
            } else if (mode == "closes-and-lives") {
                close(channelDescriptor);
                hang();
            } else {
                void* pixels =
                    mmap(nullptr, bufferBytes, PROT_READ | PROT_WRITE, MAP_SHARED, buffer, 0);
                if (pixels == MAP_FAILED) return 6;
                std::memset(pixels, 0x40 + static_cast<int>(render->index), bufferBytes);
                munmap(pixels, bufferBytes);
                if (mode == "sends-descriptors")
                    sendDescriptors(encode(Reply{RenderReply{RenderStatus::drawn}}));
                else
                    say(RenderReply{RenderStatus::drawn});
            }
        }
    }
}
