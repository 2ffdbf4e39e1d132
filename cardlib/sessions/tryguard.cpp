// SPDX-License-Identifier: Apache-2.0

#include "cardlib/sessions/tryguard.h"

#include "cardlib/sessions/apdu.h"
#include "cardlib/support/careful.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

enum class EWhen : std::uint8_t { ALWAYS, WITH_DATA, FOR_OBJECT };

struct SOnce {
    std::uint8_t bIns;
    EWhen eWhen;
};

/// A header, or a query for the tries left, carries no secret. The value of an object is one.
constexpr SOnce ONCE[] = {
    {.bIns = ins::VERIFY, .eWhen = EWhen::WITH_DATA},
    {.bIns = ins::CHANGE_REFERENCE_DATA, .eWhen = EWhen::WITH_DATA},
    {.bIns = ins::RESET_RETRY_COUNTER, .eWhen = EWhen::WITH_DATA},
    {.bIns = ins::EXTERNAL_AUTHENTICATE, .eWhen = EWhen::WITH_DATA},
    {.bIns = ins::PUT_DATA, .eWhen = EWhen::FOR_OBJECT},
    {.bIns = ins::PHASE_CONTROL, .eWhen = EWhen::ALWAYS}, // a second one undoes the first
    {.bIns = ins::GENERATE_KEY_PAIR, .eWhen = EWhen::ALWAYS},
    {.bIns = ins::CREATE_FILE, .eWhen = EWhen::ALWAYS},
    {.bIns = ins::DELETE_FILE, .eWhen = EWhen::ALWAYS},
    {.bIns = ins::APPEND_RECORD, .eWhen = EWhen::ALWAYS},
};

bool Fits(EWhen eWhen, const CK_BYTE* pbCommand, DWORD cbCommand)
{
    switch (eWhen) {
    case EWhen::WITH_DATA:
        return cbCommand > CCommandApdu::HEADER;
    case EWhen::FOR_OBJECT:
        return cbCommand > CCommandApdu::HEADER && pbCommand[3] == tag::OBJECT;
    default:
        return true;
    }
}

} // namespace

bool CarriesSecret(const CK_BYTE* pbCommand, DWORD cbCommand)
{
    return cbCommand > 1 && std::any_of(std::begin(ONCE), std::end(ONCE), [=](const SOnce& row) {
               return row.bIns == pbCommand[1] && row.eWhen == EWhen::WITH_DATA &&
                      Fits(row.eWhen, pbCommand, cbCommand);
           });
}

bool SendOnlyOnce(const CK_BYTE* pbCommand, DWORD cbCommand)
{
    return cbCommand > 1 && CCareful::Now() &&
           std::any_of(std::begin(ONCE), std::end(ONCE), [=](const SOnce& row) {
               return row.bIns == pbCommand[1] && Fits(row.eWhen, pbCommand, cbCommand);
           });
}
