// SPDX-License-Identifier: Apache-2.0
//
// Puts one secret into the parameter lists of the operations.

#include "tests/system/support/secrets.h"

#include <array>

namespace {

constexpr long FIRST_SLOT = 1;

/// A value in its place of a parameter list; the other places stay empty.
class CPlaced {
public:
    CPlaced(const SSecret& secret, std::string strValue) : m_secret(secret), m_strValue(strValue) {}

    unsigned char* Bytes(const SSecret& place)
    {
        return &place == &m_secret ? reinterpret_cast<unsigned char*>(m_strValue.data()) : nullptr;
    }
    long Length(const SSecret& place) const
    {
        return &place == &m_secret ? static_cast<long>(m_strValue.size()) : 0;
    }

private:
    const SSecret& m_secret;
    std::string m_strValue;
};

} // namespace

long Verify(const SSecret& secret, std::string strValue, const SCall& call)
{
    CPlaced value(secret, strValue);
    const auto& [cnsPin, cnsPuk, dsPin, dsPuk] = SECRETS;
    return CNS_DS_VerifyPinPuk(FIRST_SLOT, const_cast<char*>(call.szSerial), value.Bytes(cnsPin),
                               value.Length(cnsPin), value.Bytes(cnsPuk), value.Length(cnsPuk),
                               value.Bytes(dsPin), value.Length(dsPin), value.Bytes(dsPuk),
                               value.Length(dsPuk), nullptr, call.bSecureMessaging);
}

long Change(const SSecret& secret, std::string strOld, std::string strNew, const SCall& call)
{
    CPlaced o(secret, strOld);
    CPlaced n(secret, strNew);
    const auto& [cnsPin, cnsPuk, dsPin, dsPuk] = SECRETS;
    return CNS_DS_ChangePinPuk(FIRST_SLOT, const_cast<char*>(call.szSerial), o.Bytes(cnsPin),
                               o.Length(cnsPin), n.Bytes(cnsPin), n.Length(cnsPin), o.Bytes(cnsPuk),
                               o.Length(cnsPuk), n.Bytes(cnsPuk), n.Length(cnsPuk), o.Bytes(dsPin),
                               o.Length(dsPin), n.Bytes(dsPin), n.Length(dsPin), o.Bytes(dsPuk),
                               o.Length(dsPuk), n.Bytes(dsPuk), n.Length(dsPuk), nullptr,
                               call.bSecureMessaging);
}

long Unblock(const SSecret& pin, std::string strPuk, std::string strNew, const SCall& call)
{
    CPlaced puk(pin, strPuk);
    CPlaced n(pin, strNew);
    return CNS_DS_UnblockPin(FIRST_SLOT, const_cast<char*>(call.szSerial), puk.Bytes(CNS_PIN),
                             puk.Length(CNS_PIN), n.Bytes(CNS_PIN), n.Length(CNS_PIN),
                             puk.Bytes(DS_PIN), puk.Length(DS_PIN), n.Bytes(DS_PIN),
                             n.Length(DS_PIN), nullptr, call.bSecureMessaging);
}
