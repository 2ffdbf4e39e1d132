// SPDX-License-Identifier: Apache-2.0

#include "pindesk/families.h"

#include "cardlib/sessions/apdu.h"

#include <algorithm>

namespace pindesk {

namespace {

constexpr WORD FID_0000 = 0x0000;
constexpr SFamilyPin STARCOS_PINS[] = {{.fidDf = 0x1111, .bReference = 0x96},
                                       {.fidDf = 0xDF01, .bReference = 0x9A}};
constexpr SFamilyPin M4_PINS[] = {{.fidDf = 0x1111, .bReference = 0x81}};

long Send(CSCard& card, CCommandApdu& command)
{
    CResponseApdu response;
    const long lExchange =
        card.Transmit(command.data(), command.size(), response.data(), response.Length());
    return response.Result(lExchange);
}

} // namespace

const SFamily STARCOS = {
    .pins = STARCOS_PINS,
    .bCla = cla::PROPRIETARY,
    .bIns = ins::CHANGE_REFERENCE_DATA,
    .bP1 = 0x30,
    .bFile0000 = false,
    .filler = {'2', '4', '6', '8', '1', '3', '5', '7', '4', '0', '2', '7', '1', '9', '3', '5'}};
const SFamily M4_1111 = {.pins = M4_PINS,
                         .bCla = cla::ISO,
                         .bIns = ins::RESET_RETRY_COUNTER,
                         .bP1 = 0x00,
                         .bFile0000 = true,
                         .filler = {}};

long GoToPin(CSelector& files, const SFamily& family, const SFamilyPin& pin)
{
    if (!files.SelectMf()) {
        return result::SELECT_FAILED;
    }
    if (family.bFile0000) {
        files.Select(FID_0000);
    }
    return files.Select(pin.fidDf) ? result::OK : result::SELECT_FAILED;
}

long AskForPuk(CSCard& card, const SFamilyPin& pin)
{
    CCommandApdu command(cla::ISO, ins::VERIFY, 0x00,
                         static_cast<std::uint8_t>(pin.bReference + 1));
    return Send(card, command);
}

CResetData::CResetData(const SFamily& family, const SValue& puk, const SValue& newPin)
    : m_ab(family.filler)
{
    Put(0, puk);
    Put(SFamily::HALF, newPin);
}

void CResetData::Put(std::size_t iAt, const SValue& value)
{
    std::copy_n(value.pb, std::min(static_cast<std::size_t>(value.cb), m_ab.size() - iAt),
                m_ab.begin() + static_cast<std::ptrdiff_t>(iAt));
}

long ResetPin(CSCard& card, const SFamily& family, const SFamilyPin& pin, const CResetData& data)
{
    CCommandApdu command(family.bCla, family.bIns, family.bP1, pin.bReference);
    return Send(card, command.Data(data.data(), data.size()));
}

} // namespace pindesk
