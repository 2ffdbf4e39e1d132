// SPDX-License-Identifier: Apache-2.0
//
// File descriptors, in both directions.
#include "model/file.h"

#include "model/iso7816.h"
#include "model/tlv.h"

#include <algorithm>
#include <numeric>

namespace vcard {

namespace {

constexpr std::size_t HEADER_FOOTPRINT = 32; // of a file or an object beside its content

/// The six descriptor bytes: a DF shows its body size in bytes 2 and 3, a record file its record
/// length in byte 3, and the number of its records in byte 5.
Bytes DescriptorBytes(const SFile& file)
{
    const std::uint16_t wMiddle = file.IsDf() ? file.wBodySize : file.bRecordSize;
    return {static_cast<std::uint8_t>(file.type),
            0,
            High(wMiddle),
            Low(wMiddle),
            0,
            Low(file.records.size())};
}

} // namespace

bool IsFileType(std::uint8_t b)
{
    constexpr EFileType KNOWN[] = {EFileType::TRANSPARENT, EFileType::LINEAR_FIXED,
                                   EFileType::LINEAR_TLV, EFileType::CYCLIC, EFileType::DF};
    return std::any_of(std::begin(KNOWN), std::end(KNOWN),
                       [b](EFileType type) { return static_cast<std::uint8_t>(type) == b; });
}

bool HasFixedRecords(EFileType type)
{
    return type == EFileType::LINEAR_FIXED || type == EFileType::CYCLIC;
}

SFile* SFile::Child(std::uint16_t wChildFid)
{
    const auto it = std::find_if(children.begin(), children.end(),
                                 [=](const SFile& file) { return file.wFid == wChildFid; });
    return it == children.end() ? nullptr : &*it;
}

std::size_t SFile::Footprint() const
{
    const std::size_t cbObjects = std::accumulate(
        objects.begin(), objects.end(), std::size_t{0}, [](std::size_t cb, const auto& object) {
            return cb + HEADER_FOOTPRINT + object.abValue.size();
        });
    return std::accumulate(
        children.begin(), children.end(), HEADER_FOOTPRINT + (IsDf() ? 0U : wSize) + cbObjects,
        [](std::size_t cb, const SFile& child) { return cb + child.Footprint(); });
}

Bytes Describe(const SFile& file)
{
    Bytes body;
    const Bytes size = {High(file.wSize), Low(file.wSize)};
    AppendObject(body, tag::SIZE_WITH_HEADERS, size);
    AppendObject(body, tag::SIZE, size);
    AppendObject(body, tag::DESCRIPTOR, DescriptorBytes(file));
    AppendObject(body, tag::IDENTIFIER, Bytes{High(file.wFid), Low(file.wFid)});
    AppendObject(body, tag::PARAMETERS,
                 Bytes{file.bFlags, High(file.wBodySize), Low(file.wBodySize)});
    AppendObject(body, tag::ACCESS, file.abAccess);
    if (!file.abSm.empty()) {
        AppendObject(body, tag::SM_CONDITIONS, file.abSm);
    }

    Bytes fci;
    AppendObject(fci, tag::TEMPLATE, body);
    return fci;
}

SFile FileFromDescriptor(ByteView body)
{
    const CDataObjects objects(body, sw::WRONG_DATA);
    const ByteView size = objects.Value(tag::SIZE, 2),
                   descriptor = objects.Value(tag::DESCRIPTOR, 3),
                   fid = objects.Value(tag::IDENTIFIER, 2),
                   parameters = objects.Value(tag::PARAMETERS, 3);
    Require(IsFileType(descriptor[0]), sw::WRONG_DATA);

    SFile file;
    file.wFid = Word(fid[0], fid[1]);
    file.type = static_cast<EFileType>(descriptor[0]);
    file.bRecordSize = descriptor[2];
    file.wSize = Word(size[0], size[1]);
    file.bFlags = parameters[0];
    file.wBodySize = Word(parameters[1], parameters[2]);
    Require(file.wFid != FID_MF && (file.bRecordSize != 0 || !HasFixedRecords(file.type)),
            sw::WRONG_DATA);
    if (file.IsTransparent()) {
        file.abBody.resize(file.wSize);
    }
    RewriteConditions(file, body);
    return file;
}

void RewriteConditions(SFile& file, ByteView body)
{
    const CDataObjects objects(body, sw::WRONG_DATA);
    // The card wants filler bytes after the nine; how many depends on its edition.
    const ByteView conditions = objects.Value(tag::ACCESS, file_access::COUNT);
    const SDataObject* pSm = objects.Find(tag::SM_CONDITIONS);
    Require(pSm == nullptr || pSm->value.size() == file_access::SM_COUNT, sw::WRONG_DATA);

    std::copy_n(conditions.begin(), file_access::COUNT, file.abAccess.begin());
    if (pSm != nullptr) {
        file.abSm = Copy(pSm->value);
    }
}

} // namespace vcard
