// SPDX-License-Identifier: Apache-2.0
//
// Another program that uses the card: it holds a transaction on the first reader for some
// milliseconds, says so on standard output, and sends one GET CHALLENGE before it lets go.

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <winscard.h>

int main(int argc, char** argv)
{
    const std::chrono::milliseconds time(argc > 1 ? std::atoi(argv[1]) : 0);
    std::array<char, 1024> readers{};
    DWORD cch = readers.size();
    DWORD dwProtocol = 0;
    SCARDCONTEXT hContext = 0;
    SCARDHANDLE hCard = 0;
    if (SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext) != SCARD_S_SUCCESS ||
        SCardListReaders(hContext, nullptr, readers.data(), &cch) != SCARD_S_SUCCESS ||
        SCardConnect(hContext, readers.data(), SCARD_SHARE_SHARED,
                     SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, &hCard,
                     &dwProtocol) != SCARD_S_SUCCESS ||
        SCardBeginTransaction(hCard) != SCARD_S_SUCCESS) {
        return EXIT_FAILURE;
    }
    std::cout << "holding" << std::endl;
    std::this_thread::sleep_for(time);

    constexpr std::array<BYTE, 5> GET_CHALLENGE = {0x00, 0x84, 0x00, 0x00, 0x08};
    std::array<BYTE, 258> answer{};
    DWORD cbAnswer = answer.size();
    const LONG lResult = SCardTransmit(
        hCard, dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1, GET_CHALLENGE.data(),
        GET_CHALLENGE.size(), nullptr, answer.data(), &cbAnswer);
    SCardEndTransaction(hCard, SCARD_LEAVE_CARD);
    SCardDisconnect(hCard, SCARD_LEAVE_CARD);
    SCardReleaseContext(hContext);
    return lResult == SCARD_S_SUCCESS ? EXIT_SUCCESS : EXIT_FAILURE;
}
