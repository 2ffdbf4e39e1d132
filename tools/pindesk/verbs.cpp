// SPDX-License-Identifier: Apache-2.0
//
// The table of the verbs: what the command line accepts and what runs.

#include "verbs.h"

namespace tool {

namespace {
constexpr const char* SECRET_WORDS = "cns-pin|cns-puk|ds-pin|ds-puk";
}

const std::array<Verb, 11> kVerbs = {{
    {"readers", "List the readers: slot, name, card present, ATR", nullptr, false, false, false,
     "pindesk readers", ShowReaders},
    {"serial", "Print the card's serial number", nullptr, false, false, false,
     "pindesk serial --wait=30", ShowSerial},
    {"status", "Tell the tries left of the four secrets", nullptr, false, false, false,
     "pindesk status --json", ShowStatus},
    {"limits", "Tell the permitted lengths of the four secrets", nullptr, false, false, false,
     "pindesk limits", ShowLimits},
    {"verify", "Check a PIN or PUK", SECRET_WORDS, true, true, false, "pindesk verify cns-pin",
     VerifySecret},
    {"change", "Give a PIN or PUK a new value", SECRET_WORDS, true, true, true,
     "pindesk change ds-pin --pin-from file:old.pin --new-from file:new.pin", ChangeSecret},
    {"unblock", "Set a new PIN with the PUK, also when the PIN is blocked", "cns|ds", false, true,
     true, "pindesk unblock cns", UnblockPin},
    {"lock", "Deactivate the signature PIN", nullptr, false, false, false,
     "pindesk lock --admin-key-file admin.key", LockSignature},
    {"reactivate", "Bring a deactivated signature PIN back with the DS PUK", nullptr, false, true,
     true, "pindesk reactivate --new-from prompt", ReactivateSignature},
    {"identify", "Tell the layout of the card, its ATR, and which known ATR it matches", nullptr,
     false, false, false, "pindesk identify --slot 2", IdentifyCard},
    {"explain", "Tell what a result code or status word means and what to do", "CODE", false, false,
     false, "pindesk explain -22", ExplainCode},
}};

} // namespace tool
