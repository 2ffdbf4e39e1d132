// SPDX-License-Identifier: Apache-2.0
//
// Saving and loading. What is loaded may have been edited or cut: everything is checked.
#include "model/state.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace vcard {

namespace {

using nlohmann::json;

constexpr unsigned FORMAT = 1;
constexpr int MAX_DEPTH = 8; // of DFs

void Check(bool bCondition, const std::string& strWhat)
{
    if (!bCondition) {
        throw std::invalid_argument("card state: " + strWhat);
    }
}

json ToJson(const SSecurityObject& object)
{
    return {{"name", object.strName},
            {"class", object.bClass},
            {"id", object.bId},
            {"parameters", ToHex(object.abParameters)},
            {"access", ToHex(object.abAccess)},
            {"sm", ToHex(object.abSm)},
            {"value", ToHex(object.abValue)},
            {"tries_left", object.bTriesLeft},
            {"active", object.bActive},
            {"presented", object.cPresented},
            {"new_values", object.cNewValues}};
}

json ToJson(const SFile& file)
{
    json result = {{"fid", file.wFid},
                   {"type", static_cast<std::uint8_t>(file.type)},
                   {"size", file.wSize},
                   {"record_size", file.bRecordSize},
                   {"flags", file.bFlags},
                   {"body_size", file.wBodySize},
                   {"access", ToHex(file.abAccess)},
                   {"sm", ToHex(file.abSm)},
                   {"active", file.bActive},
                   {"body", ToHex(file.abBody)},
                   {"records", json::array()},
                   {"objects", json::array()},
                   {"children", json::array()}};
    for (const Bytes& record : file.records) {
        result["records"].push_back(ToHex(record));
    }
    for (const SSecurityObject& object : file.objects) {
        result["objects"].push_back(ToJson(object));
    }
    for (const SFile& child : file.children) {
        result["children"].push_back(ToJson(child));
    }
    return result;
}

template <typename Unsigned>
Unsigned ReadNumber(const json& from, const char* szKey,
                    std::uint64_t ulMax = std::numeric_limits<Unsigned>::max())
{
    const json& value = from.at(szKey);
    Check(value.is_number_unsigned() && value.get<std::uint64_t>() <= ulMax,
          std::string(szKey) + " is no number of its size");
    return value.get<Unsigned>();
}

Bytes HexOf(const json& from, const char* szKey, std::initializer_list<std::size_t> sizes)
{
    Bytes bytes = FromHex(from.at(szKey).get<std::string>());
    Check(sizes.size() == 0 || std::find(sizes.begin(), sizes.end(), bytes.size()) != sizes.end(),
          std::string(szKey) + " has a wrong length");
    return bytes;
}

SSecurityObject ObjectFrom(const json& from)
{
    SSecurityObject object;
    object.strName = from.at("name").get<std::string>();
    object.bClass = ReadNumber<std::uint8_t>(from, "class");
    object.bId = ReadNumber<std::uint8_t>(from, "id", REFERENCE_MASK);
    const Bytes parameters = HexOf(from, "parameters", {parameter::COUNT});
    std::copy(parameters.begin(), parameters.end(), object.abParameters.begin());
    object.abAccess = HexOf(from, "access", {8, 9, 10});
    object.abSm = HexOf(from, "sm", {object_sm::COUNT});
    object.abValue = HexOf(from, "value", {});
    object.bTriesLeft = ReadNumber<std::uint8_t>(from, "tries_left", object.MaxTries());
    Check(object.Kind() != EObjectKind::PIN || object.abValue.size() <= MAX_PIN, "a long PIN");
    object.bActive = from.at("active").get<bool>();
    object.cPresented = ReadNumber<std::uint32_t>(from, "presented");
    object.cNewValues = ReadNumber<std::uint32_t>(from, "new_values");
    return object;
}

void CheckFile(const SFile& file)
{
    std::vector<std::uint16_t> fids;
    for (const SFile& child : file.children) {
        fids.push_back(child.wFid);
    }
    std::sort(fids.begin(), fids.end());
    Check(std::adjacent_find(fids.begin(), fids.end()) == fids.end(), "two files of one name");
    Check(file.IsDf() || (file.children.empty() && file.objects.empty()), "an EF with children");
    Check(!file.IsTransparent() || file.abBody.size() == file.wSize, "a body of a wrong size");
    Check(!HasFixedRecords(file.type) || file.bRecordSize != 0, "records without a size");
    for (const Bytes& record : file.records) {
        Check(!record.empty() && record.size() <= 0xFF, "a record of a wrong size");
    }
    Check(file.records.size() <= 0xFF, "too many records");
}

SFile FileFrom(const json& from, int iDepth)
{
    Check(iDepth > 0, "files too deep");
    SFile file;
    file.wFid = ReadNumber<std::uint16_t>(from, "fid");
    const auto bType = ReadNumber<std::uint8_t>(from, "type");
    Check(IsFileType(bType), "an unknown file type");
    file.type = static_cast<EFileType>(bType);
    file.wSize = ReadNumber<std::uint16_t>(from, "size");
    file.bRecordSize = ReadNumber<std::uint8_t>(from, "record_size");
    file.bFlags = ReadNumber<std::uint8_t>(from, "flags");
    file.wBodySize = ReadNumber<std::uint16_t>(from, "body_size");
    const Bytes conditions = HexOf(from, "access", {file_access::COUNT});
    std::copy(conditions.begin(), conditions.end(), file.abAccess.begin());
    file.abSm = HexOf(from, "sm", {0, file_access::SM_COUNT});
    file.bActive = from.at("active").get<bool>();
    file.abBody = HexOf(from, "body", {});
    for (const json& record : from.at("records")) {
        file.records.push_back(FromHex(record.get<std::string>()));
    }
    for (const json& object : from.at("objects")) {
        file.objects.push_back(ObjectFrom(object));
    }
    for (const json& child : from.at("children")) {
        file.children.push_back(FileFrom(child, iDepth - 1));
    }
    CheckFile(file);
    return file;
}

void Count(const SFile& df, json& counters)
{
    for (const SSecurityObject& object : df.objects) {
        if (object.Kind() != EObjectKind::PIN && object.Kind() != EObjectKind::AUTH_KEY) {
            continue;
        }
        const std::string strName =
            counters.contains(object.strName)
                ? ToHex(Bytes{High(df.wFid), Low(df.wFid)}) + "/" + object.strName
                : object.strName;
        counters[strName] = {{"presented", object.cPresented},
                             {"new_values", object.cNewValues},
                             {"tries_left", object.bTriesLeft},
                             {"active", object.bActive}};
    }
    for (const SFile& child : df.children) {
        Count(child, counters);
    }
}

} // namespace

