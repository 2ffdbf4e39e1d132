// SPDX-License-Identifier: Apache-2.0
//
// What the result codes of the exported operations and the status words of cards mean.

#include "desk/meanings.h"
#include "desk/put.h"
#include "desk/state.h"
#include "desk/words.h"
#include "pindesk/PCSC_Misc.h"

#include <algorithm>
#include <iterator>

namespace desk {

namespace {

struct SCode {
    long lCode;
    pindesk_outcome eOutcome;
    pindesk_next eNext;
    const char* szText;
    pindesk_secret eSecret = PINDESK_CNS_PIN; ///< {secret} in the text
};

constexpr const char* NOT_CHANGED =
    Msg("The old {secret} was right, but the card did not take the new one.");
constexpr const char* NOT_UNBLOCKED =
    Msg("The PUK was right, but the card did not take the new {secret}.");
constexpr const char* NOT_ACCEPTED = Msg("The {secret} was not accepted.");
constexpr const char* BLOCKED = Msg("The {secret} is blocked.");
constexpr const char* NEW_LENGTH = Msg("The new {secret} has a length that is not permitted.");
constexpr const char* LENGTH = Msg("The {secret} has a length that it cannot have.");

namespace result = pindesk::result;
constexpr SCode CODES[] = {
    {result::OK, PINDESK_DONE, PINDESK_NEXT_NOTHING, Msg("The operation succeeded.")},
    {result::NO_CONTEXT, PINDESK_NO_SERVICE, PINDESK_NEXT_START_SERVICE,
     Msg("The PC/SC service does not answer.")},
    {result::NO_READER, PINDESK_NO_READER, PINDESK_NEXT_CONNECT_READER,
     Msg("There is no reader, or no such reader.")},
    {result::NO_CARD, PINDESK_NO_CARD, PINDESK_NEXT_REINSERT_CARD,
     Msg("There is no card in the reader, or it could not be connected.")},
    {result::SELECT_FAILED, PINDESK_CARD_REFUSED, PINDESK_NEXT_IDENTIFY,
     Msg("A file that every card of this kind has could not be selected.")},
    {result::SECURE_MESSAGING, PINDESK_SECURE_MESSAGING_REFUSED, PINDESK_NEXT_GIVE_SM_KEY,
     Msg("The card refused the secure messaging, or the data in it.")},
    {result::CHANGE_CNS_PIN, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_CHANGED,
     PINDESK_CNS_PIN},
    {result::CHANGE_CNS_PUK, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_CHANGED,
     PINDESK_CNS_PUK},
    {result::CHANGE_DS_PIN, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_CHANGED,
     PINDESK_DS_PIN},
    {result::CHANGE_DS_PUK, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_CHANGED,
     PINDESK_DS_PUK},
    {result::UNBLOCK_CNS_PIN, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_UNBLOCKED,
     PINDESK_CNS_PIN},
    {result::UNBLOCK_DS_PIN, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS, NOT_UNBLOCKED,
     PINDESK_DS_PIN},
    {result::VERIFY_CNS_PIN, PINDESK_WRONG_SECRET, PINDESK_NEXT_CHECK_VALUE, NOT_ACCEPTED,
     PINDESK_CNS_PIN},
    {result::VERIFY_CNS_PUK, PINDESK_WRONG_SECRET, PINDESK_NEXT_CHECK_VALUE, NOT_ACCEPTED,
     PINDESK_CNS_PUK},
    {result::VERIFY_DS_PIN, PINDESK_WRONG_SECRET, PINDESK_NEXT_CHECK_VALUE, NOT_ACCEPTED,
     PINDESK_DS_PIN},
    {result::VERIFY_DS_PUK, PINDESK_WRONG_SECRET, PINDESK_NEXT_CHECK_VALUE, NOT_ACCEPTED,
     PINDESK_DS_PUK},
    {result::DEACTIVATION_REFUSED, PINDESK_CARD_REFUSED, PINDESK_NEXT_GIVE_ADMIN_KEY,
     Msg("The card refused to deactivate the {secret}."), PINDESK_DS_PIN},
    {result::ADMIN_KEY_REFUSED, PINDESK_CARD_REFUSED, PINDESK_NEXT_GIVE_ADMIN_KEY,
     Msg("The card did not accept the administration key, and counts wrong ones; the {secret} "
         "stays active."),
     PINDESK_DS_PIN},
    {result::REACTIVATION_REFUSED, PINDESK_CARD_REFUSED, PINDESK_NEXT_SEE_STATUS,
     Msg("The PUK was right, but the card refused to bring the {secret} back."), PINDESK_DS_PIN},
    {result::NEW_DS_PIN_REFUSED, PINDESK_CARD_REFUSED, PINDESK_NEXT_UNBLOCK_DS,
     Msg("The {secret} is active again, but the card did not take its new value."), PINDESK_DS_PIN},
    {result::BLOCKED_CNS_PIN, PINDESK_BLOCKED, PINDESK_NEXT_SEE_STATUS,
     Msg("The {secret} is blocked, or the reader failed while a command was on its way."),
     PINDESK_CNS_PIN},
    {result::BLOCKED_CNS_PUK, PINDESK_BLOCKED, PINDESK_NEXT_REPLACE_CARD, BLOCKED, PINDESK_CNS_PUK},
    {result::BLOCKED_DS_PIN, PINDESK_BLOCKED, PINDESK_NEXT_UNBLOCK_DS, BLOCKED, PINDESK_DS_PIN},
    {result::BLOCKED_DS_PUK, PINDESK_BLOCKED, PINDESK_NEXT_REPLACE_CARD, BLOCKED, PINDESK_DS_PUK},
    {result::NEW_CNS_PIN_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHOOSE_VALUE, NEW_LENGTH,
     PINDESK_CNS_PIN},
    {result::NEW_CNS_PUK_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHOOSE_VALUE, NEW_LENGTH,
     PINDESK_CNS_PUK},
    {result::NEW_DS_PIN_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHOOSE_VALUE, NEW_LENGTH,
     PINDESK_DS_PIN},
    {result::NEW_DS_PUK_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHOOSE_VALUE, NEW_LENGTH,
     PINDESK_DS_PUK},
    {result::CNS_PIN_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHECK_VALUE, LENGTH, PINDESK_CNS_PIN},
    {result::CNS_PUK_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHECK_VALUE, LENGTH, PINDESK_CNS_PUK},
    {result::DS_PIN_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHECK_VALUE, LENGTH, PINDESK_DS_PIN},
    {result::DS_PUK_LENGTH, PINDESK_REFUSED, PINDESK_NEXT_CHECK_VALUE, LENGTH, PINDESK_DS_PUK},
    {result::MISSING_ARGUMENT, PINDESK_INTERNAL_ERROR, PINDESK_NEXT_NOTHING,
     Msg("The calling program left out an argument.")},
    {result::OTHER_CARD, PINDESK_OTHER_CARD, PINDESK_NEXT_INSERT_CARD,
     Msg("The card's serial number is not the expected one.")},
    {result::SERIAL_UNREADABLE, PINDESK_CARD_REFUSED, PINDESK_NEXT_REINSERT_CARD,
     Msg("The card's serial number could not be read.")},
    {result::BUFFER_TOO_SMALL, PINDESK_INTERNAL_ERROR, PINDESK_NEXT_NOTHING,
     Msg("The calling program's buffer is smaller than the answer to reset.")},
};

const SCode* FindCode(long lCode)
{
    const auto* const pRow = std::find_if(std::begin(CODES), std::end(CODES),
                                          [lCode](const SCode& row) { return row.lCode == lCode; });
    return pRow == std::end(CODES) ? nullptr : pRow;
}

std::string CodeText(std::int32_t lCode, const char* szLanguage)
{
    const SCode* const pCode = FindCode(lCode);
    if (pCode == nullptr) {
        return {};
    }
    const char* const szSecret = Tr(szLanguage, TitleOf(pCode->eSecret).szTitle);
    return Fill(Tr(szLanguage, pCode->szText), {{"secret", szSecret}});
}

struct SStatusWord {
    unsigned uWord;
    const char* szText;
};
constexpr SStatusWord STATUS_WORDS[] = {
    {0x9000, Msg("The command succeeded; to a query for tries: already verified.")},
    {0x6283, Msg("The selected file is deactivated.")},
    {0x6300, Msg("A wrong value; the card does not tell the tries left.")},
    {0x63C0, Msg("A wrong value, and no try is left: the secret is blocked now.")},
    {0x6700, Msg("The length of the command's data is wrong.")},
    {0x6982, Msg("The card asks for another right first: a PIN, a key or secure messaging.")},
    {0x6983, Msg("The secret is blocked.")},
    {0x6984, Msg("The secret is deactivated.")},
    {0x6985, Msg("The card does not allow the command in its present state.")},
    {0x6987, Msg("Objects of the secure messaging are missing.")},
    {0x6988, Msg("Objects of the secure messaging are wrong: the key is not the card's.")},
    {0x6A80, Msg("The data of the command are wrong.")},
    {0x6A81, Msg("The card does not have this function.")},
    {0x6A82, Msg("The file does not exist.")},
    {0x6A83, Msg("The record does not exist.")},
    {0x6A86, Msg("The parameters of the command are wrong.")},
    {0x6A88, Msg("The card has no such secret or key.")},
    {0x6B00, Msg("The offset lies outside the file.")},
    {0x6D00, Msg("The card does not know the command.")},
    {0x6E00, Msg("The card does not know this class of commands.")},
    {0x6F00, Msg("The card failed without saying why, or gave an empty answer.")},
};
constexpr unsigned TRIES_MASK = 0xFFF0, TRIES = 0x63C0; // the low nibble counts

std::string StatusWordText(unsigned uWord, const char* szLanguage)
{
    const auto* const pRow =
        std::find_if(std::begin(STATUS_WORDS), std::end(STATUS_WORDS),
                     [uWord](const SStatusWord& row) { return uWord == row.uWord; });
    if (pRow != std::end(STATUS_WORDS)) {
        return Tr(szLanguage, pRow->szText);
    }
    if ((uWord & TRIES_MASK) == TRIES) {
        return Fill(Tr(szLanguage, "A wrong value, or the answer to a query for tries: {tries}."),
                    {{"tries", TriesText(szLanguage, static_cast<int>(uWord & ~TRIES_MASK))}});
    }
    return {};
}

} // namespace

} // namespace desk

size_t pindesk_code_text(int32_t code, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::CodeText(code, language); });
}

size_t pindesk_code_advice(int32_t code, const char* language, char* buffer, size_t size)
{
    return desk::Put(buffer, size,
                     [&] { return desk::NextText(language, pindesk_code_next(code)); });
}

pindesk_next pindesk_code_next(int32_t code)
{
    const desk::SCode* const pCode = desk::FindCode(code);
    return pCode == nullptr ? PINDESK_NEXT_NOTHING : pCode->eNext;
}

pindesk_outcome pindesk_code_outcome(int32_t code)
{
    const desk::SCode* const pCode = desk::FindCode(code);
    return pCode == nullptr ? PINDESK_INTERNAL_ERROR : pCode->eOutcome;
}

size_t pindesk_status_word_text(uint16_t status_word, const char* language, char* buffer,
                                size_t size)
{
    return desk::Put(buffer, size, [&] { return desk::StatusWordText(status_word, language); });
}
