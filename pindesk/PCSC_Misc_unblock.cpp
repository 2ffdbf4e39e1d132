// SPDX-License-Identifier: Apache-2.0
//
// Resetting a blocked PIN with its PUK on card families other than the CNS one.

#include "pindesk/PCSC_Misc.h"

#include "cardlib/apdu.h"
#include "pindesk/plaincard.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {
constexpr std::size_t HALF = 8; // PUK, then PIN

constexpr WORD DF_1111 = 0x1111, DF_DF01 = 0xDF01, FID_0000 = 0x0000;
constexpr std::uint8_t P1_STARCOS_RESET = 0x30; // of CHANGE REFERENCE DATA in class 80
constexpr std::uint8_t STARCOS_PIN_1111 = 0x96, STARCOS_PIN_DF01 = 0x9A, M4_PIN = 0x81;

/// The data field of a reset: what a short PUK or PIN leaves of the filler stays.
class CResetData {
public:
    using Filler = std::array<std::uint8_t, 2 * HALF>;

    CResetData(const Filler& filler, const char* szPuk, const char* szNewPin) : m_ab(filler)
    {
        Put(0, szPuk);
        Put(HALF, szNewPin);
    }
    ~CResetData() { explicit_bzero(m_ab.data(), m_ab.size()); }
    CResetData(const CResetData&) = delete;
    CResetData& operator=(const CResetData&) = delete;

    const std::uint8_t* data() const { return m_ab.data(); }
    std::size_t size() const { return m_ab.size(); }

private:
    /// A long text runs on to the end of the field on purpose, and no further.
    void Put(std::size_t iAt, const char* sz)
    {
        std::copy_n(sz, std::min(std::strlen(sz), m_ab.size() - iAt), m_ab.begin() + iAt);
    }

    Filler m_ab;
};

constexpr CResetData::Filler STARCOS_FILLER = {'2', '4', '6', '8', '1', '3', '5', '7',
                                               '4', '0', '2', '7', '1', '9', '3', '5'};
constexpr CResetData::Filler M4_FILLER = {};

long SendReset(CSCard& card, CCommandApdu& command)
{
    CResponseApdu response;
    const long lExchange =
        card.Transmit(command.data(), command.size(), response.data(), response.Length());
    return response.Result(lExchange) == 0 ? result::OK : result::READER_FAILED;
}

long ResetStarcosPin(CSCard& card, CSelector& files, WORD fidDf, std::uint8_t bPin,
                     const CResetData& data)
{
    if (!files.SelectMf() || !files.Select(fidDf)) {
        return result::SELECT_FAILED;
    }
    CCommandApdu command(cla::PROPRIETARY, ins::CHANGE_REFERENCE_DATA, P1_STARCOS_RESET, bPin);
    return SendReset(card, command.Data(data.data(), data.size()));
}

long ResetStarcos(CSCard& card, const CResetData& data)
{
    CSelector files(card);
    const long lResult = ResetStarcosPin(card, files, DF_1111, STARCOS_PIN_1111, data);
    if (lResult != result::OK) {
        return lResult;
    }
    return ResetStarcosPin(card, files, DF_DF01, STARCOS_PIN_DF01, data);
}

long ResetM4(CSCard& card, const CResetData& data)
{
    CSelector files(card);
    if (!files.SelectMf()) {
        return result::SELECT_FAILED;
    }
    files.Select(FID_0000); // some cards want it, the others refuse it without harm
    if (!files.Select(DF_1111)) {
        return result::SELECT_FAILED;
    }
    CCommandApdu command(cla::ISO, ins::RESET_RETRY_COUNTER, 0x00, M4_PIN);
    return SendReset(card, command.Data(data.data(), data.size()));
}

using Reset = long (*)(CSCard& card, const CResetData& data);

long Unblock(long slotId, const CResetData::Filler& filler, const char* szPuk, const char* szNewPin,
             Reset reset)
{
    if (!szPuk || !szNewPin) {
        return result::MISSING_ARGUMENT;
    }
    return WithPlainCard(
        slotId, [&](CSCard& card) { return reset(card, CResetData(filler, szPuk, szNewPin)); });
}
} // namespace

long PCSC_Unblock_Starcos(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN)
{
    return Unblock(slotId, STARCOS_FILLER, szPUK, szNewPIN, ResetStarcos);
}

long PCSC_Unblock_M4_1111(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN)
{
    return Unblock(slotId, M4_FILLER, szPUK, szNewPIN, ResetM4);
}

long PCSC_Unblock_Setec(long, LPCTSTR, LPCTSTR)
{
    return result::OK; // on purpose: see the declaration
}
