// SPDX-License-Identifier: Apache-2.0
//
// One builder for each profile: it fills an empty card whose MF exists. strSerial has sixteen
// characters; layouts without a place for it ignore it.
#ifndef TOOLS_VIRTUALCARD_MODEL_PROFILE_LAYOUTS_H
#define TOOLS_VIRTUALCARD_MODEL_PROFILE_LAYOUTS_H

#include "model/machine.h"
#include "model/parts.h"

namespace vcard {

constexpr std::uint16_t FID_IDENTITY_DF = 0x1000, FID_SERIAL = 0x1003, FID_CNS = 0x1100,
                        FID_DS = 0x1400, FID_DS_ALTERNATIVE = 0x8110, FID_GDO = 0x2F02,
                        FID_FAST_FS = 0x2FFF;

/// The secure-messaging key of the signature DF.
constexpr std::uint8_t SM_KEY_ID = 0x1D;

// profile_cns.cpp
void BuildCns(SCardImage& image, const std::string& strSerial);
void BuildGdo(SCardImage& image, const std::string& strSerial);
void BuildCnsT0(SCardImage& image, const std::string& strSerial);
void BuildCnsVerified(SCardImage& image, const std::string& strSerial);
/// The EF with the serial number as eight BCD bytes at offset 18; zeros for one that isn't digits.
SFile GdoEf(const std::string& strSerial);

// profile_others.cpp
void BuildSetec(SCardImage& image, const std::string& strSerial);
void BuildSetecT0(SCardImage& image, const std::string& strSerial);
void BuildStarcos(SCardImage& image, const std::string& strSerial);
void BuildM4In1111(SCardImage& image, const std::string& strSerial);

// What card recognition tells apart, as little as each needs.
void BuildLayout0(SCardImage& image, const std::string& strSerial);
void BuildLayout1(SCardImage& image, const std::string& strSerial);
void BuildLayout2(SCardImage& image, const std::string& strSerial);
void BuildLayout3(SCardImage& image, const std::string& strSerial);
void BuildLayout4(SCardImage& image, const std::string& strSerial);
void BuildLayout5(SCardImage& image, const std::string& strSerial);
void BuildLayout32(SCardImage& image, const std::string& strSerial);

} // namespace vcard

#endif
