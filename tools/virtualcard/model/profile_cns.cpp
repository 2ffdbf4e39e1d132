// SPDX-License-Identifier: Apache-2.0
//
// The national services card: identity and CNS application, signature application, fast file
// system. Its files are open to administration until the signature PIN is locked.
#include "model/profile_layouts.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace vcard {

namespace {

using parts::EOpenTo;

constexpr std::uint8_t CNS_PIN = 0x10, CNS_PUK = 0x11, DS_PIN = 0x1A, DS_PUK = 0x1B,
                       DS_KAUTH = 0x1C;

// The issuer's key of every virtual card, for secure messaging and for administration alike. It
// is a test key: it protects nothing but these cards.
constexpr const char* ISSUER_KEY = "4A1F73C8259DE0B6 61D3085EF72A94CB 4A1F73C8259DE0B6";

std::list<SSecurityObject> ObjectsOfMf()
{
    return {parts::Pin({"cns-pin", CNS_PIN, "12345678", 3, CNS_PUK}),
            parts::Pin({"cns-puk", CNS_PUK, "87654321", 5, access::NEVER})};
}

std::list<SSecurityObject> ObjectsOfDs()
{
    const Bytes key = FromHex(ISSUER_KEY);
    return {parts::Pin({"ds-pin", DS_PIN, "13572468", 3, DS_PUK, access::ALWAYS, DS_PUK}),
            parts::Pin({"ds-puk", DS_PUK, "24681357", 5, access::NEVER}),
            parts::Des3Key("ds-kauth", 0x00, DS_KAUTH, key, 5),
            parts::Des3Key("ds-sm", object_class::SM, SM_KEY_ID, key, 0)};
}

SFile IdentityDf(const std::string& strSerial)
{
    const Bytes content = Ascii(strSerial + "PINDESK TEST CARD       20260101  ");
    return parts::Df(FID_IDENTITY_DF,
                     {parts::TransparentEf(FID_SERIAL, content, EOpenTo::READERS, 0x40)});
}

SFile CnsDf()
{
    SFile holder = parts::TransparentEf(0x1101, Ascii("ROSSI<<MARIA"), EOpenTo::READERS, 0x80);
    holder.abAccess[file_access::UPDATE] = CNS_PIN;
    SFile notes =
        parts::TransparentEf(0x1105, Ascii("for the holder only"), EOpenTo::READERS, 0x100);
    notes.abAccess[file_access::READ] = notes.abAccess[file_access::UPDATE] = CNS_PIN;

    return parts::Df(
        FID_CNS,
        {holder,
         parts::RecordEf(0x1102, EFileType::LINEAR_FIXED, 8, 8 * 8,
                         {Ascii("RECORD-1"), Ascii("RECORD-2"), Ascii("RECORD-3")}),
         parts::RecordEf(0x1103, EFileType::LINEAR_TLV, 0, 0x80,
                         {FromHex("C1 03 41 42 43"), FromHex("C2 02 44 45"), FromHex("C3 01 46")}),
         parts::RecordEf(0x1104, EFileType::CYCLIC, 4, 4 * 4, {Ascii("NEW1"), Ascii("OLD2")}),
         notes});
}

SFile DsDf()
{
    // The second file takes the data of a 2048-bit signature and gives its result.
    SFile ds = parts::Df(FID_DS, {parts::TransparentEf(0x8100, {}, EOpenTo::EVERYBODY, 0x40),
                                  parts::TransparentEf(0x811F, {}, EOpenTo::EVERYBODY, 0x100)});
    ds.objects = ObjectsOfDs();
    return ds;
}

bool IsBcd(const std::string& strSerial)
{
    return std::all_of(strSerial.begin(), strSerial.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

} // namespace

SFile GdoEf(const std::string& strSerial)
{
    // ICC serial number (5A), then card data (53) with the number as terminals look for it.
    Bytes content = FromHex("5A 08 89 39 00 00 00 00 00 01 53 0E 00 00 00 00 00 00");
    Append(content, IsBcd(strSerial) ? FromHex(strSerial) : Bytes(8));
    return parts::TransparentEf(FID_GDO, content, EOpenTo::READERS, 0x20);
}

void BuildCns(SCardImage& image, const std::string& strSerial)
{
    image.mf.objects = ObjectsOfMf();
    image.mf.children = {IdentityDf(strSerial), CnsDf(), DsDf(), GdoEf(strSerial),
                         parts::Df(FID_FAST_FS, {parts::TransparentEf(0x0000, FromHex("01"),
                                                                      EOpenTo::EVERYBODY, 0x400)})};
}

void BuildGdo(SCardImage& image, const std::string& strSerial)
{
    if (!IsBcd(strSerial)) {
        throw std::invalid_argument("this profile keeps its serial number as 16 BCD digits");
    }
    BuildCns(image, strSerial);
    image.mf.children.pop_front(); // the identity DF
}

void BuildCnsT0(SCardImage& image, const std::string& strSerial)
{
    BuildCns(image, strSerial);
    image.t0Answers = ET0Answers::UNCOUNTED;
}

void BuildCnsVerified(SCardImage& image, const std::string& strSerial)
{
    BuildCns(image, strSerial);
    image.bStaysVerified = true;
}

} // namespace vcard
