// SPDX-License-Identifier: Apache-2.0
//
// The fuzzer's bytes play the card, and the reader, against every operation and every command of
// the card classes: nothing is read or written outside its buffer, all comes to an end, and an
// operation leaves nothing open. The first byte chooses the operation, the second how it is called.

#include "cardlib/ckdictionary.h"
#include "cardlib/cscardsetec43.h"
#include "cardlib/scardzentaris34.h"
#include "pindesk/PCSC_Misc.h"
#include "tests/support/envelopes.h"
#include "tests/support/nomemory.h"
#include "tests/support/operations.h"
#include "tests/support/scripted_pcsc.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::uint8_t T0 = 0x01, PROTECTED = 0x02, TRY_GUARD = 0x04, WITH_SERIAL = 0x08,
                       READER_LIST = 0x10, SHORT_MEMORY = 0x20, FAILING_CALL = 0x40, OWN_ATR = 0x80;
constexpr int MAX_COMMANDS = 12; ///< in one session

/// The fuzzer's bytes, taken from the front; zeros when there are no more.
class CInput {
public:
    CInput(const std::uint8_t* pb, std::size_t cb) : m_pb(pb), m_cb(cb) {}

    bool Empty() const { return m_cb == 0; }
    std::uint8_t Byte()
    {
        if (Empty())
            return 0;
        --m_cb;
        return *m_pb++;
    }
    std::uint16_t Word()
    {
        const std::uint8_t bHigh = Byte();
        return static_cast<std::uint16_t>(bHigh << 8 | Byte());
    }
    /// A length byte and as many bytes, as far as there are.
    Bytes Bytes()
    {
        const std::size_t cb = std::min<std::size_t>(Byte(), m_cb);
        m_pb += cb;
        m_cb -= cb;
        return {m_pb - cb, m_pb};
    }

private:
    const std::uint8_t* m_pb;
    std::size_t m_cb;
};

constexpr std::uint8_t KEY[24] = {1, 2, 3, 4, 5, 6, 7, 8};

/// A description of a file as cards give it; the bits of a byte choose its parts.
Bytes FileControlInformation(CInput& input)
{
    constexpr struct {
        std::uint8_t bMask, bTag;
        std::size_t cb;
    } PARTS[] = {{0x01, 0x80, 2}, {0x02, 0x81, 2}, {0x04, 0x82, 1}, {0x08, 0x82, 6},
                 {0x10, 0x83, 2}, {0x20, 0x86, 9}, {0x40, 0x86, 2}, {0x80, 0x8A, 1}};
    const std::uint8_t bParts = input.Byte();
    Bytes body;
    for (const auto& part : PARTS) {
        if ((bParts & part.bMask) != 0) {
            body = body + Object(part.bTag, Bytes(part.cb, input.Byte()));
        }
    }
    return Object(0x6F, body);
}

/// The card's side of the exchanges.
class CFuzzedCard {
public:
    explicit CFuzzedCard(CInput& input) : m_input(input) {}

    /// What one exchange comes to; the fuzzer's next byte chooses.
    SAnswer Answer(const Bytes& command)
    {
        const Bytes OK = {0x90, 0x00};
        if (command.size() > 13 && command[1] == 0x86) { // GIVE RANDOM
            m_envelope.hostRandom.assign(command.begin() + 5, command.begin() + 13);
        }
        const std::uint8_t bForm = m_input.Byte();
        switch (bForm % 8) {
        case 1:
        case 2:
            return Failure(bForm);
        case 3:
            return Bytes(m_input.Word(), 0x90); // as long as it can be
        case 4:
            return m_input.Word();
        case 5: // what was asked for
            return Bytes(command.size() < 5 ? 0 : command[4], m_input.Byte()) + OK;
        case 6:
            return Protected(command);
        case 7: {
            const int cMore = m_input.Byte() % 4;
            Bytes page = FileControlInformation(m_input);
            for (int i = 0; i < cMore; ++i) {
                page = page + FileControlInformation(m_input);
            }
            return page + OK;
        }
        default: // any bytes
            return m_input.Bytes() + ((bForm & 0x80) != 0 ? OK : Bytes());
        }
    }

private:
    /// A failure, with buffer and length as they were, or with bytes.
    SAnswer Failure(std::uint8_t bForm)
    {
        constexpr LONG CODES[] = {SCARD_E_NOT_READY,      SCARD_F_COMM_ERROR,
                                  SCARD_F_UNKNOWN_ERROR,  SCARD_E_NOT_TRANSACTED,
                                  SCARD_W_RESET_CARD,     SCARD_W_REMOVED_CARD,
                                  SCARD_E_NO_SERVICE,     0x80100079,
                                  SCARD_E_INVALID_HANDLE, SCARD_E_INSUFFICIENT_BUFFER};
        SAnswer answer(bForm % 8 == 2 ? m_input.Bytes() : Bytes());
        answer.m_lCode = CODES[m_input.Byte() % std::size(CODES)];
        if (bForm % 8 == 1 && (bForm & 0x80) != 0) {
            answer.m_data.reset();
        }
        return answer;
    }

