// SPDX-License-Identifier: Apache-2.0
//
// Selecting files, listing them, reading and writing transparent ones.
#include "model/commands.h"
#include "model/tlv.h"

#include <algorithm>

namespace vcard {

namespace {

namespace p1 { // of SELECT
constexpr std::uint8_t BY_FID = 0x00, CHILD_DF = 0x01, CHILD_EF = 0x02, PARENT = 0x03,
                       BY_NAME = 0x04, PATH_FROM_MF = 0x08, PATH_FROM_DF = 0x09;
}
namespace p2 {
constexpr std::uint8_t FCI = 0x00, FCP = 0x04, NO_DATA = 0x0C;
}

using Path = std::vector<SFile*>;

SFile& RequireChild(SFile& df, std::uint16_t wFid)
{
    SFile* pChild = df.Child(wFid);
    Require(pChild != nullptr, sw::FILE_NOT_FOUND);
    return *pChild;
}

std::vector<std::uint16_t> Fids(const Bytes& data)
{
    Require(!data.empty() && data.size() % 2 == 0, sw::WRONG_LENGTH);
    std::vector<std::uint16_t> fids;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        fids.push_back(Word(data[i], data[i + 1]));
    }
    return fids;
}

/// Follows the identifiers down from the path's last DF; only the last of them may be an EF.
Path Descend(Path path, std::span<const std::uint16_t> fids)
{
    for (const std::uint16_t wFid : fids) {
        Require(path.back()->IsDf(), sw::FILE_NOT_FOUND);
        Require(path.back()->bActive, sw::CONDITIONS);
        path.push_back(&RequireChild(*path.back(), wFid));
    }
    return path;
}

Path FromMf(const CSession& session, const Bytes& data)
{
    const std::vector<std::uint16_t> fids = Fids(data);
    return Descend({&session.Mf()}, std::span(fids).subspan(fids.front() == FID_MF ? 1 : 0));
}

/// A path from the current DF. The DF's own identifier means the DF itself, so that a terminal
/// that has just entered it may name it once more.
Path FromDf(const CSession& session, const Bytes& data)
{
    const std::vector<std::uint16_t> fids = Fids(data);
    const bool bItself = fids.size() == 1 && fids.front() == session.Df().wFid &&
                         session.Df().Child(fids.front()) == nullptr;
    return bItself ? session.Path() : Descend(session.Path(), fids);
}

/// By identifier alone: the MF, else a child of the current DF, else the DF, else a sibling.
Path ByFid(const CSession& session, const Bytes& data)
{
    Require(data.empty() || data.size() == 2, sw::WRONG_LENGTH);
    if (data.empty() || Fids(data).front() == FID_MF) {
        return {&session.Mf()};
    }
    const std::uint16_t wFid = Fids(data).front();
    Path path = session.Path();
    if (path.back()->Child(wFid) == nullptr && path.size() > 1) {
        if (path.back()->wFid == wFid) {
            return path;
        }
        path.pop_back();
    }
    return Descend(path, std::span(&wFid, 1));
}

Path ChildOfType(const CSession& session, const Bytes& data, bool bDf)
{
    Require(data.size() == 2, sw::WRONG_LENGTH);
    Path path = Descend(session.Path(), Fids(data));
    Require(path.back()->IsDf() == bDf, sw::FILE_NOT_FOUND);
    return path;
}

Path Parent(const CSession& session, const Bytes& data)
{
    Require(data.empty(), sw::WRONG_LENGTH);
    Path path = session.Path();
    Require(path.size() > 1, sw::FILE_NOT_FOUND);
    path.pop_back();
    return path;
}

Path Resolve(const CSession& session, const SCommand& command)
{
    switch (command.bP1) {
    case p1::BY_FID:
        return ByFid(session, command.abData);
    case p1::CHILD_DF:
    case p1::CHILD_EF:
        return ChildOfType(session, command.abData, command.bP1 == p1::CHILD_DF);
    case p1::PARENT:
        return Parent(session, command.abData);
    case p1::BY_NAME: // no DF of this card has a name
        throw SRefusal(sw::FILE_NOT_FOUND);
    case p1::PATH_FROM_MF:
        return FromMf(session, command.abData);
    case p1::PATH_FROM_DF:
        return FromDf(session, command.abData);
    default:
        throw SRefusal(sw::WRONG_P1P2);
    }
}

/// The current EF, which must be transparent and allow the access at this position.
SFile& TransparentEf(const CSession& session, std::size_t accessPosition)
{
    SFile& ef = session.Ef();
    Require(ef.IsTransparent(), sw::INCOMPATIBLE_FILE);
    RequireAccess(session, ef.abAccess[accessPosition]);
    return ef;
}

} // namespace

