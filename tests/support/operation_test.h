// SPDX-License-Identifier: Apache-2.0
//
// Fixture of tests that call the exported operations: the exchanges that they have in common, and
// settings for one test.

#ifndef TESTS_SUPPORT_OPERATION_TEST_H
#define TESTS_SUPPORT_OPERATION_TEST_H

#include "cardlib/ckdictionary.h"
#include "pindesk/PinDesk.h"
#include "tests/support/scripted_pcsc.h"

#include <cstring>

/// Gives a setting a value for a scope.
class CSetting {
public:
    CSetting(const char* szName, long lVal) : m_szName(szName)
    {
        const auto entry = g_settings_dict.find(szName);
        if (entry != g_settings_dict.end())
            m_before = static_cast<long>(*entry->second);
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

/// A PIN or PUK as the operations take it; null for one that is not given.
struct SPin {
    SPin(const char* sz = nullptr)
        : pb(reinterpret_cast<unsigned char*>(const_cast<char*>(sz))),
          cb(sz ? static_cast<long>(std::strlen(sz)) : 0)
    {
    }
    SPin(const char* sz, long cbOf) : SPin(sz) { cb = cbOf; }
    unsigned char* pb;
    long cb;
};

/// "12345" as the card takes it, in hex: padded with FF to 8 bytes, or to cb.
inline std::string Padded(const std::string& pin, std::size_t cb = 8)
{
    const std::string padded = pin + std::string(cb - pin.size(), '\xFF');
    return " " + scripted::ToHex(padded.data(), padded.size());
}

class COperationTest : public CScriptedTest {
protected:
    using Lines = std::vector<std::string>;

    void Step(const std::string& command, SAnswer answer = 0x9000)
    {
        card.Step(command, command.c_str(), std::move(answer));
    }
    /// A fresh session goes to the MF first, and then selects it.
    void SelectMF()
    {
        Step("00 A4 08 0C 02 3F 00");
        Step("00 A4 00 0C 02 3F 00 FF");
    }
    void SelectDS(SAnswer answer = 0x9000) { Step("00 A4 09 0C 02 14 00 FF", std::move(answer)); }
    /// Everything that reading the serial number of a card with the identity file takes.
    void ReadSerial()
    {
        SelectMF();
        Step("00 A4 09 0C 02 10 00 FF");
        Step("00 A4 09 0C 02 10 03 FF");
        Step("00 B0 00 00 10", "41 42 43 44 45 46 47 48 31 32 33 34 35 36 37 38 90 00");
    }
    char m_szSerial[17] = "ABCDEFGH12345678"; ///< that card's
};

#endif
