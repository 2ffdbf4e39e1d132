// SPDX-License-Identifier: Apache-2.0

#include "pindesk/operation.h"

using namespace pindesk;

long CNS_DS_GetPinLimit(long slot, char* serialNumber, int* piCnsPinMinLen, int* piCnsPinMaxLen,
                        int* piCnsPukMinLen, int* piCnsPukMaxLen, int* piDSPinMinLen,
                        int* piDSPinMaxLen, int* piDSPukMinLen, int* piDSPukMaxLen)
{
    if (slot < 1) {
        return result::NO_READER;
    }
    if (serialNumber != nullptr) {
        const long lResult = RunWithSettings([&] { return CheckSerial(slot, serialNumber); });
        if (lResult != result::OK) {
            return lResult;
        }
    }
    // Stricter than what the operations accept, on purpose: this is what a person should choose.
    const struct {
        int* piOut;
        int iLimit;
    } LIMITS[] = {
        {piCnsPinMinLen, 6}, {piCnsPinMaxLen, 8}, {piCnsPukMinLen, 8}, {piCnsPukMaxLen, 8},
        {piDSPinMinLen, 6},  {piDSPinMaxLen, 8},  {piDSPukMinLen, 8},  {piDSPukMaxLen, 8},
    };
    for (const auto& limit : LIMITS) {
        if (limit.piOut != nullptr) {
            *limit.piOut = limit.iLimit;
        }
    }
    return result::OK;
}
