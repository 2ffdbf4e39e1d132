// SPDX-License-Identifier: Apache-2.0

#include "tests/support/operations.h"

namespace {

char* Serial(const SCall& call)
{
    return const_cast<char*>(call.szSerial);
}

} // namespace

Pins Only(ESecret secret, const SPin& pin)
{
    Pins pins;
    pins[secret] = pin;
    return pins;
}

long Verify(const Pins& p, const SCall& call)
{
    return CNS_DS_VerifyPinPuk(call.lSlot, Serial(call), p[0].pb, p[0].cb, p[1].pb, p[1].cb,
                               p[2].pb, p[2].cb, p[3].pb, p[3].cb, call.pKey, call.bProtect);
}

long Change(const Pins& o, const Pins& n, const SCall& call)
{
    return CNS_DS_ChangePinPuk(call.lSlot, Serial(call), o[0].pb, o[0].cb, n[0].pb, n[0].cb,
                               o[1].pb, o[1].cb, n[1].pb, n[1].cb, o[2].pb, o[2].cb, n[2].pb,
                               n[2].cb, o[3].pb, o[3].cb, n[3].pb, n[3].cb, call.pKey,
                               call.bProtect);
}

long Unblock(const Pins& puks, const Pins& pins, const SCall& call)
{
    return CNS_DS_UnblockPin(call.lSlot, Serial(call), puks[CNS_PUK].pb, puks[CNS_PUK].cb,
                             pins[CNS_PIN].pb, pins[CNS_PIN].cb, puks[DS_PUK].pb, puks[DS_PUK].cb,
                             pins[DS_PIN].pb, pins[DS_PIN].cb, call.pKey, call.bProtect);
}

long Deactivate(const SCall& call)
{
    return DS_DeactivatePin(call.lSlot, Serial(call), call.pKey, call.bProtect);
}

long Lock(const SCall& call)
{
    return DS_LockPin(call.lSlot, Serial(call), call.pKey, call.bProtect);
}

long Reactivate(const SPin& puk, const SPin& newPin, const SCall& call)
{
    constexpr BOOL USE_ADMIN_KEY = 1; // accepted, and of no effect
    return DS_ReactivatePin(call.lSlot, Serial(call), puk.pb, puk.cb, newPin.pb, newPin.cb, nullptr,
                            USE_ADMIN_KEY, call.pKey, call.bProtect);
}

long ReadSerial(const SCall& call)
{
    char szFound[17];
    return CNS_GetSerial(call.lSlot, szFound);
}
