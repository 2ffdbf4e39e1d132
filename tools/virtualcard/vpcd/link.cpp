// SPDX-License-Identifier: Apache-2.0
//
// Messages over a TCP socket.

#include "vpcd/link.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace vcard {
namespace {

constexpr std::size_t LENGTH_BYTES = 2;

std::string PortText(std::uint16_t usPort)
{
    return "port " + std::to_string(usPort);
}

[[noreturn]] void FailClosed(std::uint16_t usPort)
{
    throw std::runtime_error("vpcd on " + PortText(usPort) + " closed the connection: pcscd ended");
}

void Enable(int iSocket, int iOption)
{
    const int iOn = 1;
    setsockopt(iSocket, IPPROTO_TCP, iOption, &iOn, sizeof iOn);
}

/// A connected socket, or the errno of the failure as a negative number.
int Connect(std::uint16_t usPort)
{
    const int iSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(usPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (iSocket >= 0 &&
        connect(iSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        Enable(iSocket, TCP_NODELAY);
        return iSocket;
    }
    const int iError = errno;
    close(iSocket);
    return -iError;
}

} // namespace

CVpcdLink::CVpcdLink(std::uint16_t usPort, const CStopSignal& stop)
    : m_stop(stop), m_usPort(usPort), m_iSocket(Connect(usPort))
{
    if (m_iSocket < 0) {
        throw std::runtime_error("no vpcd on " + PortText(usPort) + " (" +
                                 std::generic_category().message(-m_iSocket) +
                                 "): start pcscd with the virtual reader of the package "
                                 "vsmartcard-vpcd, or name its port with --port");
    }
}

CVpcdLink::~CVpcdLink()
{
    close(m_iSocket);
}

std::optional<std::vector<std::uint8_t>> CVpcdLink::Receive()
{
    std::uint8_t abLength[LENGTH_BYTES];
    if (!ReceiveExactly(abLength)) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> message(static_cast<std::size_t>(abLength[0] << 8U | abLength[1]));
    return ReceiveExactly(message) ? std::optional(message) : std::nullopt;
}

bool CVpcdLink::ReceiveExactly(std::span<std::uint8_t> buffer)
{
    while (!buffer.empty()) {
        // vpcd writes length and content separately; without this the second waits for a delayed
        // acknowledgement, some 40 ms for each APDU. The kernel forgets the option, so set it anew.
        Enable(m_iSocket, TCP_QUICKACK);
        if (!m_stop.WaitFor(m_iSocket)) {
            return false;
        }
        const ssize_t cbReceived = recv(m_iSocket, buffer.data(), buffer.size(), 0);
        if (cbReceived == 0 || (cbReceived < 0 && errno != EINTR)) {
            FailClosed(m_usPort);
        }
        buffer = buffer.subspan(static_cast<std::size_t>(std::max<ssize_t>(cbReceived, 0)));
    }
    return true;
}

void CVpcdLink::Send(std::span<const std::uint8_t> message)
{
    std::vector<std::uint8_t> frame = {static_cast<std::uint8_t>(message.size() >> 8U),
                                       static_cast<std::uint8_t>(message.size())};
    frame.insert(frame.end(), message.begin(), message.end());
    std::span<const std::uint8_t> rest = frame;
    while (!rest.empty()) {
        const ssize_t cbSent = send(m_iSocket, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (cbSent < 0 && errno != EINTR) {
            FailClosed(m_usPort);
        }
        rest = rest.subspan(static_cast<std::size_t>(std::max<ssize_t>(cbSent, 0)));
    }
}

} // namespace vcard
