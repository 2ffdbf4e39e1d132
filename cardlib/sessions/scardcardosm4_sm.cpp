// SPDX-License-Identifier: Apache-2.0
//
// CardOS M4: secure messaging, the dialogue around the envelopes.

#include "cardlib/scardcardosm4.h"

#include "cardlib/crypto/smxc.h"
#include "cardlib/sessions/apdu.h"
#include "cardlib/sm_sig_enc.h"
#include "cardlib/support/careful.h"
#include "cardlib/support/secret.h"
#include "cardlib/support/tlv.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/random.h>
#include <utility>

namespace {

constexpr CK_ULONG RANDOM = 8;
constexpr DWORD ANSWER_CAPACITY = 255;
constexpr long BAD_COMMAND = -1;
constexpr long NO_RANDOM = -1;

/// Eight random bytes in the range that the card knows: never FF.
bool MakeHostRandom(CK_BYTE* pb)
{
    for (CK_ULONG i = 0; i < RANDOM; ++i) {
        do {
            if (getrandom(&pb[i], 1, 0) != 1) {
                return false;
            }
        } while (pb[i] == 0xFF);
    }
    return true;
}

/// Switches secure messaging off for a scope.
class CPlainMode {
public:
    explicit CPlainMode(CSCardCardOSM4& card) : m_card(card), m_bBefore(card.m_bUseSMxCMode)
    {
        m_card.m_bUseSMxCMode = 0;
    }
    ~CPlainMode() { m_card.m_bUseSMxCMode = m_bBefore; }
    CPlainMode(const CPlainMode&) = delete;
    CPlainMode& operator=(const CPlainMode&) = delete;

private:
    CSCardCardOSM4& m_card;
    CK_BBOOL m_bBefore;
};

/// A short command taken apart, in the caller's memory.
struct SPlainCommand {
    /// \return false when the command is shorter than its own Lc says.
    bool Parse(const CK_BYTE* pb, DWORD cb)
    {
        if (pb == nullptr || cb < CCommandApdu::HEADER) {
            return false;
        }
        pbHeader = pb;
        pbData = pb + CCommandApdu::HEADER;
        const CK_BYTE bFifth = pb[CCommandApdu::HEADER - 1];
        if (cb == CCommandApdu::HEADER) { // no data: the fifth byte is Le
            bLe = bFifth;
            return true;
        }
        cbData = bFifth;
        const DWORD cbCommand = CCommandApdu::HEADER + cbData;
        bLe = cb > cbCommand ? pb[cbCommand] : CK_BYTE{0};
        return cb >= cbCommand;
    }

    const CK_BYTE* pbHeader = nullptr;
    const CK_BYTE* pbData = nullptr;
    DWORD cbData = 0;
    CK_BYTE bLe = 0;
};

using CRandoms = CSecret<2 * RANDOM>; // ours, then the card's

/// Where the caller of a transport wants the answer.
struct SCallerBuffer {
    void Take(const CK_BYTE* pb, DWORD cb) const
    {
        std::memcpy(pbOut, pb, cb);
        *pcbOut = cb;
    }

    CK_BYTE* pbOut;
    DWORD* pcbOut; ///< in: capacity; out: length
};

/// Whether an answer may be opened. Without care also one that has no checksum, or an odd one.
bool MayBeOpened(const CK_BYTE* pbAnswer, DWORD cbAnswer)
{
    constexpr std::uint16_t CHECKSUM = 0x8E;
    constexpr std::size_t MAC = 8;
    return !CCareful::Now() || CTlv(pbAnswer, cbAnswer).Find(CHECKSUM).Is(MAC);
}

/// Opens an answer longer than a status word.
long Unwrap(const smxc::SMaterial& material, const CK_BYTE* pbAnswer, DWORD cbAnswer,
            const SCallerBuffer& out)
{
    CSecret<smxc::MAX_PLAIN> plain;
    CK_ULONG cbPlain = 0;
    const smxc::EOpened eOpened = smxc::Open(material, CTlv(pbAnswer, cbAnswer), plain, cbPlain);
    if (eOpened == smxc::EOpened::NOT_PROTECTED && cbAnswer > *out.pcbOut) {
        return eM4Error_invalid_args;
    }
    if (eOpened == smxc::EOpened::NOT_PROTECTED) {
        out.Take(pbAnswer, cbAnswer);
        return 0;
    }
    if (eOpened != smxc::EOpened::OPENED || !MayBeOpened(pbAnswer, cbAnswer)) {
        return eM4Error_SM_LE_doesnt_fit_output;
    }
    // The capacity counts the data only, as callers of this transport rely on.
    out.Take(plain.data(), std::min<DWORD>(cbPlain, *out.pcbOut));
    std::memcpy(out.pbOut + *out.pcbOut, pbAnswer + cbAnswer - 2, 2);
    *out.pcbOut += 2;
    return 0;
}

} // namespace