json ToJson(const SCardImage& image)
{
    return {{"format", FORMAT},
            {"profile", image.strProfile},
            {"life_cycle", static_cast<std::uint8_t>(image.lifeCycle)},
            {"mf", ToJson(image.mf)}};
}

SCardImage FromJson(const json& state, const SCardImage& fresh)
try {
    SCardImage image = fresh;
    Check(ReadNumber<unsigned>(state, "format") == FORMAT, "an unknown format");
    const auto strProfile = state.at("profile").get<std::string>();
    Check(strProfile == fresh.strProfile,
          "it is of profile \"" + strProfile + "\", not \"" + fresh.strProfile + "\"");
    image.lifeCycle = static_cast<ELifeCycle>(ReadNumber<std::uint8_t>(state, "life_cycle"));
    Check(image.lifeCycle == ELifeCycle::OPERATIONAL ||
              image.lifeCycle == ELifeCycle::ADMINISTRATION,
          "an unknown life cycle");
    image.mf = FileFrom(state.at("mf"), MAX_DEPTH);
    Check(image.mf.wFid == FID_MF && image.mf.IsDf(), "no master file");
    Check(image.mf.Footprint() <= CARD_MEMORY, "more than a card can hold");
    return image;
} catch (const json::exception& error) {
    throw std::invalid_argument(std::string("card state: ") + error.what());
}

json CountersOf(const SCardImage& image)
{
    json counters = {{"card", {{"administration", image.lifeCycle == ELifeCycle::ADMINISTRATION}}}};
    Count(image.mf, counters);
    return counters;
}

} // namespace vcard
