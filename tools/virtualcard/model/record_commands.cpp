// SPDX-License-Identifier: Apache-2.0
//
// Records: linear files of fixed length, linear files of TLV records, cyclic files.
#include "model/commands.h"

#include <algorithm>
#include <numeric>

namespace vcard {

namespace {

/// How P2 of a record command names the record; bits 8 to 4 (a short file identifier) are unused.
enum class ERecordMode : std::uint8_t {
    FIRST_WITH_TAG = 0x00,
    LAST_WITH_TAG = 0x01,
    WITH_TAG = 0x02,
    OLDEST = 0x03, ///< writing only: the record that a cyclic file gives up next
    NUMBER = 0x04
};

/// The current EF, which must have records and allow the access at this position.
SFile& RecordEf(const CSession& session, std::size_t accessPosition)
{
    SFile& ef = session.Ef();
    Require(!ef.IsTransparent(), sw::INCOMPATIBLE_FILE);
    RequireAccess(session, ef.abAccess[accessPosition]);
    return ef;
}

Bytes& FindRecord(SFile& ef, const SCommand& command)
{
    const auto bHasTag = [&](const Bytes& record) {
        return !record.empty() && record[0] == command.bP1;
    };
    auto& records = ef.records;
    switch (static_cast<ERecordMode>(command.bP2)) {
    case ERecordMode::NUMBER:
        Require(command.bP1 >= 1 && command.bP1 <= records.size(), sw::RECORD_NOT_FOUND);
        return records[command.bP1 - 1U];
    case ERecordMode::FIRST_WITH_TAG:
    case ERecordMode::WITH_TAG: {
        const auto it = std::find_if(records.begin(), records.end(), bHasTag);
        Require(it != records.end(), sw::RECORD_NOT_FOUND);
        return *it;
    }
    case ERecordMode::LAST_WITH_TAG: {
        const auto it = std::find_if(records.rbegin(), records.rend(), bHasTag);
        Require(it != records.rend(), sw::RECORD_NOT_FOUND);
        return *it;
    }
    case ERecordMode::OLDEST:
        break;
    }
    throw SRefusal(sw::WRONG_P1P2);
}

std::size_t UsedBytes(const SFile& ef)
{
    return std::accumulate(ef.records.begin(), ef.records.end(), std::size_t{0},
                           [](std::size_t cb, const Bytes& record) { return cb + record.size(); });
}

/// The form of a record: the file's record length, or a tag, a length byte and as many bytes.
void CheckRecord(const SFile& ef, const Bytes& record)
{
    if (ef.type != EFileType::LINEAR_TLV) {
        Require(record.size() == ef.bRecordSize, sw::WRONG_LENGTH);
        return;
    }
    Require(record.size() >= 2 && record[1] == record.size() - 2, sw::WRONG_DATA);
}

void PutNewest(SFile& ef, const Bytes& record)
{
    const std::size_t cMax = std::min<std::size_t>(std::size_t{ef.wSize} / ef.bRecordSize, 0xFF);
    Require(cMax > 0, sw::NO_MEMORY);
    ef.records.insert(ef.records.begin(), record);
    ef.records.resize(std::min(ef.records.size(), cMax));
}

} // namespace

SAnswer ReadRecord(SMachine& card, const SCommand& command)
{
    SFile& ef = RecordEf(card.session, file_access::READ);
    Require(command.abData.empty() && command.bHasLe, sw::WRONG_LENGTH);
    const Bytes& record = FindRecord(ef, command);
    // Fewer bytes than asked for are fine, and so is the beginning of a record.
    return Copy(ByteView(record).first(std::min(record.size(), command.cbLe)));
}

SAnswer UpdateRecord(SMachine& card, const SCommand& command)
{
    SFile& ef = RecordEf(card.session, file_access::UPDATE);
    CheckRecord(ef, command.abData);
    if (static_cast<ERecordMode>(command.bP2) == ERecordMode::OLDEST &&
        ef.type == EFileType::CYCLIC) {
        PutNewest(ef, command.abData);
        return {};
    }
    Bytes& record = FindRecord(ef, command);
    Require(UsedBytes(ef) - record.size() + command.abData.size() <= ef.wSize, sw::NO_MEMORY);
    record = command.abData;
    return {};
}

SAnswer AppendRecord(SMachine& card, const SCommand& command)
{
    SFile& ef = RecordEf(card.session, file_access::APPEND);
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    CheckRecord(ef, command.abData);
    if (ef.type == EFileType::CYCLIC) {
        PutNewest(ef, command.abData);
        return {};
    }
    Require(UsedBytes(ef) + command.abData.size() <= ef.wSize && ef.records.size() < 0xFF,
            sw::NO_MEMORY);
    ef.records.push_back(command.abData);
    return {};
}

} // namespace vcard
