// SPDX-License-Identifier: Apache-2.0
//
// Walks arbitrary bytes as a chain of TLV elements. The first byte is the tag that is looked for.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "cardlib/utils.h"

namespace {

void Require(bool bHolds)
{
    if (!bHolds) {
        std::abort();
    }
}

/// A value that was found lies behind its tag and length, inside the chain.
void CheckFound(std::uint8_t bTag, std::vector<std::uint8_t>& chain)
{
    unsigned char* pValue = nullptr;
    unsigned long cbValue = 0;
    if (TLV_Get(bTag, chain.data(), chain.size(), &pValue, &cbValue) == 0) {
        Require(pValue == nullptr && cbValue == 0);
        return;
    }
    const auto nValue = static_cast<std::size_t>(pValue - chain.data());
    Require(nValue >= 2 && nValue + cbValue <= chain.size());
    Require(pValue[-2] == bTag && pValue[-1] == cbValue);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t cbData)
{
    if (cbData == 0) {
        return 0;
    }
    std::vector<std::uint8_t> chain(pData + 1, pData + cbData); // ends where its memory ends
    const bool bValid = TLV_Validate(chain.data(), chain.size()) != 0;
    CheckFound(pData[0], chain);
    if (bValid) {
        CheckFound(chain[0], chain);
    }
    // what else hosts make of a card's bytes
    std::vector<char> text(2 * chain.size());
    BCD2ASC(text.data(), chain.data(), chain.size());
    const unsigned int uCrc = Crc16(chain.data(), chain.size());
    MemInvert(chain.data(), chain.size());
    MemInvert(chain.data(), chain.size());
    Require(uCrc == Crc16(chain.data(), chain.size()));
    return 0;
}
