// SPDX-License-Identifier: Apache-2.0
//
// Cards of other families, and the smallest cards that recognition tells apart.
#include "model/profile_layouts.h"

namespace vcard {

namespace {

using parts::EOpenTo;

constexpr std::uint16_t FID_PIN_DF = 0x1111, FID_SECOND_PIN_DF = 0xDF01;

// A 1024-bit test key, the same on every such card: p, q, q^-1, d mod p-1, d mod q-1, exponent.
constexpr const char* TEST_RSA_KEY =
    "ED10FED824FAA30E1429024CFFEA3FE2ACFDFF7461262FC403F78A999CD2D0AE22A687273732557A"
    "4D9B28539EB0E4E95DC62F96229DEA5C898E5F206809C577DE8A65EB39F4D3B6A5BBD4C9FB87D556"
    "5B0BB12FCF4024CB3E1EAE5475F385ADCE6A6F49A58DF6EFD8267A25055DE0C43B61F62DFCB9B9E4"
    "8B6FC5F08544B3ED8287F23319278725E9EB47F82520C6D2CB15E8E695E74DDCC1F127B7CB0ADDD9"
    "5F906A673964B53886B7301BE17FA02C895ADA981B9753014B5362F061341809A026E5233C081E73"
    "7A6721E8C6D2878A28F806C5A683D7AD02490ED72BBCB7C18C2318170410FAF1FECF9CF4B0B62C4F"
    "034CCA051129C193F651BA2DF85AF18D928D83F6F7D0E287DAF72A77E5BC9B62E64C79E06954EDA6"
    "26FF9F80A1B8C0A52855717A879B492EC422FAB75CA4693BF17B5EDB041EEF6BB1E3E6EFB1640035"
    "0000000000010001";

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
    image.bOtherFamily = true;
    image.mf.objects = {parts::Pin({"pin", 0x01, "12345678", 3, 0x02}),
                        parts::Pin({"puk", 0x02, "87654321", 5, access::NEVER}),
                        parts::RsaKey("sign", 0x03, FromHex(TEST_RSA_KEY))};
    SetFiles(image, strSerial, {});
}

void BuildSetecT0(SCardImage& image, const std::string& strSerial)
{
    BuildSetec(image, strSerial);
    image.t0Answers = ET0Answers::COUNTED;
}

void BuildStarcos(SCardImage& image, const std::string& strSerial)
{
    image.bOtherFamily = true;
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
             {parts::Df(FID_FAST_FS,
                        {parts::TransparentEf(0x0000, FromHex("01 02"), EOpenTo::READERS, 0x20)})});
}

void BuildLayout5(SCardImage& image, const std::string& strSerial)
{
    SetFiles(image, strSerial, {parts::Df(FID_PIN_DF)});
}

void BuildLayout32(SCardImage& image, const std::string& strSerial)
{
    BuildLayout2(image, strSerial);
    image.mf.children.push_back(
        parts::Df(0x1112, {parts::TransparentEf(0xEF01, {}, EOpenTo::READERS, 0x20)}));
}

} // namespace vcard
