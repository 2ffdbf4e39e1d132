// SPDX-License-Identifier: Apache-2.0
//
// Resetting a blocked PIN with its PUK on card families other than the CNS one.

#include "pindesk/PCSC_Misc.h"

#include "pindesk/families.h"

#include <cstring>

using namespace pindesk;

namespace {

SValue ValueOf(const char* sz)
{
    return {reinterpret_cast<const unsigned char*>(sz), static_cast<long>(std::strlen(sz))};
}

long Unblock(long slotId, const SFamily& family, const char* szPuk, const char* szNewPin)
{
    if (!szPuk || !szNewPin) {
        return result::MISSING_ARGUMENT;
    }
    return WithPlainCard(slotId, [&](CSCard& card) {
        const CResetData data(family, ValueOf(szPuk), ValueOf(szNewPin));
        CSelector files(card);
        for (const SFamilyPin& pin : family.pins) {
            if (const long lResult = GoToPin(files, family, pin); lResult != result::OK) {
                return lResult;
            }
            if (ResetPin(card, family, pin, data) != 0) {
                return result::READER_FAILED;
            }
        }
        return result::OK;
    });
}

} // namespace

long PCSC_Unblock_Starcos(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN)
{
    return Unblock(slotId, STARCOS, szPUK, szNewPIN);
}

long PCSC_Unblock_M4_1111(long slotId, LPCTSTR szPUK, LPCTSTR szNewPIN)
{
    return Unblock(slotId, M4_1111, szPUK, szNewPIN);
}

long PCSC_Unblock_Setec(long, LPCTSTR, LPCTSTR)
{
    return result::OK; // on purpose: see the declaration
}
