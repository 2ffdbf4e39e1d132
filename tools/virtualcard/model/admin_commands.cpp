// SPDX-License-Identifier: Apache-2.0
//
// Administration: card data, descriptors, security objects, life cycles, new and deleted files.
#include "model/commands.h"
#include "model/tlv.h"
#include "model/values.h"

#include <algorithm>

namespace vcard {

namespace {

namespace data_tag { // P1 P2 of GET DATA and PUT DATA
constexpr std::uint16_t VERSION = 0x0182, LIFE_CYCLE = 0x0183, BODY_MEMORY = 0x0185,
                        LARGEST_BLOCK = 0x018A, OBJECT = 0x016E, FILE_CONDITIONS = 0x016F;
}

constexpr std::uint8_t CARD_VERSION[] = {0x34, 0x01};

void RequireIssuerAccess(const CSession& session, std::uint8_t bAccess)
{
    Require(session.AllowsIssuer(bAccess), sw::NOT_ALLOWED);
}

Bytes WordBytes(std::size_t w)
{
    return {High(w), Low(w)};
}

/// The object of the current DF with this number and of this sort (key bits of the class), or null.
SSecurityObject* ExistingObject(SFile& df, std::uint8_t bClass, std::uint8_t bId)
{
    constexpr std::uint8_t SORT = object_class::RSA | object_class::SM;
    const auto it = std::find_if(df.objects.begin(), df.objects.end(), [&](const auto& object) {
        return object.bId == bId && (object.bClass & SORT) == (bClass & SORT);
    });
    return it == df.objects.end() ? nullptr : &*it;
}

/// Takes the conditions over from the objects 86 (eight to ten bytes) and, if it is there, 8B.
void TakeConditions(SSecurityObject& object, const CDataObjects& body)
{
    const ByteView conditions = body.Value(tag::ACCESS, object_access::MINIMUM);
    const SDataObject* pSm = body.Find(tag::SM_CONDITIONS);
    Require(conditions.size() <= 10, sw::WRONG_DATA);
    Require(pSm == nullptr || pSm->value.size() == object_sm::COUNT, sw::WRONG_DATA);

    object.abAccess = Copy(conditions);
    if (pSm != nullptr) {
        object.abSm = Copy(pSm->value);
    }
}

SSecurityObject ObjectFromBody(const SCardImage& image, const CDataObjects& body)
{
    const ByteView id = body.Value(tag::IDENTIFIER, 2),
                   parameters = body.Value(tag::PARAMETERS, parameter::COUNT),
                   value = body.Value(tag::VALUE, 0);
    SSecurityObject object;
    object.bClass = id[0];
    object.bId = id[1] & REFERENCE_MASK;
    object.strName = "object-" + ToHex(id.subspan(1, 1));
    std::copy_n(parameters.begin(), parameter::COUNT, object.abParameters.begin());
    object.abSm.assign(object_sm::COUNT, object_sm::NOT_NEEDED);
    TakeConditions(object, body);
    object.bTriesLeft = object.MaxTries();

    const bool bCounted =
        object.Kind() == EObjectKind::PIN || object.Kind() == EObjectKind::AUTH_KEY;
    Require(object.bId != 0 && (!bCounted || object.MaxTries() > 0), sw::WRONG_DATA);
    if (!value.empty()) {
        SetValue(image, object, value);
    }
    return object;
}

void PutObject(SMachine& card, const Bytes& data)
{
    const CDataObjects body(data, sw::WRONG_DATA);
    const ByteView id = body.Value(tag::IDENTIFIER, 2);
    SFile& df = card.session.Df();
    if (SSecurityObject* pObject = ExistingObject(df, id[0], id[1] & REFERENCE_MASK)) {
        Require(body.Find(tag::VALUE) == nullptr, sw::FILE_EXISTS);
        RequireIssuerAccess(card.session, pObject->abAccess[object_access::ACTIVATE]);
        TakeConditions(*pObject, body);
        return;
    }

    RequireIssuerAccess(card.session, df.abAccess[file_access::APPEND]);
    SSecurityObject object = ObjectFromBody(card.image, body);
    Require(FreeMemory(card.image) > data.size(), sw::NO_MEMORY);
    df.objects.push_back(std::move(object));
    card.session.SetCreated(df.objects.back());
}

/// The file an activation names: the current one, or a child of the current DF by identifier.
SFile& NamedFile(const CSession& session, const SCommand& command)
{
    constexpr std::uint8_t DF = 0x01, EF = 0x02, BY_FID = 0x0C;
    if (command.P1P2() == 0) {
        return session.CurrentFile();
    }
    Require((command.bP1 == DF || command.bP1 == EF) && command.bP2 == BY_FID, sw::WRONG_P1P2);
    Require(command.abData.size() == 2, sw::WRONG_LENGTH);
    SFile* pFile = session.Df().Child(Word(command.abData[0], command.abData[1]));
    Require(pFile != nullptr && pFile->IsDf() == (command.bP1 == DF), sw::FILE_NOT_FOUND);
    return *pFile;
}

SAnswer SetActive(SMachine& card, const SCommand& command, bool bActive)
{
    if (command.P1P2() == 0 && !command.abData.empty()) {
        Require(command.abData.size() == 2, sw::WRONG_LENGTH);
        SSecurityObject& object = card.session.Object(command.abData[1] | REFERENCE_LOCAL,
                                                      {EObjectKind::PIN, EObjectKind::AUTH_KEY});
        RequireIssuerAccess(
            card.session,
            object.abAccess[bActive ? object_access::ACTIVATE : object_access::DEACTIVATE]);
        object.bActive = bActive;
        card.session.ClearVerified(object);
        return {};
    }
    SFile& file = NamedFile(card.session, command);
    RequireIssuerAccess(card.session,
                        file.abAccess[bActive ? file_access::ACTIVATE : file_access::DEACTIVATE]);
    file.bActive = bActive;
    return {};
}

} // namespace

SAnswer GetData(SMachine& card, const SCommand& command)
{
    Require(command.abData.empty() && command.bHasLe, sw::WRONG_LENGTH);
    switch (command.P1P2()) {
    case data_tag::VERSION:
        return Copy(CARD_VERSION);
    case data_tag::LIFE_CYCLE:
        return Bytes{static_cast<std::uint8_t>(card.image.lifeCycle)};
    case data_tag::BODY_MEMORY:
    case data_tag::LARGEST_BLOCK: // one pool of memory: the free part is one block
        return WordBytes(FreeMemory(card.image));
    default:
        throw SRefusal(sw::OBJECT_NOT_FOUND);
    }
}

SAnswer PutData(SMachine& card, const SCommand& command)
{
    if (command.P1P2() == data_tag::OBJECT) {
        PutObject(card, command.abData);
        return {};
    }
    Require(command.P1P2() == data_tag::FILE_CONDITIONS, sw::OBJECT_NOT_FOUND);
    SFile& file = card.session.CurrentFile();
    RequireIssuerAccess(card.session, file.abAccess[file_access::ADMIN]);
    RewriteConditions(file, command.abData);
    return {};
}

SAnswer ToggleLifeCycle(SMachine& card, const SCommand& command)
{
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    RequireIssuerAccess(card.session, card.session.Mf().abAccess[file_access::LIFE_CYCLE]);
    card.image.lifeCycle = card.image.lifeCycle == ELifeCycle::OPERATIONAL
                               ? ELifeCycle::ADMINISTRATION
                               : ELifeCycle::OPERATIONAL;
    return {};
}

SAnswer CreateFile(SMachine& card, const SCommand& command)
{
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    SFile& df = card.session.Df();
    RequireIssuerAccess(card.session, df.abAccess[file_access::CREATE]);
    const CDataObjects outer(command.abData, sw::WRONG_DATA);
    SFile file = FileFromDescriptor(outer.Value(tag::TEMPLATE, 1));
    Require(df.Child(file.wFid) == nullptr, sw::FILE_EXISTS);
    Require(FreeMemory(card.image) >= file.Footprint(), sw::NO_MEMORY);

    SFile& created = df.children.emplace_back(std::move(file));
    if (!created.IsDf()) {
        card.session.SelectEf(created);
        return {};
    }
    std::vector<SFile*> path = card.session.Path();
    path.push_back(&created);
    card.session.SelectDf(std::move(path));
    return {};
}

SAnswer DeleteFile(SMachine& card, const SCommand& command)
{
    Require(command.P1P2() == 0, sw::WRONG_P1P2);
    Require(command.abData.size() == 2, sw::WRONG_LENGTH);
    SFile& df = card.session.Df();
    SFile* pFile = df.Child(Word(command.abData[0], command.abData[1]));
    Require(pFile != nullptr, sw::FILE_NOT_FOUND);
    RequireIssuerAccess(card.session, pFile->abAccess[file_access::REMOVE]);

    if (&card.session.CurrentFile() == pFile) {
        card.session.DeselectEf();
    }
    df.children.remove_if([pFile](const SFile& file) { return &file == pFile; });
    return {};
}

SAnswer Activate(SMachine& card, const SCommand& command)
{
    return SetActive(card, command, true);
}

SAnswer Deactivate(SMachine& card, const SCommand& command)
{
    return SetActive(card, command, false);
}

} // namespace vcard
