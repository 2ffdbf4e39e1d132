// SPDX-License-Identifier: Apache-2.0
//
// Cards of other families, and the smallest cards that recognition tells apart.
#include "model/profile_layouts.h"

namespace vcard {

namespace {

using parts::EOpenTo;

constexpr std::uint16_t FID_PIN_DF = 0x1111, FID_SECOND_PIN_DF = 0xDF01;

SFile PinDf(std::uint16_t wFid, const parts::SPin& pin, const parts::SPin& puk)
{
    SFile df = parts::Df(wFid);
    df.objects = {parts::Pin(pin), parts::Pin(puk)};
    return df;
}

/// A card with these files and the EF with the serial number behind them.
void SetFiles(SCardImage& image, const std::string& strSerial, std::list<SFile> files)
{
    image.mf.children = std::move(files);
    image.mf.children.push_back(GdoEf(strSerial));
}

} // namespace

void BuildSetec(SCardImage& image, const std::string& strSerial)
{
    image.bCardClassChange = true;
    image.mf.objects = {parts::Pin({"pin", 0x01, "12345678", 3, 0x02}),
                        parts::Pin({"puk", 0x02, "87654321", 5, access::NEVER})};
    SetFiles(image, strSerial, {});
}

void BuildStarcos(SCardImage& image, const std::string& strSerial)
{
    image.bCardClassChange = true;
    SetFiles(image, strSerial,
             {PinDf(FID_PIN_DF, {"pin-1", 0x16, "12345678", 3, 0x17},
                    {"puk-1", 0x17, "24681357", 5, access::NEVER}),
              PinDf(FID_SECOND_PIN_DF, {"pin-2", 0x1A, "13572468", 3, 0x1B},
                    {"puk-2", 0x1B, "24681357", 5, access::NEVER})});
}

void BuildM4In1111(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial,
             {PinDf(FID_PIN_DF, {"pin", 0x01, "12345678", 3, 0x02},
                    {"puk", 0x02, "87654321", 5, access::NEVER})});
}

void BuildLayout0(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {});
}

void BuildLayout1(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {parts::Df(FID_CNS)});
}

void BuildLayout2(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {parts::Df(FID_CNS), parts::Df(FID_DS)});
}

void BuildLayout3(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {parts::Df(FID_DS_ALTERNATIVE)});
}

void BuildLayout4(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial,
             {parts::Df(FID_FAST_FS, {parts::TransparentEf(0x0000, FromHex("01 02"),
                                                           EOpenTo::eReaders, 0x20)})});
}

void BuildLayout5(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {parts::Df(FID_PIN_DF)});
}

void BuildLayout32(SCardImage& image, const std::string& strSerial)
{
    BuildLayout2(image, strSerial);
    image.mf.children.push_back(
        parts::Df(0x1112, {parts::TransparentEf(0xEF01, {}, EOpenTo::eReaders, 0x20)}));
}

} // namespace vcard
