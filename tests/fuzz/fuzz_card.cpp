// SPDX-License-Identifier: Apache-2.0
//
// The fuzzer's bytes play the card, and the reader, against every operation and every command of
// the card classes: nothing is read or written outside its buffer, all comes to an end, and an
// operation leaves nothing open. The first byte chooses the operation, the second how it is called.

#include "cardlib/ckdictionary.h"
#include "cardlib/cscardsetec43.h"
#include "cardlib/scardzentaris34.h"
#include "pindesk/PCSC_Misc.h"
#include "pindesk/PinDesk.h"
#include "tests/fuzz/fuzz_pcsc.h"

#include <cstdlib>
#include <memory>

namespace {

constexpr std::uint8_t T0 = 0x01, PROTECTED = 0x02, TRY_GUARD = 0x04, WITH_SERIAL = 0x08;
constexpr int MAX_COMMANDS = 12; ///< in one session

using Buffer = std::unique_ptr<CK_BYTE[]>; ///< exactly as large as announced

Buffer Room(std::size_t cb)
{
    return std::make_unique<CK_BYTE[]>(cb);
}

void Operation(CInput& input, std::uint8_t bOperation, std::uint8_t bHow)
{
    unsigned char pin[] = "12345678";
    char szExpected[] = "ABCDEFGH12345678";
    char* const sz = (bHow & WITH_SERIAL) != 0 ? szExpected : nullptr;
    const BOOL bProtect = (bHow & PROTECTED) != 0;
    const auto cb = static_cast<long>(5 + input.Byte() % 4);
    const auto serial = std::make_unique<char[]>(17);
    char szPuk[] = "12345678";
    long l = 0;
    switch ((bOperation & 0x3F) % 9) {
    case 0:
        CNS_GetSerial(1, serial.get());
        break;
    case 1:
        CNS_DS_VerifyPinPuk(1, sz, pin, cb, pin, cb, pin, cb, pin, cb, nullptr, bProtect);
        break;
    case 2:
        CNS_DS_ChangePinPuk(1, sz, pin, cb, pin, 8, pin, cb, pin, 8, pin, cb, pin, 8, pin, cb, pin,
                            8, nullptr, bProtect);
        break;
    case 3:
        CNS_DS_UnblockPin(1, sz, pin, cb, pin, 8, pin, cb, pin, 8, nullptr, bProtect);
        break;
    case 4:
        DS_LockPin(1, sz, nullptr, bProtect);
        break;
    case 5:
        DS_ReactivatePin(1, sz, pin, cb, pin, 8, nullptr, 0, nullptr, bProtect);
        break;
    case 6:
        PCSC_GetFSType(1, &l);
        break;
    case 7:
        (bProtect ? PCSC_Unblock_Starcos : PCSC_Unblock_M4_1111)(1, szPuk, szPuk);
        break;
    default:
        l = 300;
        PCSC_GetATR(1, std::make_unique<char[]>(300).get(), &l);
    }
}

/// One command that all classes have.
void BaseCommand(CSCard& card, CInput& input, std::uint8_t bCommand)
{
    WORD path[] = {0x3F00, input.Word(), 0x1102};
    DWORD dwSize = 0;
    const WORD l = input.Byte();
    const auto data = Room(256);
    DWORD cbAnswer = 0;
    switch (bCommand % 7) {
    case 0:
        card.SelectEx(path[1], (l & 1) != 0 ? &dwSize : nullptr, l % 4);
        break;
    case 1:
        card.PathSelectWORD(path, 1 + l % 3, (l & 0x80) != 0);
        break;
    case 2:
        card.ForceSelectCurrentEF();
        break;
    case 3:
        card.ReadBinary(path[1], l, Room(l).get());
        break;
    case 4:
        card.UpdateBinary(data.get(), l, path[1]);
        break;
    case 5: // the base's own, whose answer has 256 bytes
        card.CSCard::Transmit(data.get(), 5 + l % 250, Room(256).get(), &cbAnswer);
        break;
    default:
        card.InvalidateCache();
    }
}

void RecordCommand(CSCardCardOSM4& card, CInput& input, std::uint8_t bCommand)
{
    CK_BYTE cb = input.Byte();
    const auto data = Room(cb);
    switch (bCommand % 4) {
    case 0:
        card.ReadRecordTLV(0x5A, data.get(), &cb);
        break;
    case 1:
        card.ReadRecordTLVStrip(0x5A, data.get(), &cb);
        break;
    case 2:
        card.ReadRecordAbsolute(1, data.get(), &cb);
        break;
    default:
        card.UpdateRecord(4, 1, data.get(), cb);
        card.AppendRecord(data.get(), cb);
    }
}

void AdminCommand(CSCardCardOSM4& card, CInput& input, std::uint8_t bCommand)
{
    WORD path[] = {0x3F00, input.Word()};
    _DirFileInfo* pFiles = nullptr;
    CK_ULONG ulFiles = 0;
    _M4_FileInfo_SM file;
    file.fid = path[1];
    file.type = (bCommand & 0x80) != 0 ? eDF : eBinary;
    _M4_BSO_info object;
    object.ObjectClass = input.Byte();
    object.ObjectId = 0x05;
    object.ObjectDataLen = input.Byte();
    WORD wSize = 0;
    switch (bCommand % 8) {
    case 0:
        card.ListFiles(path, 2, &pFiles, &ulFiles, eListAll);
        delete[] pFiles;
        break;
    case 1:
        if (card.GetFileInfo(file) == 0)
            card.PutDataFCI(&file);
        break;
    case 2:
        card.CreateFile(&file);
        break;
    case 3:
        card.DeleteFile(path[1], 0);
        card.ActivateFile(path[1], 1, 0);
        break;
    case 4:
        card.CreateBSO(&object, object.ObjectClass & 1);
        break;
    case 5:
        card.AdminBSO(&object, object.ObjectClass & 1);
        break;
    case 6:
        card.GetFreeMemory(eCurrentDFBody, wSize);
        card.GetVer();
        break;
    default:
        card.SwitchToAdminLifeCycle();
        card.RevertFromAdminLifeCycle();
    }
}

void SecurityCommand(CSCardCardOSM4& card, CInput& input, std::uint8_t bCommand)
{
    const CK_BYTE key[24] = {1, 2, 3, 4, 5, 6, 7, 8};
    const auto data = Room(648);
    CK_ULONG cb = input.Byte() * 2ul;
    const auto out = Room(cb);
    CK_BYTE* const pb = data.get();
    _M4_BSO_info object;
    switch (bCommand % 10) {
    case 0:
        card.VerifyAndChange(0x10, pb, 8, pb, 8, 8);
        break;
    case 1:
        card.CRVerifyDes(0x1C, key, 24, cb);
        break;
    case 2:
        card.EncDec(0x8086, pb, 128, out.get(), &cb);
        break;
    case 3:
        card.InternalAuthenticate(1, pb, 8, out.get(), &cb);
        break;
    case 4:
        card.ComputeSignature(pb, 20, out.get(), &cb);
        break;
    case 5:
        card.ComputeSignature2048(pb, 200, out.get(), &cb);
        break;
    case 6:
        card.EncDec2048(0x8086, pb, 256, out.get(), &cb);
        break;
    case 7:
        card.CreateRsa2048Key(&object, pb, pb, pb, pb, pb, pb);
        break;
    case 8:
        card.GenerateKeyPair(0x20, 5, 0x5015, 2048, pb, 3);
        card.LoadSecurityEnvironment(1, 2, 3, 1, 0);
        card.ManageSecurityEnvironment(1, 0xB601, 0);
        break;
    default:
        card.SetSMxCMode(cb % 4 != 0, key, key, nullptr, 0);
    }
}

void SetecCommand(CSCardSetec43& card, CInput& input, std::uint8_t bCommand)
{
    const auto data = Room(256);
    CK_ULONG cb = input.Byte();
    const auto out = Room(cb);
    switch (bCommand % 6) {
    case 0:
        card.VerifyAndChange(1, data.get(), 8, data.get(), 8);
        break;
    case 1:
        card.PutHash(data.get(), 20);
        break;
    case 2:
        card.ComputeSignature(out.get(), &cb);
        break;
    case 3:
        card.EncDec(0x8086, data.get(), 128, out.get(), &cb);
        break;
    case 4:
        card.ExportRSAPublicKey(1, Room(128).get());
        break;
    default:
        card.GetResponse(input.Byte(), data.get());
    }
}

void Session(CSCardCardOSM4& card, CInput& input)
{
    for (int i = 0; i < MAX_COMMANDS && !input.Empty(); ++i) {
        const std::uint8_t bCommand = input.Byte();
        switch (bCommand >> 5 & 3) {
        case 0:
            BaseCommand(card, input, bCommand);
            break;
        case 1:
            RecordCommand(card, input, bCommand);
            break;
        case 2:
            AdminCommand(card, input, bCommand);
            break;
        default:
            SecurityCommand(card, input, bCommand);
        }
    }
}

void Session(CSCardSetec43& card, CInput& input)
{
    for (int i = 0; i < MAX_COMMANDS && !input.Empty(); ++i) {
        const std::uint8_t bCommand = input.Byte();
        if ((bCommand & 0x20) != 0)
            SetecCommand(card, input, bCommand);
        else
            BaseCommand(card, input, bCommand);
    }
}

template <class TSession> void Open(CInput& input)
{
    char szReader[] = "Fuzz";
    TSession card(1, szReader);
    if (card.Create())
        Session(card, input);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pb, std::size_t cb)
{
    CInput input(pb, cb);
    const std::uint8_t bWhat = input.Byte();
    const std::uint8_t bHow = input.Byte();
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", (bHow & TRY_GUARD) != 0);
    InsertCard(input, (bHow & T0) != 0 ? SCARD_PROTOCOL_T0 : SCARD_PROTOCOL_T1);
    switch (bWhat >> 6) {
    case 0:
        Open<CSCardCardOSM4>(input);
        break;
    case 1:
        Open<CSCardZentaris34>(input);
        break;
    case 2:
        Operation(input, bWhat, bHow);
        break;
    default:
        Open<CSCardSetec43>(input);
    }
    if (LeftOpen() != 0)
        std::abort();
    return 0;
}
