// SPDX-License-Identifier: Apache-2.0
//
// The two trace channels and the names of card commands.

#include "cardlib/traces.h"

#include "cardlib/systovanmutex.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kTypedLogFile[] = "/p11log.txt";
constexpr std::size_t kTypedMessageSize = 4096;
constexpr int kErrorChannelBit = 1;

constinit CSysTovanCriticalSection s_log_mutex; // serialises every write of both channels

int LevelOf(const char* szLevel)
{
    return szLevel ? static_cast<int>(std::strtol(szLevel, nullptr, 10)) : 0;
}

/// The environment as it was when the library was loaded.
struct _init_traces {
    char* szOutFile; // owned
    int iDebugLevel;
};

constinit _init_traces s_settings = {nullptr, -1};

/// Fills the record, and empties it at unload: a message after that still finds the standard error.
struct STraceLifetime {
    STraceLifetime()
    {
        const char* szLevel = std::getenv("CK_DEBUG_LEVEL");
        const char* szFile = std::getenv("CK_DEBUG_FILE");
        s_settings.szOutFile = strdup(szFile ? szFile : "stderr");
        s_settings.iDebugLevel = LevelOf(szLevel);
    }
    ~STraceLifetime()
    {
        std::free(s_settings.szOutFile);
        s_settings.szOutFile = nullptr;
    }
    STraceLifetime(const STraceLifetime&) = delete;
    STraceLifetime& operator=(const STraceLifetime&) = delete;
};

/// Filled by whoever traces first: a static initialiser of another file, or the load itself.
const _init_traces& TraceSettings()
{
    static const STraceLifetime lifetime;
    return s_settings;
}

[[maybe_unused]] const _init_traces& s_readAtLoad = TraceSettings();

/// The open destination of one error message; closes it if it is a file of ours.
class CErrorSink {
public:
    explicit CErrorSink(const char* szOutFile) : m_pFile(Standard(szOutFile))
    {
        if (m_pFile) {
            return;
        }
        m_pFile = std::fopen(szOutFile, "a+");
        m_bOwned = m_pFile != nullptr;
        if (!m_bOwned) {
            m_pFile = stderr;
        }
    }
    ~CErrorSink()
    {
        if (m_bOwned) {
            std::fclose(m_pFile);
        }
    }
    CErrorSink(const CErrorSink&) = delete;
    CErrorSink& operator=(const CErrorSink&) = delete;

    FILE* File() const { return m_pFile; }

private:
    static FILE* Standard(const char* szOutFile)
    {
        if (!szOutFile || !*szOutFile || std::strcmp(szOutFile, "stderr") == 0) {
            return stderr;
        }
        return std::strcmp(szOutFile, "stdout") == 0 ? stdout : nullptr;
    }

    FILE* m_pFile;
    bool m_bOwned = false;
};

/// A command is named by its instruction and by the class bits under the mask.
struct SApduName {
    std::uint8_t ins;
    std::uint8_t claMask;
    std::uint8_t cla;
    const char* szName;
};

constexpr std::uint8_t ANY = 0x00, EXACT = 0xFF, PROPRIETARY = 0x80;

