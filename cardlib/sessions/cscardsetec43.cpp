// SPDX-License-Identifier: Apache-2.0
//
// The commands of Setec 4.3 cards.

#include "cardlib/cscardsetec43.h"

#include "cardlib/sessions/apdu.h"
#include "cardlib/utils.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {
constexpr std::size_t PIN_LENGTH = 8, HASH_LENGTH = 20, SHORT_HASH_LENGTH = 16;

constexpr std::uint8_t INS_EXPORT_PUBLIC_KEY = 0xF0; // the maker's own, class 80
constexpr std::uint8_t P1_PLAIN_MODULUS = 0x9C;
constexpr std::uint8_t P1_OLD_PIN_FIRST = 0x20; // of CHANGE REFERENCE DATA in class 80

// ISO/IEC 7816-8: what a security operation gives back (P1) and takes (P2)
constexpr std::uint8_t P1_HASH = 0x90, P2_HASH_VALUE = 0x81;
constexpr std::uint8_t TAG_ALGORITHM = 0x80; // in a control reference template, ISO/IEC 7816-4

// ExportRSAPublicKey: the card's layout of its answer
constexpr std::size_t AT_ORDER = 8, AT_SKIP = 10, AT_MODULUS = 12;
constexpr std::uint8_t LEAST_SIGNIFICANT_FIRST = 0x80;

bool Given(const CK_BYTE* pb, CK_ULONG cb)
{
    return pb != nullptr || cb == 0;
}

void AppendPadded(CCommandApdu& command, const CK_BYTE* pb, std::size_t cb, std::size_t cbField)
{
    const std::size_t cbTaken = std::min(cb, cbField);
    command.Data(pb, cbTaken).Data(nullptr, cbField - cbTaken);
}
} // namespace

CSCardSetec43::CSCardSetec43(SCARDCONTEXT hContext, char* readerName) : CSCard(hContext, readerName)
{
}

CSCardSetec43::~CSCardSetec43() = default;

const char* CSCardSetec43::GetModelName()
{
    return "Setec/43";
}

bool CSCardSetec43::Create()
{
    return Connect();
}

long CSCardSetec43::GetResponse(BYTE cData, BYTE*)
{
    CCommandApdu command(cla::ISO, ins::GET_RESPONSE, 0x00, 0x00);
    CResponseApdu response;
    return Send(command.Le(cData), response);
}

long CSCardSetec43::ManageSecurityEnvironment(CK_BYTE kid, WORD mech, CK_BYTE AlgID)
{
    const bool bPublic = kid < p2::LOCAL_REFERENCE;
    const std::uint8_t bTag = bPublic ? crt::KEY_REFERENCE : crt::PRIVATE_KEY_REFERENCE;
    const auto bKey = static_cast<std::uint8_t>(kid | p2::LOCAL_REFERENCE);
    CCommandApdu command(cla::ISO, ins::MANAGE_SECURITY_ENVIRONMENT, mech);
    CResponseApdu response;
    return Send(command.Data({bTag, 0x01, bKey, TAG_ALGORITHM, 0x01, AlgID}), response);
}

long CSCardSetec43::PutHash(CK_BYTE_PTR pDataIn, CK_ULONG uDataInLen)
{
    if (pDataIn == nullptr || (uDataInLen != SHORT_HASH_LENGTH && uDataInLen != HASH_LENGTH)) {
        return refusal::MISSING_ARGUMENT;
    }
    CCommandApdu command(cla::ISO, ins::PERFORM_SECURITY_OPERATION, P1_HASH, P2_HASH_VALUE);
    AppendPadded(command, pDataIn, uDataInLen, HASH_LENGTH);
    CResponseApdu response;
    return Send(command, response);
}

