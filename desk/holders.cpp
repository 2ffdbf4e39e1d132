// SPDX-License-Identifier: Apache-2.0
//
// A process belongs to the service when one of its sockets is the peer of one that bears the
// service's name. The kernel lists sockets with their peers (sock_diag(7)), /proc the sockets of
// processes.

#include "desk/holders.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <set>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace desk {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view SERVICE_SOCKET = "pcscd.comm";

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast" // in the macros of netlink(3)

class CSocketDiagnosis {
public:
    CSocketDiagnosis() : m_fd(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)) {}
    ~CSocketDiagnosis()
    {
        if (m_fd >= 0) {
            close(m_fd);
        }
    }
    CSocketDiagnosis(const CSocketDiagnosis&) = delete;
    CSocketDiagnosis& operator=(const CSocketDiagnosis&) = delete;

    /// The inodes of the sockets that are connected to the service's.
    std::set<std::string> ServicePeers() const
    {
        struct {
            nlmsghdr header;
            unix_diag_req request;
        } message{};
        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
        message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        message.request.sdiag_family = AF_UNIX;
        message.request.udiag_states = ~0U;
        message.request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_PEER;
        std::set<std::string> peers;
        if (m_fd < 0 || send(m_fd, &message, sizeof message, 0) < 0) {
            return peers;
        }
        while (Receive(peers)) {
        }
        return peers;
    }

private:
    /// \return whether more is to come.
    bool Receive(std::set<std::string>& peers) const
    {
        alignas(nlmsghdr) std::array<char, 32768> buffer;
        const ssize_t cbReceived = recv(m_fd, buffer.data(), buffer.size(), 0);
        if (cbReceived <= 0) {
            return false;
        }
        auto cb = static_cast<unsigned>(cbReceived);
        for (const auto* pHeader = reinterpret_cast<const nlmsghdr*>(buffer.data());
             NLMSG_OK(pHeader, cb); pHeader = NLMSG_NEXT(pHeader, cb)) {
            if (pHeader->nlmsg_type != SOCK_DIAG_BY_FAMILY) {
                return false; // the end, or an error
            }
            AddPeer(*pHeader, peers);
        }
        return true;
    }

    static void AddPeer(const nlmsghdr& header, std::set<std::string>& peers)
    {
        const auto* const pSocket = static_cast<const unix_diag_msg*>(NLMSG_DATA(&header));
        auto cb = static_cast<unsigned>(header.nlmsg_len - NLMSG_LENGTH(sizeof *pSocket));
        std::uint32_t ulPeer = 0;
        bool bService = false;
        for (const auto* pAttribute = reinterpret_cast<const rtattr*>(pSocket + 1);
             RTA_OK(pAttribute, cb); pAttribute = RTA_NEXT(pAttribute, cb)) {
            if (pAttribute->rta_type == UNIX_DIAG_PEER) {
                std::memcpy(&ulPeer, RTA_DATA(pAttribute), sizeof ulPeer);
            } else if (pAttribute->rta_type == UNIX_DIAG_NAME) {
                bService = std::string_view(static_cast<const char*>(RTA_DATA(pAttribute)),
                                            RTA_PAYLOAD(pAttribute))
                               .find(SERVICE_SOCKET) != std::string_view::npos;
            }
        }
        if (bService && ulPeer != 0) {
            peers.insert("socket:[" + std::to_string(ulPeer) + "]"); // as /proc names it
        }
    }

    const int m_fd;
};

#pragma GCC diagnostic pop

bool HasSocket(const fs::path& process, const std::set<std::string>& sockets)
{
    std::error_code error;
    for (fs::directory_iterator fd(process / "fd", error), end; !error && fd != end;
         fd.increment(error)) {
        std::error_code gone;
        if (sockets.contains(fs::read_symlink(fd->path(), gone).string())) {
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<std::string> ProgramsAtTheService()
{
    const std::set<std::string> peers = CSocketDiagnosis().ServicePeers();
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator process("/proc", error), end;
         !peers.empty() && !error && process != end; process.increment(error)) {
        const std::string strId = process->path().filename();
        const bool bProcess = strId.find_first_not_of("0123456789") == std::string::npos;
        if (!bProcess || strId == std::to_string(getpid()) || !HasSocket(process->path(), peers)) {
            continue;
        }
        std::string strName;
        std::getline(std::ifstream(process->path() / "comm"), strName);
        if (!strName.empty()) {
            names.insert(strName);
        }
    }
    return {names.begin(), names.end()};
}

void FillInHolders(char (&szHolders)[96])
{
    std::string strAll;
    for (const std::string& strName : ProgramsAtTheService()) {
        const std::string strMore = (strAll.empty() ? "" : ", ") + strName;
        if (strAll.size() + strMore.size() < sizeof szHolders) {
            strAll += strMore;
        }
    }
    std::copy_n(strAll.c_str(), strAll.size() + 1, szHolders);
}

} // namespace desk
