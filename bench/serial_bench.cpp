// SPDX-License-Identifier: Apache-2.0
//
// CNS_GetSerial through a real pcscd beside a bare PC/SC program that sends the same APDUs, in turns
// within one run: wall time of each, and their ratio round by round (1 means that the library costs
// nothing). Needs a private pcscd, and brings its own virtual card:
//
//   tests/support/with-pcscd build/release/serial-bench [ROUNDS]

#include "pindesk/PinDesk.h"
#include "tests/system/support/virtualcard.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>
#include <winscard.h>

namespace {

using Serial = std::array<char, 17>;

constexpr int ROUNDS = 300;

struct SApdu {
    std::array<BYTE, 8> bytes;
    DWORD cb;
};

constexpr SApdu APDUS[] = {
    {{0x00, 0xA4, 0x08, 0x0C, 0x02, 0x3F, 0x00}, 7},
    {{0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00, 0xFF}, 8},
    {{0x00, 0xA4, 0x09, 0x0C, 0x02, 0x10, 0x00, 0xFF}, 8},
    {{0x00, 0xA4, 0x09, 0x0C, 0x02, 0x10, 0x03, 0xFF}, 8},
    {{0x00, 0xB0, 0x00, 0x00, 0x10}, 5},
};

Serial ReadWithLibrary()
{
    Serial serial{};
    CNS_GetSerial(1, serial.data());
    return serial;
}

/// The least that a program must do for the same answer, without a look at any result.
Serial ReadBare()
{
    SCARDCONTEXT hContext = 0;
    SCARDHANDLE hCard = 0;
    DWORD dwProtocol = 0;
    LPSTR mszReaders = nullptr;
    DWORD cch = SCARD_AUTOALLOCATE;
    std::array<BYTE, 258> answer{};
    SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext);
    SCardListReaders(hContext, nullptr, reinterpret_cast<LPSTR>(&mszReaders), &cch);
    SCardConnect(hContext, mszReaders, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                 &hCard, &dwProtocol);
    SCardFreeMemory(hContext, mszReaders);
    SCardBeginTransaction(hCard);
    for (const SApdu& apdu : APDUS) {
        DWORD cbAnswer = answer.size();
        SCardTransmit(hCard, dwProtocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                      apdu.bytes.data(), apdu.cb, nullptr, answer.data(), &cbAnswer);
    }
    SCardEndTransaction(hCard, SCARD_LEAVE_CARD);
    SCardDisconnect(hCard, SCARD_LEAVE_CARD);
    SCardReleaseContext(hContext);
    Serial serial{};
    std::memcpy(serial.data(), answer.data(), serial.size() - 1);
    return serial;
}

double Microseconds(Serial (*read)())
{
    const auto start = std::chrono::steady_clock::now();
    read();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Prints the median and, as the spread, the quartiles.
void Print(const char* szWhat, const char* szUnit, std::vector<double> values)
{
    std::ranges::sort(values);
    const auto at = [&](std::size_t uQuarters) { return values[values.size() * uQuarters / 4]; };
    std::printf("%-24s %9.3f %s  (quartiles %.3f to %.3f)\n", szWhat, at(2), szUnit, at(1), at(3));
}

int Compare(int nRounds)
{
    const CVirtualCard card;
    if (ReadWithLibrary() != ReadBare()) {
        std::fputs("serial-bench: the two do not read the same serial number\n", stderr);
        return EXIT_FAILURE;
    }
    std::vector<double> library;
    std::vector<double> bare;
    std::vector<double> ratios;
    for (int n = 0; n < nRounds; ++n) {
        const bool bLibraryFirst = n % 2 == 0; // so that neither always profits from the other
        double first = Microseconds(bLibraryFirst ? ReadWithLibrary : ReadBare);
        double second = Microseconds(bLibraryFirst ? ReadBare : ReadWithLibrary);
        if (!bLibraryFirst) {
            std::swap(first, second);
        }
        library.push_back(first);
        bare.push_back(second);
        ratios.push_back(first / second);
    }
    Print("CNS_GetSerial", "us", library);
    Print("bare PC/SC", "us", bare);
    Print("ratio", "  ", ratios);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const int nRounds = argc > 1 ? std::atoi(argv[1]) : ROUNDS;
        return Compare(std::max(1, nRounds));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "serial-bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
