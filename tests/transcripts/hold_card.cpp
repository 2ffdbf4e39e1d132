// SPDX-License-Identifier: Apache-2.0
//
// Another program that uses the card in the first reader, for some milliseconds:
//
//   hold-card shared|exclusive|transaction MILLISECONDS
//
// It says so on standard output, and before it lets go sends one GET CHALLENGE.

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <winscard.h>

namespace {

bool Send(SCARDHANDLE hCard, DWORD dwProtocol)
{
    constexpr std::array<BYTE, 5> GET_CHALLENGE = {0x00, 0x84, 0x00, 0x00, 0x08};
    std::array<BYTE, 258> answer{};
    DWORD cbAnswer = answer.size();
    return SCardTransmit(hCard, dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                         GET_CHALLENGE.data(), GET_CHALLENGE.size(), nullptr, answer.data(),
                         &cbAnswer) == SCARD_S_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    const std::string mode = argv[1];
    std::array<char, 1024> readers{};
    DWORD cch = readers.size();
    DWORD dwProtocol = 0;
    SCARDCONTEXT hContext = 0;
    SCARDHANDLE hCard = 0;
    if (SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext) != SCARD_S_SUCCESS ||
        SCardListReaders(hContext, nullptr, readers.data(), &cch) != SCARD_S_SUCCESS ||
        SCardConnect(hContext, readers.data(),
                     mode == "exclusive" ? SCARD_SHARE_EXCLUSIVE : SCARD_SHARE_SHARED,
                     SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &hCard,
                     &dwProtocol) != SCARD_S_SUCCESS ||
        (mode == "transaction" && SCardBeginTransaction(hCard) != SCARD_S_SUCCESS)) {
        return EXIT_FAILURE;
    }
    std::cout << "holding" << std::endl;
    std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(argv[2])));
    return Send(hCard, dwProtocol) ? EXIT_SUCCESS : EXIT_FAILURE; // and the service cleans up
}
