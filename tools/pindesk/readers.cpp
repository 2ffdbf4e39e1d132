// SPDX-License-Identifier: Apache-2.0
//
// Choosing a reader. A slot is a position in a list that changes as readers come and go, so the
// list is read anew whenever a card is waited for.

#include "readers.h"

#include "card_query.h"
#include "explain.h"
#include "outcome.h"
#include "pindesk/PCSC_Misc.h"

#include <algorithm>
#include <array>
#include <thread>

namespace tool {

namespace {

constexpr std::chrono::milliseconds WAIT_STEP{250};
constexpr std::size_t ATR_CHARS = 66, SERIAL_SIZE = 17;

std::string ReaderName(long slot)
{
    long length = 0;
    if (PCSC_GetReaderName(slot, nullptr, &length) != result::OK || length <= 0) {
        return {};
    }
    std::string name(static_cast<std::size_t>(length) + 1, '\0');
    length = static_cast<long>(name.size());
    if (PCSC_GetReaderName(slot, name.data(), &length) != result::OK) {
        return {};
    }
    return name.c_str(); // the list may have changed between the two calls
}

Reader Describe(long slot)
{
    std::array<char, ATR_CHARS + 1> atr{};
    long length = ATR_CHARS;
    Reader reader{slot, ReaderName(slot), false, {}};
    reader.hasCard = PCSC_GetATR(slot, atr.data(), &length) == result::OK;
    if (reader.hasCard) {
        reader.atr = atr.data();
    }
    return reader;
}

std::string Table(const std::vector<Reader>& readers)
{
    std::string lines;
    for (const Reader& reader : readers) {
        lines += "\n  " + std::to_string(reader.slot) + "  " + reader.name;
    }
    return lines;
}

std::vector<Reader> Matching(const std::vector<Reader>& readers, const std::string& text)
{
    std::vector<Reader> matches;
    for (const Reader& reader : readers) {
        if (reader.name == text) {
            return {reader};
        }
        if (reader.name.find(text) != std::string::npos) {
            matches.push_back(reader);
        }
    }
    return matches;
}

// Those the options allow: never empty.
std::vector<Reader> Candidates(const Options& options)
{
    std::vector<Reader> readers = ListReaders();
    if (options.slot > static_cast<long>(readers.size())) {
        throw CFailure(ExitStatus::NoReader,
                       "There is no reader in slot " + std::to_string(options.slot) + ".",
                       "The readers are:" + Table(readers), result::NO_READER);
    }
    if (options.slot > 0) {
        return {readers[static_cast<std::size_t>(options.slot - 1)]};
    }
    if (options.reader.empty()) {
        return readers;
    }
    std::vector<Reader> matches = Matching(readers, options.reader);
    if (matches.empty()) {
        throw CFailure(ExitStatus::NoReader, "No reader is named " + options.reader + ".",
                       "The readers are:" + Table(readers));
    }
    if (matches.size() > 1) {
        throw CFailure(ExitStatus::Usage,
                       "Several readers have " + options.reader +
                           " in their names:" + Table(matches),
                       "Give the whole name, or --slot.");
    }
    return matches;
}

Reader OnlyOneWithCard(const std::vector<Reader>& candidates)
{
    std::vector<Reader> withCard;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(withCard),
                 [](const Reader& reader) { return reader.hasCard; });
    if (withCard.size() > 1) {
        throw CFailure(ExitStatus::Usage, "Several readers hold a card:" + Table(withCard),
                       "Choose one with --slot or --reader.");
    }
    if (withCard.size() == 1) {
        return withCard.front();
    }
    const bool isOne = candidates.size() == 1;
    throw CFailure(ExitStatus::NoCard,
                   isOne ? "There is no card in " + candidates.front().name + "."
                         : "There is no card in any reader.",
                   "Insert the card, or use --wait.", result::NO_CARD);
}

Reader WaitForCard(const Options& options)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    for (;;) {
        try {
            return OnlyOneWithCard(Candidates(options));
        } catch (const CFailure& failure) {
            const ExitStatus status = failure.Result().status;
            const bool mayChange = status == ExitStatus::NoCard || status == ExitStatus::NoReader;
            if (!mayChange || !options.wait || Clock::now() - start >= *options.wait) {
                throw;
            }
        }
        std::this_thread::sleep_for(WAIT_STEP);
    }
}

} // namespace

std::vector<Reader> ListReaders()
{
    long count = 0;
    const long code = PCSC_GetReadersCount(&count);
    if (code == result::NO_CONTEXT) {
        throw CFailure(ExplainedOutcome(code));
    }
    if (code != result::OK || count == 0) {
        throw CFailure(ExitStatus::NoReader, "There is no card reader.",
                       "Connect one; pindesk readers lists what is there.", result::NO_READER);
    }
    std::vector<Reader> readers;
    for (long slot = 1; slot <= count; ++slot) {
        readers.push_back(Describe(slot));
    }
    return readers;
}

std::string TryReadSerial(const Reader& reader)
{
    std::array<char, SERIAL_SIZE> serial{};
    const long code = CNS_GetSerial(reader.slot, serial.data());
    if (code == result::OK) {
        return serial.data();
    }
    const Contact contact = ContactWith(reader.name);
    if (contact != Contact::Answers) {
        throw CFailure(ContactOutcome(contact, reader.name, code));
    }
    return {};
}

Reader LocateCard(const Options& options)
{
    Reader reader = WaitForCard(options);
    if (options.serial.empty()) {
        return reader;
    }
    if (TryReadSerial(reader) != options.serial) {
        throw CFailure(ExplainedOutcome(result::OTHER_CARD));
    }
    return reader;
}

} // namespace tool
