// SPDX-License-Identifier: GPL-2.0-or-later
// lanternfly-pdf-worker: draws the pages of one PDF into memory that it is given. Started by the
// host with its end of a socket pair as descriptor 3, an empty environment and nothing else open;
// ends when the host does.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <sys/socket.h>
#include <unistd.h>

#include "PageDrawer.h"
#include "Sandbox.h"
#include "base/Match.h"
#include "base/UniqueFd.h"
#include "platform/linux/pdf/PdfProtocol.h"

using namespace lanternfly;

namespace {

struct Received {
    pdfwire::Message message;
    UniqueFd descriptor;
};

// Nothing when the host is gone.
std::optional<Received> receive() {
    Received received;
    auto& bytes = received.message.bytes;
    iovec part{bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    ssize_t size;
    do
        size = recvmsg(pdfwire::channelDescriptor, &header, MSG_CMSG_CLOEXEC);
    while (size < 0 && errno == EINTR);
    if (size <= 0) return std::nullopt;
    received.message.size = static_cast<size_t>(size);
    const cmsghdr* rights = CMSG_FIRSTHDR(&header);
    if (rights && rights->cmsg_level == SOL_SOCKET && rights->cmsg_type == SCM_RIGHTS) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(rights), sizeof descriptor);
        received.descriptor.reset(descriptor);
    }
    return received;
}

bool reply(const pdfwire::Reply& answer) {
    const auto message = encode(answer);
    return send(pdfwire::channelDescriptor, message.bytes.data(), message.size, MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size);
}

// False when the conversation is over.
bool answer(PageDrawer& drawer, Received& received) {
    const auto request = pdfwire::decodeRequest(received.message.view());
    if (!request) return false;
    return match(
        *request,
        [&](const pdfwire::OpenRequest&) { return reply(drawer.open(received.descriptor)); },
        [&](const pdfwire::PageSizeRequest& r) { return reply(drawer.pageSize(r.index)); },
        [&](const pdfwire::BufferRequest& r) {
            return drawer.setBuffer(received.descriptor, r.sizeBytes);
        },
        [&](const pdfwire::RenderRequest& r) {
            return reply(drawer.render(r.index, r.widthPX, r.heightPX));
        });
}

} // namespace

int main() {
    const uint32_t protections = enterSandbox();
    bool isTalking = reply(pdfwire::HelloReply{pdfwire::protocolVersion, protections});
    PageDrawer drawer;
    while (isTalking) {
        auto received = receive();
        isTalking = received && answer(drawer, *received);
    }
    // No destructors: the libraries' own shutdown is code that a hostile document may have bent.
    _exit(EXIT_SUCCESS);
}
