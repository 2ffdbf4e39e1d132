// SPDX-License-Identifier: Apache-2.0
//
// The profiles in one table, what options change on any of them, and the answer to reset.
#include "model/profile.h"

#include "model/atr.h"
#include "model/profile_layouts.h"
#include "model/values.h"

#include <algorithm>
#include <stdexcept>

namespace vcard {

namespace {

struct SProfile {
    const char* szName;
    void (*pBuild)(SCardImage& image, const std::string& strSerial);
};

constexpr SProfile PROFILES[] = {
    {"cns", BuildCns},          {"gdo", BuildGdo},          {"setec", BuildSetec},
    {"starcos", BuildStarcos},  {"m4-1111", BuildM4In1111}, {"layout-0", BuildLayout0},
    {"layout-1", BuildLayout1}, {"layout-2", BuildLayout2}, {"layout-3", BuildLayout3},
    {"layout-4", BuildLayout4}, {"layout-5", BuildLayout5}, {"layout-32", BuildLayout32},
    {"cns-t0", BuildCnsT0},     {"setec-t0", BuildSetecT0}, {"cns-verified", BuildCnsVerified},
};

constexpr const char* OWN_SERIAL = "6200000000000001";
constexpr std::size_t SERIAL = 16;

const SProfile& FindProfile(const std::string& strName)
{
    const auto it =
        std::find_if(std::begin(PROFILES), std::end(PROFILES),
                     [&](const SProfile& profile) { return profile.szName == strName; });
    if (it == std::end(PROFILES)) {
        throw std::invalid_argument("unknown profile \"" + strName + "\"");
    }
    return *it;
}

std::string CheckedSerial(const std::string& strSerial)
{
    if (strSerial.empty()) {
        return OWN_SERIAL;
    }
    const auto bPrintable = [](char c) { return c >= 0x20 && c <= 0x7E; };
    if (strSerial.size() != SERIAL ||
        !std::all_of(strSerial.begin(), strSerial.end(), bPrintable)) {
        throw std::invalid_argument("a serial number has 16 printable characters");
    }
    return strSerial;
}

void ApplyToObjects(SFile& df, const SCardImage& image, bool bRequireSm)
{
    const bool bProtect = bRequireSm && df.wFid == FID_DS;
    for (SSecurityObject& object : df.objects) {
        if (object.Kind() != EObjectKind::PIN) {
            continue;
        }
        object.abValue = StoredPin(image, object.abValue);
        if (bProtect) {
            std::fill_n(object.abSm.begin(), object_sm::UNBLOCK + 2, SM_KEY_ID);
        }
    }
    for (SFile& child : df.children) {
        ApplyToObjects(child, image, bRequireSm);
    }
}

} // namespace

std::vector<std::string> ProfileNames()
{
    std::vector<std::string> names;
    for (const SProfile& profile : PROFILES) {
        names.emplace_back(profile.szName);
    }
    return names;
}

SCardImage MakeImage(const SCardOptions& options)
{
    if (!options.abAtr.empty()) {
        CheckAtr(options.abAtr);
    }
    SCardImage image;
    image.strProfile = options.strProfile;
    image.mf = parts::Df(FID_MF);
    FindProfile(options.strProfile).pBuild(image, CheckedSerial(options.strSerial));
    ApplyOptions(image, options);
    return image;
}

void ApplyOptions(SCardImage& image, const SCardOptions& options)
{
    image.bUnpadded = options.bUnpadded;
    ApplyToObjects(image.mf, image, options.bRequireSm);
}

Bytes AtrOf(const SCardImage& image, const SCardOptions& options)
{
    if (!options.abAtr.empty()) {
        return options.abAtr;
    }
    // Historical bytes in compact TLV (ISO/IEC 7816-4): issuer's data, then the profile's number.
    const auto number = &FindProfile(options.strProfile) - std::begin(PROFILES);
    Bytes historical = {0x80, 0x57};
    Append(historical, Ascii("PINDESK"));
    Append(historical, Bytes{0x61, static_cast<std::uint8_t>(number)});
    return MakeAtr(historical, options.bT1 && image.t0Answers == ET0Answers::WHOLE);
}

} // namespace vcard