SAnswer Select(SMachine& card, const SCommand& command)
{
    const bool bWithFci = command.bP2 == p2::FCI || command.bP2 == p2::FCP;
    Require(bWithFci || command.bP2 == p2::NO_DATA, sw::WRONG_P1P2);
    Path path = Resolve(card.session, command);
    SFile& file = *path.back();
    if (!file.IsDf()) {
        path.pop_back();
    }

    card.session.SelectDf(std::move(path));
    if (!file.IsDf()) {
        card.session.SelectEf(file);
    }
    if (!bWithFci) {
        return {};
    }
    return {Describe(file), file.bActive ? sw::SUCCESS : sw::FILE_DEACTIVATED};
}

SAnswer ReadBinary(SMachine& card, const SCommand& command)
{
    const SFile& ef = TransparentEf(card.session, file_access::READ);
    Require(command.abData.empty() && command.bHasLe, sw::WRONG_LENGTH);
    const std::size_t offset = command.P1P2();
    Require(offset < ef.abBody.size(), sw::WRONG_OFFSET);

    const ByteView rest = ByteView(ef.abBody).subspan(offset);
    const bool bShort = command.bExactLe && rest.size() < command.cbLe;
    return {Copy(rest.first(std::min(rest.size(), command.cbLe))),
            bShort ? sw::END_OF_FILE : sw::SUCCESS};
}

SAnswer UpdateBinary(SMachine& card, const SCommand& command)
{
    SFile& ef = TransparentEf(card.session, file_access::UPDATE);
    const Bytes& data = command.abData;
    Require(!data.empty(), sw::WRONG_LENGTH);
    const std::size_t offset = command.P1P2();
    Require(offset < ef.abBody.size(), sw::WRONG_OFFSET);
    Require(data.size() <= ef.abBody.size() - offset, sw::WRONG_LENGTH);

    std::copy(data.begin(), data.end(), ef.abBody.begin() + static_cast<std::ptrdiff_t>(offset));
    return {};
}

SAnswer ListFiles(SMachine& card, const SCommand& command)
{
    constexpr std::uint8_t DFS = 0, ALL = 2; // 1: EFs
    constexpr std::size_t PAGE = 16;         // entries an answer; its last one tells where to go on
    Require(command.bP1 <= ALL, sw::WRONG_P1P2);
    std::vector<const SFile*> wanted;
    for (const SFile& file : card.session.Df().children) {
        if (command.bP1 == ALL || file.IsDf() == (command.bP1 == DFS)) {
            wanted.push_back(&file);
        }
    }

    const std::size_t first = command.bP2;
    Require(first == 0 || first < wanted.size(), sw::RECORD_NOT_FOUND);
    const std::size_t end = std::min(wanted.size(), first + PAGE);
    Bytes listing;
    for (std::size_t i = first; i < end; ++i) {
        Bytes entry;
        AppendObject(entry, tag::DESCRIPTOR, Bytes{static_cast<std::uint8_t>(wanted[i]->type)});
        AppendObject(entry, tag::ACCESS, Bytes{High(wanted[i]->wFid), Low(wanted[i]->wFid)});
        if (i + 1 == end && end < wanted.size() && end <= 0xFF) {
            AppendObject(entry, tag::NEXT, Bytes{Low(end)});
        }
        AppendObject(listing, tag::TEMPLATE, entry);
    }
    return listing;
}

} // namespace vcard
