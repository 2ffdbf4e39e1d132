// SPDX-License-Identifier: Apache-2.0
//
// The verbs that use a PIN or PUK of a national services card: verify, change, unblock.

#include "attempt.h"
#include "family.h"
#include "pindesk/PinDesk.h"
#include "verbs.h"

namespace tool {

namespace {

// One secret's place among the four of an operation's parameters; the others stay empty.
struct Place {
    unsigned char* pb = nullptr;
    long cb = 0;
};
using Places = std::array<Place, SECRET_COUNT>;

Places Only(const Secret& secret, CSecretInput& value)
{
    Places places;
    places.at(secret.position) = {value.data(), static_cast<long>(value.size())};
    return places;
}

std::string Sentence(const Secret& secret, const char* what)
{
    return std::string("The ") + secret.title + " " + what;
}

long Unblock(bool isCns, CAttempt& attempt, CSecretInput& puk, CSecretInput& pin)
{
    Place given[] = {{puk.data(), static_cast<long>(puk.size())},
                     {pin.data(), static_cast<long>(pin.size())}};
    const Place none[2];
    const Place* const cns = isCns ? given : none;
    const Place* const ds = isCns ? none : given;
    return CNS_DS_UnblockPin(attempt.Card().Slot(), attempt.Card().Serial(), cns[0].pb, cns[0].cb,
                             cns[1].pb, cns[1].cb, ds[0].pb, ds[0].cb, ds[1].pb, ds[1].cb,
                             attempt.SmKey(), attempt.UseSecureMessaging());
}

} // namespace

Outcome VerifySecret(const Options& options)
{
    const Secret& secret = SecretNamed(options.target);
    CAttempt attempt(options, secret, {});
    CSecretInput value;
    attempt.Read(secret, value);
    const auto [cnsPin, cnsPuk, dsPin, dsPuk] = Only(secret, value);
    const long code = CNS_DS_VerifyPinPuk(
        attempt.Card().Slot(), attempt.Card().Serial(), cnsPin.pb, cnsPin.cb, cnsPuk.pb, cnsPuk.cb,
        dsPin.pb, dsPin.cb, dsPuk.pb, dsPuk.cb, attempt.SmKey(), attempt.UseSecureMessaging());
    return attempt.Conclude(code, Sentence(secret, "is right."));
}

Outcome ChangeSecret(const Options& options)
{
    const Secret& secret = SecretNamed(options.target);
    CAttempt attempt(options, secret, Sentence(secret, "has either its old or its new value."));
    CSecretInput oldValue;
    CSecretInput newValue;
    attempt.Read(secret, oldValue);
    attempt.ReadNew(secret, newValue);
    const auto [cnsPin, cnsPuk, dsPin, dsPuk] = Only(secret, oldValue);
    const auto [newCnsPin, newCnsPuk, newDsPin, newDsPuk] = Only(secret, newValue);
    const long code = CNS_DS_ChangePinPuk(
        attempt.Card().Slot(), attempt.Card().Serial(), cnsPin.pb, cnsPin.cb, newCnsPin.pb,
        newCnsPin.cb, cnsPuk.pb, cnsPuk.cb, newCnsPuk.pb, newCnsPuk.cb, dsPin.pb, dsPin.cb,
        newDsPin.pb, newDsPin.cb, dsPuk.pb, dsPuk.cb, newDsPuk.pb, newDsPuk.cb, attempt.SmKey(),
        attempt.UseSecureMessaging());
    return attempt.Conclude(code, Sentence(secret, "has its new value."), true);
}

Outcome UnblockPin(const Options& options)
{
    if (!options.family.empty()) {
        return UnblockOtherFamily(options);
    }
    const bool isCns = options.target == "cns";
    const Secret& puk = isCns ? CnsPuk() : DsPuk();
    const Secret& pin = isCns ? CnsPin() : DsPin();
    CAttempt attempt(options, puk,
                     Sentence(pin, "may be unblocked and have its new value, or not."));
    CSecretInput pukValue;
    CSecretInput pinValue;
    attempt.Read(puk, pukValue);
    attempt.ReadNew(pin, pinValue);
    const long code = Unblock(isCns, attempt, pukValue, pinValue);
    return attempt.Conclude(code, Sentence(pin, "is unblocked and has its new value."));
}

} // namespace tool