void CSCardCardOSM4::SetSMxCMode(CK_BBOOL bEnable, const CK_BYTE* Des3Key_SIG,
                                 const CK_BYTE* Des3Key_ENC, CK_BYTE_PTR pbINSList,
                                 CK_ULONG ulINSListLen)
{
    m_bUseSMxCMode = bEnable;
    if (!bEnable) {
        explicit_bzero(m_Des3Key_SIG, sizeof m_Des3Key_SIG);
        explicit_bzero(m_Des3Key_ENC, sizeof m_Des3Key_ENC);
        delete[] m_pbINSList;
        m_pbINSList = nullptr;
        return;
    }
    if (Des3Key_SIG != nullptr) {
        std::memmove(m_Des3Key_SIG, Des3Key_SIG, sizeof m_Des3Key_SIG);
    }
    if (Des3Key_ENC != nullptr) {
        std::memmove(m_Des3Key_ENC, Des3Key_ENC, sizeof m_Des3Key_ENC);
    }
    if (pbINSList == nullptr || ulINSListLen == 0) {
        return;
    }
    auto* const pbNew = new (std::nothrow) CK_BYTE[ulINSListLen]; // without a list all is protected
    if (pbNew != nullptr) {
        std::memcpy(pbNew, pbINSList, ulINSListLen);
        m_ulINSListLen = static_cast<unsigned int>(ulINSListLen);
    }
    delete[] std::exchange(m_pbINSList, pbNew); // last: the list given may be this one
}

bool CSCardCardOSM4::IsProtected(const CK_BYTE* pbSendBuffer, DWORD cbSendLength) const
{
    if (!m_bUseSMxCMode) {
        return false;
    }
    if (m_pbINSList == nullptr || m_ulINSListLen == 0) {
        return true;
    }
    const CK_BYTE* const pbEnd = m_pbINSList + m_ulINSListLen;
    return cbSendLength > 1 &&
           std::find<const CK_BYTE*>(m_pbINSList, pbEnd, pbSendBuffer[1]) != pbEnd;
}

/// Fetches the card's challenge and gives the card ours; both travel plain in every mode.
/// \param pbRandoms  receives our eight bytes and the card's.
long CSCardCardOSM4::ExchangeRandoms(CK_BYTE* pbRandoms)
{
    const CPlainMode plain(*this);
    CK_ULONG ulChallenge = RANDOM;
    const long lResult = GetChallenge(pbRandoms + RANDOM, &ulChallenge);
    if (lResult != 0) {
        return lResult;
    }
    return MakeHostRandom(pbRandoms) ? GiveRandom(pbRandoms, RANDOM) : NO_RANDOM;
}

long CSCardCardOSM4::Transmit_SMxC(const CK_BYTE* Des3Key_SIG, const CK_BYTE* Des3Key_ENC,
                                   const CK_BYTE* pbSendBuffer, DWORD cbSendLength,
                                   CK_BYTE_PTR pbRecvBuffer, DWORD* pcbRecvLength)
{
    SPlainCommand plain;
    if (Des3Key_SIG == nullptr || Des3Key_ENC == nullptr || pbRecvBuffer == nullptr ||
        pcbRecvLength == nullptr || !plain.Parse(pbSendBuffer, cbSendLength)) {
        return BAD_COMMAND;
    }
    CRandoms randoms;
    long lResult = ExchangeRandoms(randoms.data());
    if (lResult != 0) {
        return lResult;
    }
    const CK_BYTE* const h = plain.pbHeader;
    smxc::SMaterial material{Des3Key_SIG, Des3Key_ENC, randoms.data() + RANDOM, h[0], h[1],
                             h[2],        h[3]};
    CSecret<smxc::MAX_SEALED> sealed;
    const std::size_t cbSealed = smxc::Seal(material, plain.pbData, plain.cbData, sealed);
    if (cbSealed == 0) {
        return BAD_COMMAND;
    }
    CResponseApdu response(ANSWER_CAPACITY);
    lResult = Transmit2(sealed.data(), cbSealed, response.data(), response.Length());
    if (lResult != 0) {
        return lResult;
    }
    const SCallerBuffer out{pbRecvBuffer, pcbRecvLength};
    const DWORD cbAnswer = *response.Length();
    if (cbAnswer > ANSWER_CAPACITY) {
        return eM4Error_SM_LE_doesnt_fit_output;
    }
    if (cbAnswer <= 2) { // a status word is not protected
        out.Take(response.data(), std::min(*pcbRecvLength, cbAnswer));
        return 0;
    }
    material.pRandom = randoms.data();
    return Unwrap(material, response.data(), cbAnswer, out);
}

long CSCardCardOSM4::Transmit_SMx4(const CK_BYTE* Des3Key, const CK_BYTE* pbSendBuffer,
                                   DWORD cbSendLength, CK_BYTE_PTR pbRecvBuffer,
                                   DWORD* pcbRecvLength)
{
    if (Des3Key == nullptr || pbSendBuffer == nullptr || pbRecvBuffer == nullptr ||
        pcbRecvLength == nullptr || cbSendLength < CCommandApdu::HEADER) {
        return BAD_COMMAND;
    }
    // Everything behind the header is data: a trailing Le is not told apart.
    CK_ULONG cbEncoded = cbSendLength - CCommandApdu::HEADER;
    CK_BYTE* const pbEncoded =
        SMx4_SIG_ENC(Des3Key, pbSendBuffer[0], pbSendBuffer[1], pbSendBuffer[2], pbSendBuffer[3],
                     pbSendBuffer + CCommandApdu::HEADER, &cbEncoded);
    const CWipedArray encoded(pbEncoded, cbEncoded);
    if (!encoded || encoded.size() == 0) {
        return BAD_COMMAND;
    }
    return Transmit(encoded.data(), encoded.size(), pbRecvBuffer, pcbRecvLength);
}
