// SPDX-License-Identifier: Apache-2.0
//
// Fixture of tests that call the exported operations: the exchanges that they have in common, and
// settings for one test.

#ifndef TESTS_SUPPORT_OPERATION_TEST_H
#define TESTS_SUPPORT_OPERATION_TEST_H

#include "cardlib/ckdictionary.h"
#include "tests/support/operations.h"
#include "tests/support/scripted_pcsc.h"

/// Gives a setting a value for a scope.
class CSetting {
public:
    CSetting(const char* szName, long lVal) : m_szName(szName)
    {
        const auto entry = g_settings_dict.find(szName);
        if (entry != g_settings_dict.end()) {
            m_before = static_cast<long>(*entry->second);
        }
        PINDESK_ChangeSetting(szName, lVal);
    }
    ~CSetting()
    {
        if (m_before) {
            PINDESK_ChangeSetting(m_szName, *m_before);
            return;
        }
        g_settings_dict[m_szName]->Destroy();
        g_settings_dict.erase(m_szName);
    }
    CSetting(const CSetting&) = delete;
    CSetting& operator=(const CSetting&) = delete;

private:
    const char* m_szName;
    std::optional<long> m_before;
};

/// "12345" as the card takes it, in hex: padded with FF to 8 bytes, or to cb.
inline std::string Padded(const std::string& pin, std::size_t cb = 8)
{
    const std::string padded = pin + std::string(cb - pin.size(), '\xFF');
    return " " + ToHex(padded.data(), padded.size());
}

class COperationTest : public CScriptedTest {
protected:
    using Lines = std::vector<std::string>;

    void Step(const std::string& command, SAnswer answer = 0x9000)
    {
        card.Step(command, command.c_str(), std::move(answer));
    }
    /// A fresh session goes to the MF first, and then selects it; a careful one saves the second.
    void SelectMF()
    {
        Step("00 A4 08 0C 02 3F 00");
        if (!g_settings_dict.contains("SETTING_TRY_GUARD")) {
            Step("00 A4 00 0C 02 3F 00 FF");
        }
    }
    void SelectDS(SAnswer answer = 0x9000) { Step("00 A4 09 0C 02 14 00 FF", std::move(answer)); }
    /// What most operations on the signature PIN begin with.
    void Begin()
    {
        SelectMF();
        SelectDS(0x6985); // not looked at, nor remembered
    }
    /// Everything that reading the serial number of a card with the identity file takes.
    void ExpectSerial(const std::string& serial = ToHex(SERIAL, sizeof SERIAL - 1))
    {
        SelectMF();
        Step("00 A4 09 0C 02 10 00 FF");
        Step("00 A4 09 0C 02 10 03 FF");
        Step("00 B0 00 00 10", (serial + " 90 00").c_str());
    }
    static constexpr char SERIAL[] = "ABCDEFGH12345678"; ///< that card's

    unsigned char m_abKey[24] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
    const Bytes m_key = Bytes(m_abKey, m_abKey + sizeof m_abKey);
};

#endif