    /// The fuzzer's bytes in the envelope that the command asks for; as they are without one.
    Bytes Protected(const Bytes& command)
    {
        const Bytes data = m_input.Bytes();
        if (command.empty() || command[0] != 0x0C || data.size() > 200) {
            return data + Bytes{0x90, 0x00};
        }
        m_envelope.header.assign(command.begin(), command.begin() + 4);
        return m_envelope.ProtectAnswer(libcrypto::IsoPadded(data));
    }

    CInput& m_input;
    SEnvelope m_envelope{.sig = Bytes(KEY, KEY + 24), .enc = Bytes(KEY, KEY + 24)};
};

using Buffer = std::unique_ptr<CK_BYTE[]>; ///< exactly as large as announced

Buffer Room(std::size_t cb)
{
    return std::make_unique<CK_BYTE[]>(cb);
}

/// Makes the call that a byte chooses, with memory for no more than cObjects.
void Choose(std::uint8_t b, std::initializer_list<std::function<void()>> calls,
            int cObjects = INT_MAX)
{
    const auto& call = calls.begin()[b % calls.size()];
    const CNoMemory memory(cObjects);
    call();
}

/// A value of 5 to 8 bytes, or, if the byte says so, of any length.
SPin Value(std::uint8_t b)
{
    return {"12345678", (b & 0x80) != 0 ? b % 11 - 1 : 5 + b % 4};
}

/// All four secrets, or one of them.
Pins Some(std::uint8_t b, const SPin& pin)
{
    return (b & 0x40) != 0 ? Only(static_cast<ESecret>(b >> 4 & 3), pin) : Pins{pin, pin, pin, pin};
}

