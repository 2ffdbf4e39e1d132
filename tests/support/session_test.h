// SPDX-License-Identifier: Apache-2.0
//
// Fixture of tests that speak to one card session directly: a context, a connected session over the
// scripted PC/SC, and its paths as text.

#ifndef TESTS_SUPPORT_SESSION_TEST_H
#define TESTS_SUPPORT_SESSION_TEST_H

#include "cardlib/cscard.h"
#include "tests/support/scripted_pcsc.h"

#include <cstdio>

constexpr char SCRIPTED_READER[] = "Scripted Reader 00 00";

/// The identifiers of a path, as in "3F00 1100", and " DF" where it says that it names one.
inline std::string PathText(const DFEF_Path& path)
{
    std::string text;
    char szFid[8];
    for (CK_ULONG i = 0; i < path.m_FidsInPath; ++i) {
        std::snprintf(szFid, sizeof szFid, i ? " %04X" : "%04X", path.m_pPath[i]);
        text += szFid;
    }
    return path.m_isDF ? text + " DF" : text;
}

template <class Session> class CSessionTest : public CScriptedTest {
protected:
    void SetUp() override
    {
        SCARDHANDLE hCard = 0;
        DWORD dwProtocol = 0;
        char szReader[] = "Scripted Reader 00 00";
        SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &m_hContext);
        SCardConnect(m_hContext, szReader, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &hCard,
                     &dwProtocol);
        m_pSession = new Session(m_hContext, szReader);
        m_pSession->Attach(hCard);
    }

    void TearDown() override
    {
        m_pSession->Release();
        SCardReleaseContext(m_hContext);
        CScriptedTest::TearDown();
    }

    Session& Card() { return *m_pSession; }
    std::string DF() { return PathText(m_pSession->m_Current_DF_path); }
    std::string EF() { return PathText(m_pSession->m_Current_EF_path); }

    /// A command that is expected and answered with 9000 alone.
    void Ok(const char* szCommand) { card.Step(szCommand, szCommand, 0x9000); }

    SCARDCONTEXT m_hContext = 0;
    Session* m_pSession = nullptr;
};

#endif
