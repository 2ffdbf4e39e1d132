// SPDX-License-Identifier: Apache-2.0
//
// The four cases of a short command APDU (ISO/IEC 7816-3, 12.1.3), told apart by length alone.
#include "model/apdu.h"

#include <algorithm>

namespace vcard {

namespace {

constexpr std::size_t HEADER = 4;

void SetLe(SCommand& command, std::uint8_t bLe)
{
    command.bHasLe = true;
    command.bExactLe = bLe != 0;
    command.cbLe = bLe != 0 ? bLe : 256;
}

} // namespace

SCommand ParseCommand(ByteView apdu)
{
    Require(apdu.size() >= HEADER, sw::WRONG_LENGTH);
    SCommand command;
    command.bCla = apdu[0];
    command.bIns = apdu[1];
    command.bP1 = apdu[2];
    command.bP2 = apdu[3];
    if (apdu.size() == HEADER) {
        return command;
    }

    const std::uint8_t bP3 = apdu[HEADER];
    const ByteView body = apdu.subspan(HEADER + 1);
    // GET RESPONSE has no data, so that its fifth byte is Le; terminals send a sixth behind it.
    const bool bGetResponse = command.bIns == ins::GET_RESPONSE && body.size() <= 1;
    if (body.empty() || bGetResponse) {
        SetLe(command, bP3);
        return command;
    }

    Require(bP3 != 0 && body.size() >= bP3, sw::WRONG_LENGTH);
    command.abData = Copy(body.first(bP3));
    const ByteView rest = body.subspan(bP3);
    if (rest.size() == 1) {
        SetLe(command, rest[0]);
    }
    if (rest.size() > 1) {
        Require(std::all_of(rest.begin(), rest.end(), [](auto b) { return b == 0; }),
                sw::WRONG_LENGTH);
        command.bTrailingZeros = true;
    }
    return command;
}

Bytes Serialize(const SAnswer& answer)
{
    Bytes bytes = answer.abData;
    bytes.push_back(High(answer.wStatus));
    bytes.push_back(Low(answer.wStatus));
    return bytes;
}

} // namespace vcard
