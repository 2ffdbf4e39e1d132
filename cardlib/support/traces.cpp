// SPDX-License-Identifier: Apache-2.0
//
// The two trace channels and the names of card commands.

#include "cardlib/traces.h"

#include "cardlib/systovanmutex.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char TYPED_LOG_FILE[] = "/p11log.txt";
constexpr std::size_t TYPED_MESSAGE_SIZE = 4096;
constexpr int ERROR_CHANNEL_BIT = 1;

constinit CSysTovanCriticalSection s_log_mutex; // serialises every write of both channels

int LevelOf(const char* szLevel)
{
    return szLevel != nullptr ? static_cast<int>(std::strtol(szLevel, nullptr, 10)) : 0;
}

/// The environment as it was when the library was loaded; a process with more rights than its
/// caller has none.
struct STraceSettings {
    STraceSettings() : iDebugLevel(LevelOf(secure_getenv("CK_DEBUG_LEVEL")))
    {
        const char* szFile = secure_getenv("CK_DEBUG_FILE");
        if (szFile != nullptr && std::strlen(szFile) < sizeof szOutFile) {
            std::memcpy(szOutFile, szFile, std::strlen(szFile) + 1);
        }
    }

    int iDebugLevel;
    char szOutFile[PATH_MAX] = "stderr"; // no longer name can be opened
};

/// Filled by whoever traces first: a static initialiser of another file, or the load itself.
const STraceSettings& TraceSettings()
{
    static const STraceSettings SETTINGS;
    return SETTINGS;
}

[[maybe_unused]] const STraceSettings& s_readAtLoad = TraceSettings();

struct SCloseFile {
    void operator()(FILE* pFile) const { std::fclose(pFile); }
};
using CLogFile = std::unique_ptr<FILE, SCloseFile>;

/// Null when the file cannot be opened, or is a link to another.
CLogFile OpenForAppending(const char* szFile)
{
    const int fd =
        open(szFile, O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd < 0) {
        return nullptr;
    }
    CLogFile file(fdopen(fd, "a+"));
    if (file == nullptr) {
        close(fd);
    }
    return file;
}

/// The standard stream of that name, null when it is a file's.
FILE* StandardStream(const char* szName)
{
    if (*szName == '\0' || std::strcmp(szName, "stderr") == 0) {
        return stderr;
    }
    return std::strcmp(szName, "stdout") == 0 ? stdout : nullptr;
}

/// A command is named by its instruction and by the class bits under the mask.
struct SApduName {
    std::uint8_t ins;
    std::uint8_t claMask;
    std::uint8_t cla;
    const char* szName;
};

constexpr std::uint8_t ANY = 0x00, EXACT = 0xFF, PROPRIETARY = 0x80;

// The first row that fits names the command; readers of old logs know the spellings: they stay.
constexpr SApduName APDU_NAMES[] = {
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
    const STraceSettings& settings = TraceSettings();
    if ((settings.iDebugLevel & ERROR_CHANNEL_BIT) == 0 || lpszFormat == nullptr) {
        return;
    }
    const CSysTovanLock lock(s_log_mutex);
    FILE* const pStandard = StandardStream(settings.szOutFile);
    const CLogFile file = pStandard == nullptr ? OpenForAppending(settings.szOutFile) : nullptr;
    FILE* const pOut = file != nullptr ? file.get() : stderr;
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started the list
    std::vfprintf(pStandard != nullptr ? pStandard : pOut, lpszFormat, args);
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
    const int iLevel = LevelOf(secure_getenv("CK_DEBUG_LEVEL"));
    if (iLevel == -1 || (iLevel & iType) == iLevel) {
        CK_vsTrace(lpszFormat, args);
    }
}

void CK_vsTrace(const char* lpszFormat, va_list args)
{
    if (lpszFormat == nullptr) {
        return;
    }
    const CSysTovanLock lock(s_log_mutex);
    char szMessage[TYPED_MESSAGE_SIZE];
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started the list
    if (std::vsnprintf(szMessage, sizeof szMessage, lpszFormat, args) < 0) {
        return;
    }
    if (const CLogFile file = OpenForAppending(TYPED_LOG_FILE); file != nullptr) {
        std::fputs(szMessage, file.get());
    }
}

void CKTraceBufL(const unsigned char* /*B*/, unsigned long /*L*/, const char* /*szBufDispName*/) {}

const char* GetAPDUName(unsigned char cla, unsigned char ins)
{
    bool bKnownIns = false;
    for (const SApduName& row : APDU_NAMES) {
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