long CSCardSetec43::ComputeSignature(CK_BYTE_PTR pSignature, CK_ULONG_PTR puSignatureLen)
{
    if (puSignatureLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    if (pSignature == nullptr) {
        *puSignatureLen = MODULUS_LENGTH;
        return 0;
    }
    if (*puSignatureLen < MODULUS_LENGTH) {
        return BUFFER_TOO_SMALL;
    }
    CCommandApdu command(cla::ISO, ins::PERFORM_SECURITY_OPERATION, p1::COMPUTE_SIGNATURE,
                         p2::DATA_TO_SIGN);
    CResponseApdu response;
    const long lResult = Send(command.Le(0x00), response);
    if (lResult == 0) {
        std::copy_n(response.data(), MODULUS_LENGTH, pSignature);
    }
    return lResult;
}

long CSCardSetec43::Verify(CK_BYTE kid, const CK_BYTE* pPin, CK_BYTE pinLen)
{
    if (!Given(pPin, pinLen)) {
        return refusal::MISSING_ARGUMENT;
    }
    CCommandApdu command(cla::ISO, ins::VERIFY, 0x00, kid);
    AppendPadded(command, pPin, pinLen, PIN_LENGTH);
    return SendPin(command);
}

long CSCardSetec43::VerifyAndChange(CK_BYTE kid, const CK_BYTE* pOldPin, CK_BYTE oldPinLen,
                                    const CK_BYTE* pNewPin, CK_BYTE newPinLen)
{
    if (!Given(pOldPin, oldPinLen) || !Given(pNewPin, newPinLen)) {
        return refusal::MISSING_ARGUMENT;
    }
    CCommandApdu command(cla::PROPRIETARY, ins::CHANGE_REFERENCE_DATA, P1_OLD_PIN_FIRST, kid);
    AppendPadded(command, pOldPin, oldPinLen, PIN_LENGTH);
    AppendPadded(command, pNewPin, newPinLen, PIN_LENGTH);
    return SendPin(command);
}

long CSCardSetec43::EncDec(WORD mode, CK_BYTE_PTR pData, CK_BYTE DataLen,
                           CK_BYTE_PTR pDecryptedData, CK_ULONG_PTR pDecryptedDataLen)
{
    if (!Given(pData, DataLen) || pDecryptedDataLen == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    CCommandApdu command(cla::ISO, ins::PERFORM_SECURITY_OPERATION, mode);
    if (mode == DECIPHER) {
        command.Data({pso::PADDING_NOT_TOLD});
    }
    CResponseApdu response;
    if (const long lResult = Send(command.Data(pData, DataLen), response); lResult != 0) {
        return lResult;
    }

    const CK_ULONG ulRoom = *pDecryptedDataLen;
    *pDecryptedDataLen = response.DataLength();
    if (pDecryptedData == nullptr) {
        return 0;
    }
    if (ulRoom < response.DataLength()) {
        return BUFFER_TOO_SMALL;
    }
    std::copy_n(response.data(), response.DataLength(), pDecryptedData);
    return 0;
}

long CSCardSetec43::ExportRSAPublicKey(CK_BYTE cha, CK_BYTE_PTR modulus)
{
    if (modulus == nullptr) {
        return refusal::MISSING_ARGUMENT;
    }
    CCommandApdu command(cla::PROPRIETARY, INS_EXPORT_PUBLIC_KEY, P1_PLAIN_MODULUS, 0x00);
    CResponseApdu response;
    if (const long lResult = Send(command.Data({cha}), response); lResult != 0) {
        return lResult;
    }
    const std::size_t iModulus = AT_MODULUS + response[AT_SKIP];
    if (iModulus + MODULUS_LENGTH > CResponseApdu::MAX) {
        return sw::NO_DIAGNOSIS;
    }
    std::copy_n(response.data() + iModulus, MODULUS_LENGTH, modulus);
    if ((response[AT_ORDER] & LEAST_SIGNIFICANT_FIRST) != 0) {
        MemInvert(modulus, MODULUS_LENGTH);
    }
    return 0;
}

long CSCardSetec43::SendPin(CCommandApdu& command)
{
    CResponseApdu response;
    const long lResult = Send(command, response);
    if (lResult == 0) {
        m_Current_DF_path.m_isPinVerified = 1;
        m_Current_EF_path.m_isPinVerified = 1;
    }
    return lResult;
}
