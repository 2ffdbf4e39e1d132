// SPDX-License-Identifier: Apache-2.0
//
// The verbs of the tool.

#ifndef TOOLS_PINDESK_VERBS_H
#define TOOLS_PINDESK_VERBS_H

#include "options.h"
#include "outcome.h"

namespace tool {

struct Verb {
    const char* name;
    const char* summary;
    const char* targets; ///< the words of which one must follow, separated by '|'; null for none
    unsigned options;    ///< the groups that it takes
    const char* example;
    Outcome (*run)(const Options& options);

    bool Takes(const OptionRow& option) const
    {
        return (option.group & (options | ALWAYS)) == option.group;
    }
};

extern const std::span<const Verb> VERBS;

/// Null for a name that no verb has.
const Verb* FindVerb(const std::string& name);

/// Runs the verb of the options; help and version when they ask for it, guidance when a person at
/// a terminal gives no verb.
/// \throws CFailure
Outcome Run(const Options& options);

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
Outcome Diagnose(const Options& options);
Outcome ShowHelp(const Options& options);
Outcome Guide(const Options& options);

} // namespace tool

#endif