// The first row that fits names the command; the spellings are known to readers of old logs and
// stay.
constexpr SApduName kApduNames[] = {
    {0x04, ANY, 0, "Deactivate File"},
    {0x06, EXACT, 0x84, "CardOS/M4 Erase Files"},
    {0x08, PROPRIETARY, 0x80, "CardOS/M4 PERSONALIZE"},
    {0x10, EXACT, 0x80, "CardOS/M4 PHASE CONTROL"},
    {0x16, EXACT, 0x80, "CardOS/M4 Directory"},
    {0x20, EXACT, 0x80, "LOAD EXECUTABLE"},
    {0x20, ANY, 0, "VERIFY"},
    {0x22, ANY, 0, "MANAGE SECURITY ENVIRONMENT"},
    {0x24, EXACT, 0x84, "CardOS/M4 Chenge Key"},
    {0x24, EXACT, 0x80, "Zentaris Change Key Data"},
    {0x24, ANY, 0, "Change Reference Data"},
    {0x2A, ANY, 0, "PERFORM SECURITY OPERATION"},
    {0x2C, ANY, 0, "RESET RETRY COUNTER"},
    {0x30, PROPRIETARY, 0x80, "DECREASE"},
    {0x32, PROPRIETARY, 0x80, "INCREASE"},
    {0x40, EXACT, 0x84, "CardOS/M4 Format"},
    {0x44, ANY, 0, "Activate File"},
    {0x46, ANY, 0, "GENERATE KEY PAIR"},
    {0x70, ANY, 0, "MANAGE CHANNEL"},
    {0x82, ANY, 0, "EXTERNAL AUTHENTICATE"},
    {0x84, ANY, 0, "GET CHALLENGE"},
    {0x86, EXACT, 0x80, "CardOS/M4 Zentaris34: GIVE RANDOM"},
    {0x88, ANY, 0, "INTERNAL AUTHENTICATE"},
    {0xA4, ANY, 0, "SELECT FILE"},
    {0xB0, ANY, 0, "READ BINARY"},
    {0xB2, ANY, 0, "READ RECORD"},
    {0xCA, ANY, 0, "GET DATA"},
    {0xD6, ANY, 0, "UPDATE BINARY"},
    {0xDA, ANY, 0, "PUT DATA"},
    {0xDC, ANY, 0, "UPDATE RECORD"},
    {0xE0, ANY, 0, "Create File"},
    {0xE2, ANY, 0, "Append Record"},
    {0xE4, PROPRIETARY, 0x80, "CardOS/M4 UNINSTALL PACKAGE"},
    {0xE4, ANY, 0, "Delete File"},
    {0xEA, EXACT, 0x80, "CardOS/M4 RESET SECURITY STATUS"},
    {0xF5, EXACT, 0xB0, "Zentaris34 Erase Files"},
    {0xFD, EXACT, 0xB0, "Zentaris34 Get Card Traceability"},
};

} // namespace

void CK_TraceStdErr(const char* lpszFormat, ...)
{
    va_list args;
    va_start(args, lpszFormat);
    CK_vsTraceStdErr(lpszFormat, args);
    va_end(args);
}

void CK_vsTraceStdErr(const char* lpszFormat, va_list args)
{
    const _init_traces& settings = TraceSettings();
    if (!(settings.iDebugLevel & kErrorChannelBit) || !lpszFormat) {
        return;
    }
    const CSysTovanLock lock(s_log_mutex);
    const CErrorSink sink(settings.szOutFile);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started the list
    std::vfprintf(sink.File(), lpszFormat, args);
}

void CK_Trace(const char* lpszFormat, ...)
{
    va_list args;
    va_start(args, lpszFormat);
    CK_vsTraceEx(-1, lpszFormat, args);
    va_end(args);
}

void CK_TraceEx(int iType, const char* lpszFormat, ...)
{
    va_list args;
    va_start(args, lpszFormat);
    CK_vsTraceEx(iType, lpszFormat, args);
    va_end(args);
}

void CK_vsTraceEx(int iType, const char* lpszFormat, va_list args)
{
    const int iLevel = LevelOf(std::getenv("CK_DEBUG_LEVEL"));
    if (iLevel == -1 || (iLevel & iType) == iLevel) {
        CK_vsTrace(lpszFormat, args);
    }
}

void CK_vsTrace(const char* lpszFormat, va_list args)
{
    if (!lpszFormat) {
        return;
    }
    const CSysTovanLock lock(s_log_mutex);
    char szMessage[kTypedMessageSize];
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started the list
    if (std::vsnprintf(szMessage, sizeof szMessage, lpszFormat, args) < 0) {
        return;
    }
    FILE* pFile = std::fopen(kTypedLogFile, "a");
    if (!pFile) {
        return;
    }
    std::fputs(szMessage, pFile);
    std::fclose(pFile);
}

void CKTraceBufL(const unsigned char* /*B*/, unsigned long /*L*/, const char* /*szBufDispName*/) {}

const char* GetAPDUName(unsigned char cla, unsigned char ins)
{
    bool bKnownIns = false;
    for (const SApduName& row : kApduNames) {
        if (row.ins != ins) {
            continue;
        }
        if ((cla & row.claMask) == row.cla) {
            return row.szName;
        }
        bKnownIns = true;
    }
    if (bKnownIns) {
        return "Unknown";
    }
    static char szUnknown[255];
    std::snprintf(szUnknown, sizeof szUnknown, "Unknown APDU: cla=0x%02X, ins=0x%02X", cla, ins);
    return szUnknown;
}
