// SPDX-License-Identifier: Apache-2.0
//
// The verbs of the tool.

#ifndef TOOLS_PINDESK_VERBS_H
#define TOOLS_PINDESK_VERBS_H

#include "options.h"
#include "outcome.h"

#include <array>

namespace tool {

struct Verb {
    const char* name;
    const char* summary;
    const char* targets; ///< the words that may follow, separated by '|'; null for none
    bool asksPin, asksPuk, asksNew;
    const char* example;
    Outcome (*run)(const Options& options);
};

extern const std::array<Verb, 11> kVerbs;

Outcome ShowReaders(const Options& options);
Outcome ShowSerial(const Options& options);
Outcome ShowStatus(const Options& options);
Outcome ShowLimits(const Options& options);
Outcome VerifySecret(const Options& options);
Outcome ChangeSecret(const Options& options);
Outcome UnblockPin(const Options& options);
Outcome LockSignature(const Options& options);
Outcome ReactivateSignature(const Options& options);
Outcome IdentifyCard(const Options& options);
Outcome ExplainCode(const Options& options);

} // namespace tool

#endif
