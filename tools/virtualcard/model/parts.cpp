// SPDX-License-Identifier: Apache-2.0
//
// Files and security objects as profiles order them.
#include "model/parts.h"

#include <algorithm>

namespace vcard::parts {

namespace {

constexpr std::uint8_t SHORTEST_PIN = 5;

void SetAccess(SFile& file, EOpenTo openTo)
{
    file.abAccess.fill(openTo == EOpenTo::EVERYBODY ? access::ALWAYS : access::NEVER);
    file.abAccess[file_access::READ] = access::ALWAYS;
}

/// An object that nobody may do anything with yet.
SSecurityObject Object(const char* szName, std::uint8_t bId, std::uint8_t bAlgorithm,
                       std::uint8_t bTries)
{
    SSecurityObject object;
    object.strName = szName;
    object.bId = bId;
    object.abParameters[parameter::ALGORITHM] = bAlgorithm;
    object.abParameters[parameter::ERROR_COUNTER] = bTries;
    object.abAccess.assign(object_access::MINIMUM, access::NEVER);
    object.abAccess[object_access::USE] = access::ALWAYS;
    object.abSm.assign(object_sm::COUNT, object_sm::NOT_NEEDED);
    object.bTriesLeft = bTries;
    return object;
}

} // namespace

SFile Df(std::uint16_t wFid, std::list<SFile> children)
{
    SFile df;
    df.wFid = wFid;
    df.type = EFileType::DF;
    df.wBodySize = 0x0400;
    SetAccess(df, EOpenTo::EVERYBODY);
    df.children = std::move(children);
    return df;
}

SFile TransparentEf(std::uint16_t wFid, Bytes content, EOpenTo openTo, std::size_t cbSize)
{
    SFile ef;
    ef.wFid = wFid;
    ef.abBody = std::move(content);
    ef.abBody.resize(std::max(ef.abBody.size(), cbSize));
    ef.wSize = static_cast<std::uint16_t>(ef.abBody.size());
    SetAccess(ef, openTo);
    return ef;
}

SFile RecordEf(std::uint16_t wFid, EFileType type, std::uint8_t bRecordSize, std::uint16_t wSize,
               std::vector<Bytes> records)
{
    SFile ef;
    ef.wFid = wFid;
    ef.type = type;
    ef.bRecordSize = bRecordSize;
    ef.wSize = wSize;
    ef.records = std::move(records);
    SetAccess(ef, EOpenTo::EVERYBODY);
    return ef;
}

SSecurityObject Pin(const SPin& pin)
{
    SSecurityObject object = Object(pin.szName, pin.bId, parameter::ALGORITHM_PIN, pin.bTries);
    object.abParameters[parameter::MINIMUM_LENGTH] = SHORTEST_PIN;
    object.abAccess[object_access::CHANGE] = pin.bId;
    object.abAccess[object_access::UNBLOCK] = pin.bUnblock;
    object.abAccess[object_access::DEACTIVATE] = pin.bDeactivate;
    object.abAccess[object_access::ACTIVATE] = pin.bActivate;
    object.abValue = Ascii(pin.szValue); // ApplyOptions gives it the card's form
    return object;
}

SSecurityObject Des3Key(const char* szName, std::uint8_t bClass, std::uint8_t bId, const Bytes& key,
                        std::uint8_t bTries)
{
    SSecurityObject object = Object(szName, bId, parameter::ALGORITHM_DES3, bTries);
    object.bClass = bClass;
    object.abAccess[object_access::CHANGE] = bId;
    object.abValue = key;
    return object;
}

SSecurityObject RsaKey(const char* szName, std::uint8_t bId, const Bytes& keyBlock)
{
    SSecurityObject object = Object(szName, bId, 0x00, 0);
    object.bClass = object_class::RSA;
    object.abValue = keyBlock;
    return object;
}

} // namespace vcard::parts