void Operation(CInput& input, std::uint8_t bOperation, std::uint8_t bHow)
{
    const std::uint8_t bValues = input.Byte();
    const SPin pin = Value(bValues), newPin("12345678");
    const Pins pins = Some(bValues, pin), newPins = Some(bValues, newPin);
    const SCall call = {.bProtect = (bHow & PROTECTED) != 0,
                        .szSerial = (bHow & WITH_SERIAL) != 0 ? "AAAAAAAAAAAAAAAA" : nullptr,
                        .pKey = const_cast<unsigned char*>(KEY),
                        .lSlot = (bHow & READER_LIST) != 0 ? input.Byte() % 4 : 1};
    const int cObjects = (bHow & SHORT_MEMORY) != 0 ? input.Byte() : INT_MAX;
    const long lSlot = call.lSlot;
    const auto atr = input.Bytes(), mask = input.Bytes();
    const std::string strAtr(atr.begin(), atr.end()), strMask(mask.begin(), mask.end());
    const auto text = std::make_unique<char[]>(300);
    char* const sz = text.get();
    DWORD cch = 300;
    ScardConnection* pConnection = nullptr;
    const auto unblock = call.bProtect != 0 ? PCSC_Unblock_Starcos : PCSC_Unblock_M4_1111;
    long l = 300;
    int iLimit = 0;
    Choose(bOperation & 0x3F,
           {[&] { ReadSerial(call); }, [&] { Verify(pins, call); },
            [&] { Change(pins, newPins, call); }, [&] { Unblock(pins, newPins, call); },
            [&] { Lock(call); }, [&] { Reactivate(pin, newPin, call); },
            [&] { PCSC_GetFSType(lSlot, &l); }, [&] { unblock(lSlot, "12345678", "12345678"); },
            [&] { PCSC_GetATR(lSlot, sz, &l); }, [&] { PCSC_GetReaderName(lSlot, sz, &l); },
            [&] { PCSC_GetReadersCount(&l); }, [&] { PCSC_GetReadersList(sz, &cch); },
            [&] {
                if (PCSC_Connect(lSlot, &pConnection) == 0) {
                    PCSC_Valid(pConnection);
                    PCSC_Disconnect(pConnection);
                }
            },
            [&] {
                CNS_DS_GetPinLimit(lSlot, const_cast<char*>(call.szSerial), &iLimit, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
            },
            [&] { // too little room, or none
                l = static_cast<long>(cch = bValues % 16);
                PCSC_GetATR(lSlot, sz, &l);
                PCSC_GetReaderName(lSlot, sz, &l);
                PCSC_GetReadersList(sz, &cch);
                PCSC_GetReadersList(nullptr, &cch);
            },
            [&] {
                PCSC_AtrCmp(strAtr.c_str(), strAtr.c_str(), strMask.c_str());
                PCSC_AtrCmp(strAtr.c_str(), strMask.c_str(), strAtr.c_str());
                PCSC_AtrCmp(nullptr, nullptr, nullptr);
            },
            [&] {
                PCSC_GetFSType(lSlot, nullptr);
                PCSC_GetATR(lSlot, nullptr, nullptr);
                PCSC_GetReaderName(lSlot, nullptr, nullptr);
                PCSC_GetReadersCount(nullptr);
                PCSC_GetReadersList(nullptr, nullptr);
                PCSC_Connect(lSlot, nullptr);
                PCSC_Valid(nullptr);
                PCSC_Disconnect(nullptr);
                unblock(lSlot, nullptr, nullptr);
                CNS_GetSerial(lSlot, nullptr);
                PCSC_Unblock_Setec(lSlot, "12345678", "12345678");
            }},
           cObjects);
}

/// One command that all classes have.
void BaseCommand(CSCard& card, CInput& input, std::uint8_t bCommand)
{
    WORD path[] = {0x3F00, input.Word(), 0x1102};
    DWORD dwSize = 0;
    const WORD l = input.Byte();
    const auto data = Room(256);
    DWORD cbAnswer = 0;
    Choose(bCommand,
           {[&] { card.SelectEx(path[1], (l & 1) != 0 ? &dwSize : nullptr, l % 4); },
            [&] { card.PathSelectWORD(path, 1 + l % 3, (l & 0x80) != 0); },
            [&] { card.ForceSelectCurrentEF(); },
            [&] { card.ReadBinary(path[1], l, Room(l).get()); },
            [&] { card.UpdateBinary(data.get(), l, path[1]); },
            // the base's own, whose answer has 256 bytes
            [&] { card.CSCard::Transmit(data.get(), 5 + l % 250, Room(256).get(), &cbAnswer); },
            [&] { card.GetATR(Room(64).get(), &(cbAnswer = 64)); },
            [&] { card.Attach(card.Detach()); }, [&] { card.InvalidateCache(); }});
}

void RecordCommand(CSCardCardOSM4& card, CInput& input, std::uint8_t bCommand)
{
    CK_BYTE cb = input.Byte();
    const auto data = Room(cb);
    CK_BYTE* const pb = data.get();
    Choose(bCommand, {[&] { card.ReadRecordTLV(0x5A, pb, &cb); },
                      [&] { card.ReadRecordTLVStrip(0x5A, pb, &cb); },
                      [&] { card.ReadRecordAbsolute(1, pb, &cb); },
                      [&] {
                          card.UpdateRecord(4, 1, pb, cb);
                          card.AppendRecord(pb, cb);
                      }});
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
    Choose(bCommand, {[&] {
                          card.ListFiles(path, 2, &pFiles, &ulFiles, eListAll);
                          delete[] pFiles;
                      },
                      [&] {
                          if (card.GetFileInfo(file) == 0)
                              card.PutDataFCI(&file);
                      },
                      [&] { card.CreateFile(&file); },
                      [&] {
                          card.DeleteFile(path[1], 0);
                          card.ActivateFile(path[1], 1, 0);
                      },
                      [&] { card.CreateBSO(&object, object.ObjectClass & 1); },
                      [&] { card.AdminBSO(&object, object.ObjectClass & 1); },
                      [&] {
                          card.GetFreeMemory(eCurrentDFBody, wSize);
                          card.GetVer();
                      },
                      [&] {
                          card.SwitchToAdminLifeCycle();
                          card.RevertFromAdminLifeCycle();
                      }});
}

void SecurityCommand(CSCardCardOSM4& card, CInput& input, std::uint8_t bCommand)
{
    const auto data = Room(648);
    CK_ULONG cb = input.Byte() * 2ul;
    const auto room = Room(cb);
    CK_BYTE *const pb = data.get(), *const pOut = room.get();
    _M4_BSO_info object;
    Choose(bCommand, {[&] { card.VerifyAndChange(0x10, pb, 8, pb, 8, 8); },
                      [&] { card.CRVerifyDes(0x1C, KEY, 24, cb); },
                      [&] { card.EncDec(0x8086, pb, 128, pOut, &cb); },
                      [&] { card.InternalAuthenticate(1, pb, 8, pOut, &cb); },
                      [&] { card.ComputeSignature(pb, 20, pOut, &cb); },
                      [&] { card.ComputeSignature2048(pb, 200, pOut, &cb); },
                      [&] { card.EncDec2048(0x8086, pb, 256, pOut, &cb); },
                      [&] { card.CreateRsa2048Key(&object, pb, pb, pb, pb, pb, pb); },
                      [&] {
                          card.GenerateKeyPair(0x20, 5, 0x5015, 2048, pb, 3);
                          card.LoadSecurityEnvironment(1, 2, 3, 1, 0);
                          card.ManageSecurityEnvironment(1, 0xB601, 0);
                      },
                      [&] {
                          DWORD cbAnswer = 648;
                          card.Transmit_SMx4(KEY, pb, 10, pb, &cbAnswer);
                      },
                      [&] { card.SetSMxCMode(cb % 4 != 0, KEY, KEY, nullptr, 0); }});
}

void SetecCommand(CSCardSetec43& card, CInput& input, std::uint8_t bCommand)
{
    const auto data = Room(256);
    CK_ULONG cb = input.Byte();
    const auto room = Room(cb);
    CK_BYTE* const pb = data.get();
    Choose(bCommand,
           {[&] { card.VerifyAndChange(1, pb, 8, pb, 8); }, [&] { card.PutHash(pb, 20); },
            [&] { card.ComputeSignature(room.get(), &cb); },
            [&] { card.EncDec(0x8086, pb, 128, room.get(), &cb); },
            [&] { card.ExportRSAPublicKey(1, Room(128).get()); }, [&] { card.Verify(1, pb, 8); },
            [&] { card.ManageSecurityEnvironment(1, 0x41B6, 2); },
            [&] { card.GetResponse(input.Byte(), pb); }});
}

/// What a host does beside the commands, and what it may do wrongly.
template <class TSession> bool BesideCommands(TSession& card, CInput& input, std::uint8_t b)
{
    CSCard& base = card;
    CFileCacheSystem& cache = card.GetFileCacheSystem();
    const std::uint8_t bValue = input.Byte();
    const auto data = Room(256);
    const DFEF_Path path(data.get(), bValue % 4, 0);
    DWORD cb = 0;
    const std::function<void()> CALLS[] = {
        [&] { CScriptedPcsc::s_pActive->FailCall("SCardStatus", SCARD_F_COMM_ERROR, bValue % 8); },
        [&] { cache.m_bUseCacheExpire = !cache.m_bUseCacheExpire; },
        [&] { cache.m_bCacheSystemEnabled = !cache.m_bCacheSystemEnabled; },
        [&] { card.ReadBinaryFromCacheOnly(path, bValue, bValue, data.get()); },
        [&] {
            base.AddRef();
            base.Release();
            base.SetSCContext(base.m_hContext);
            SCardIsValidContextEX(base.m_hContext);
            base.GetModelName();
            base.CSCard::GetModelName();
        },
        [&] { base.GetATR(nullptr, &cb); },
        [&] { base.CSCard::Transmit(data.get(), 5000, data.get(), &cb); },
        [&] {
            base.CSCard::Transmit(nullptr, 5, nullptr, nullptr);
            base._SCardTransmit(0, nullptr, nullptr, 0, nullptr, nullptr, nullptr);
            base.GetATR(nullptr, nullptr);
            base.ReadBinary(0, 5, nullptr);
            base.UpdateBinary(nullptr, 5, 0);
            base.PathSelectWORD(nullptr, 5, 0);
            base.SelectEx(0, nullptr, 0);
        }};
    const bool bOne = b % 32 < std::size(CALLS);
    if (bOne) {
        CALLS[b % 32]();
    }
    return bOne;
}

void WithoutArguments(CSCardCardOSM4& card)
{
    CK_ULONG cb = 0;
    card.ReadRecordTLV(1, nullptr, nullptr);
    card.ReadRecordTLVStrip(1, nullptr, nullptr);
    card.AppendRecord(nullptr, 0);
    card.VerifyAndChange(1, nullptr, 8, nullptr, 8, 8);
    card.CRVerifyDes(1, nullptr, 0, 8);
    card.EncDec(0, nullptr, 0, nullptr, nullptr);
    card.InternalAuthenticate(0, nullptr, 0, nullptr, nullptr);
    card.ComputeSignature(nullptr, 0, nullptr, &cb);
    card.ComputeSignature(nullptr, 0, nullptr, nullptr);
    card.ComputeSignature2048(nullptr, 0, nullptr, nullptr);
    card.EncDec2048(0, nullptr, 0, nullptr, nullptr);
    card.EncDec2048(0x8086, nullptr, 256, nullptr, &cb);
    card.CreateRsa2048Key(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    card.ChangeReferenceData(0, 0x20, nullptr, 0, nullptr, 0);
    card.ListFiles(nullptr, 0, nullptr, nullptr, eListAll);
    card.CreateFile(nullptr);
    card.PutDataFCI(nullptr);
    card.CreateBSO(nullptr, 0);
    card.AdminBSO(nullptr, 0);
    card.GetChallenge(nullptr, nullptr);
    card.GiveRandom(nullptr, 0);
    card.PathSelect(nullptr, 1, 0);
    card.Transmit2(nullptr, 0, nullptr, nullptr);
    card.Transmit_SMx4(nullptr, nullptr, 0, nullptr, nullptr);
    card.Transmit_SMxC(nullptr, nullptr, nullptr, 0, nullptr, nullptr);
}

void MoreOfM4(CSCardCardOSM4& card, CInput& input, std::uint8_t b)
{
    const auto data = Room(1024);
    CK_BYTE* const pb = data.get();
    CK_BYTE *const pbFile = pb, *pbInFile = nullptr;
    CK_ULONG cb = input.Byte();
    const auto cbByte = static_cast<CK_BYTE>(cb);
    DWORD cbAnswer = cb;
    const auto command = input.Bytes();
    std::copy(command.begin(), command.end(), pb);
    Choose(b % 32,
           {[&] { WithoutArguments(card); }, [&] { card.ReCreate(); },
            [&] { card.PathSelect(pb, cb % 8, cb > 0x7F); },
            [&] { card.Transmit(pb, command.size(), Room(cb + 2).get(), &cbAnswer); },
            [&] { card.ChangeReferenceData(0x81, cbByte, pb, 0x82, nullptr, 0); },
            [&] { card.ChangeReferenceData(0x10, 0, pb, cbByte, pb, 8); },
            [&] { card.EncDec(0x8680, pb, cbByte, pb, &(cb = 1024)); },
            [&] { card.InternalAuthenticate(1, pb, 4 * cb, pb, &(cbAnswer = 1024)); },
            [&] { card.CCMS_Read(pbFile, command.size(), &pbInFile, &cb); },
            [&] { card.CCMS_Write(pb, cb, Room(1024).get(), &(cbAnswer = 1024), 200); },
            [&] { card.ExtendBSO(0x20, 5, 0); }, [&] { card.UpdateBinary(pb, 1024, cb * 256); },
            [&] {
                CK_BYTE instructions[] = {0x20, 0xA4, 0xB0};
                card.SetSMxCMode(1, KEY, KEY, instructions, 1 + cb % 3);
            },
            [&] { card.ComputeSignature(pb, cbByte, pb, &(cb = 1024)); },
            [&] { card.DeleteFile(0x1100, 1); }});
}

void WithoutArguments(CSCardSetec43& card)
{
    CK_ULONG cb = 0;
    card.Verify(1, nullptr, 8);
    card.VerifyAndChange(1, nullptr, 8, nullptr, 8);
    card.PutHash(nullptr, 20);
    card.ComputeSignature(nullptr, nullptr);
    card.ComputeSignature(nullptr, &cb);
    card.EncDec(0, nullptr, 1, nullptr, nullptr);
    card.ExportRSAPublicKey(1, nullptr);
    card.GetResponse(1, nullptr);
    card.GetResponse(0, nullptr);
}

void Command(CSCardCardOSM4& card, CInput& input, std::uint8_t b)
{
    if ((b & 0xE0) == 0x80 && !BesideCommands(card, input, b)) {
        MoreOfM4(card, input, b);
    }
    if ((b & 0xE0) == 0x80) {
        return;
    }
    Choose(b >> 5 & 3,
           {[&] { BaseCommand(card, input, b); }, [&] { RecordCommand(card, input, b); },
            [&] { AdminCommand(card, input, b); }, [&] { SecurityCommand(card, input, b); }});
}

void Command(CSCardSetec43& card, CInput& input, std::uint8_t b)
{
    if ((b & 0xE0) == 0x80) {
        BesideCommands(card, input, b) ? void() : WithoutArguments(card);
        return;
    }
    (b & 0x20) != 0 ? SetecCommand(card, input, b) : BaseCommand(card, input, b);
}

template <class TSession> void Session(CInput& input)
{
    char szReader[] = "Fuzz";
    SCARDCONTEXT hContext = 0;
    if (SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &hContext) != SCARD_S_SUCCESS) {
        return;
    }
    {
        TSession card(hContext, szReader);
        if (card.Create()) {
            for (int i = 0; i < MAX_COMMANDS && !input.Empty(); ++i)
                Command(card, input, input.Byte());
        }
    }
    SCardReleaseContext(hContext);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pb, std::size_t cb)
{
    CInput input(pb, cb);
    const std::uint8_t bWhat = input.Byte();
    const std::uint8_t bHow = input.Byte();
    PINDESK_ChangeSetting("SETTING_TRY_GUARD", (bHow & TRY_GUARD) != 0);
    CScriptedPcsc pcsc;
    const auto atr = (bHow & OWN_ATR) != 0 ? input.Bytes() : Bytes{0x3B};
    pcsc.Readers({{"Fuzz", ToHex(atr)}});
    if ((bHow & READER_LIST) != 0) {
        const auto name = input.Bytes();
        pcsc.m_readers.insert(input.Byte() % 2 != 0 ? pcsc.m_readers.end() : pcsc.m_readers.begin(),
                              {std::string(name.begin(), name.end()), ToHex(atr)});
    }
    if ((bHow & FAILING_CALL) != 0) {
        constexpr const char* CALLS[] = {"SCardEstablishContext", "SCardListReaders",
                                         "SCardConnect",          "SCardBeginTransaction",
                                         "SCardStatus",           "SCardGetStatusChange"};
        const std::uint8_t b = input.Byte();
        pcsc.FailCall(CALLS[b % std::size(CALLS)], SCARD_F_COMM_ERROR, 1 + b / 64);
    }
    pcsc.Protocol((bHow & T0) != 0 ? SCARD_PROTOCOL_T0 : SCARD_PROTOCOL_T1);
    CFuzzedCard card(input);
    pcsc.Otherwise([&](const Bytes& command) {
        if (!input.Empty())
            return card.Answer(command);
        pcsc.RemoveCard(); // so that every loop that relies on the card comes to its end
        return SAnswer::Fail(SCARD_W_REMOVED_CARD);
    });
    Choose(bWhat >> 6,
           {[&] { Session<CSCardCardOSM4>(input); }, [&] { Session<CSCardZentaris34>(input); },
            [&] { Operation(input, bWhat, bHow); }, [&] { Session<CSCardSetec43>(input); }});
    std::vector<std::string> problems = pcsc.Leftovers();
    for (auto& misuse : pcsc.TakeMisuses()) {
        problems.push_back(std::move(misuse));
    }
    // a handle of which the status could not be asked; the service refuses the command
    std::erase(problems, "SCardTransmit with the header of another protocol");
    for (const auto& problem : problems) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::abort();
    }
    return 0;
}
