// SPDX-License-Identifier: Apache-2.0
//
// The connection to vpcd, the virtual reader that pcscd loads as a driver.

#ifndef TOOLS_VIRTUALCARD_VPCD_LINK_H
#define TOOLS_VIRTUALCARD_VPCD_LINK_H

#include "vpcd/stopsignal.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vcard {

/// A TCP connection to vpcd on the loopback. A message is two bytes of length (big-endian) and as
/// many bytes of content. Closing it takes the card out of the reader.
class CVpcdLink {
public:
    /// \param usPort  where vpcd listens; by default 35963 for the first slot, 35964 for the second
    /// \param stop    ends a wait for the next message
    /// \throws std::runtime_error  when nothing listens there
    CVpcdLink(std::uint16_t usPort, const CStopSignal& stop);
    ~CVpcdLink();
    CVpcdLink(const CVpcdLink&) = delete;
    CVpcdLink& operator=(const CVpcdLink&) = delete;

    /// The next message, or nothing when asked to stop.
    /// \throws std::runtime_error  when vpcd has closed the connection
    std::optional<std::vector<std::uint8_t>> Receive();

    /// Sends a message, which must not be empty: vpcd waits for ever for the content of an empty
    /// one. \throws std::runtime_error  when vpcd has closed the connection
    void Send(std::span<const std::uint8_t> message);

private:
    bool ReceiveExactly(std::span<std::uint8_t> buffer);

    const CStopSignal& m_stop;
    std::uint16_t m_usPort;
    int m_iSocket;
};

} // namespace vcard

#endif
