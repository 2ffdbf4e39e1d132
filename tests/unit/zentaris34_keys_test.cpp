// SPDX-License-Identifier: Apache-2.0
//
// Zentaris34: the flows of 2048-bit keys through scratch files. Each is written down once, and then
// fails at each of its commands in turn: the scratch files go in every case.

#include "cardlib/scardzentaris34.h"
#include "tests/support/session_test.h"

#include <cstring>
#include <functional>

namespace {
struct SCommand {
    std::string hex;
    SAnswer answer;
    bool bMayFail = false; ///< the flow goes on when the card refuses it
};
using Flow = std::vector<SCommand>;

Bytes Numbered(std::size_t cb)
{
    Bytes bytes(cb);
    for (std::size_t i = 0; i < cb; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 7 + (i >> 8));
    }
    return bytes;
}

class Zentaris34Keys : public CSessionTest<CSCardZentaris34> {
protected:
    /// Runs a flow whole, and then with a refusal at each command that may not fail.
    void Sweep(const Flow& flow, const Flow& cleanUp, const std::function<long()>& call)
    {
        for (std::size_t iRefused = 0; iRefused <= flow.size(); ++iRefused) {
            if (iRefused < flow.size() && flow[iRefused].bMayFail) {
                continue;
            }
            SCOPED_TRACE(iRefused < flow.size() ? flow[iRefused].hex : "all answered");
            Card().InvalidateCache();
            Card().m_Current_DF_path = Card().m_Current_EF_path = DFEF_Path();
            Card().m_bCurrentDFPhisicallySelected = 1;
            Card().m_bCurrentEFPhisicallySelected = 0;
            for (std::size_t i = 0; i < std::min(iRefused + 1, flow.size()); ++i) {
                card.Step("flow", flow[i].hex.c_str(), i == iRefused ? 0x6581 : flow[i].answer);
            }
            for (const auto& command : cleanUp) {
                card.Step("clean-up", command.hex.c_str(), command.answer);
            }
            EXPECT_EQ(iRefused < flow.size() ? 0x6581 : 0, call());
        }
    }

    /// READ BINARY (B0) or UPDATE BINARY (D6) of the data in pieces.
    static void Pieces(Flow& flow, std::uint8_t ins, const Bytes& data)
    {
        for (std::size_t i = 0; i < data.size(); i += 64) {
            const auto cb = static_cast<std::uint8_t>(std::min<std::size_t>(64, data.size() - i));
            const std::uint8_t header[] = {0x00, ins, static_cast<std::uint8_t>(i >> 8),
                                           static_cast<std::uint8_t>(i), cb};
            const std::string command = ToHex(header, 5);
            const std::string piece = ToHex(&data[i], cb);
            if (ins == 0xB0) {
                flow.push_back({command, (piece + "90 00").c_str()});
            } else {
                flow.push_back({command + piece, 0x9000});
            }
        }
    }
    /// Deletes and creates a scratch file that everybody may use.
    static void Scratch(Flow& flow, const std::string& fid, const std::string& size)
    {
        flow.push_back({"00 E4 00 00 02" + fid, 0x6A82, true});
        Create(flow, fid, size);
    }
    static void Create(Flow& flow, const std::string& fid, const std::string& size)
    {
        flow.push_back({"00 A4 09 0C 02" + fid + "FF", 0x6A82, true});
        flow.push_back({"00 E0 00 00 20 6F 1E 81 02" + size + "82 03 01 00 00 83 02" + fid +
                            "85 03 00 00 00 86 0A 00 00 00 00 00 00 00 00 00 FF",
                        0x9000});
    }
    const Flow m_bothGone{{"00 E4 00 00 02 FF 01", 0x9000}, {"00 E4 00 00 02 FF 02", 0x6A82}};
};

TEST_F(Zentaris34Keys, SignatureGoesThroughItsFile)
{
    for (const CK_BYTE cbData : {CK_BYTE{0x7F}, CK_BYTE{0x80}, CK_BYTE{245}}) {
        SCOPED_TRACE(unsigned{cbData});
        const auto data = Numbered(cbData);
        Bytes block = cbData < 0x80 ? Bytes{0x9A, cbData} : Bytes{0x9A, 0x82, 0x00, cbData};
        block.insert(block.end(), data.begin(), data.end());
        block.resize(255);
        const auto signature = Numbered(256);
        Flow flow{{"00 A4 09 0C 02 81 1F FF", 0x9000}};
        Pieces(flow, 0xD6, block);
        flow.push_back({"00 2A 9E 9A 02 81 1F", 0x9000});
        flow.push_back({"00 A4 09 0C 02 81 1F FF", 0x9000});
        Pieces(flow, 0xB0, signature);
        Sweep(flow, {}, [&] {
            CK_BYTE ab[256];
            CK_ULONG cb = sizeof ab;
            DFEF_Path path = Card().m_Current_DF_path;
            path.Append(0x811F);
            Card().m_Cache.Put(path, 0, sizeof ab, Bytes(sizeof ab).data(), 0); // read before
            const long lResult = Card().ComputeSignature2048(data.data(), cbData, ab, &cb);
            EXPECT_TRUE(lResult != 0 || std::memcmp(ab, signature.data(), sizeof ab) == 0);
            // the card has changed the file: nothing of it may be served from the cache
            EXPECT_FALSE(Card().m_Cache.isCached(path, 0, 1));
            return lResult;
        });
    }
}

TEST_F(Zentaris34Keys, DeciphermentLeavesNoScratchFile)
{
    auto cipher = Numbered(256);
    const Bytes plain(256, 0x42);
    Flow flow;
    Scratch(flow, "FF 01", "01 00");
    Scratch(flow, "FF 02", "01 00");
    flow.push_back({"00 A4 09 0C 02 FF 02 FF", 0x9000, true}); // brings the new file in line
    Pieces(flow, 0xD6, cipher);
    flow.push_back({"00 A4 09 0C 02 FF 01 FF", 0x9000});
    flow.push_back({"00 2A 80 86 02 FF 02", 0x9000});
    flow.push_back({"00 A4 09 0C 02 FF 02 FF", 0x9000});
    Pieces(flow, 0xB0, plain);
    Sweep(flow, m_bothGone, [&] {
        CK_BYTE ab[256];
        CK_ULONG cb = sizeof ab;
        const long lResult = Card().EncDec2048(0x8086, cipher.data(), 256, ab, &cb);
        EXPECT_TRUE(lResult != 0 || std::memcmp(ab, plain.data(), sizeof ab) == 0);
        DFEF_Path path = Card().m_Current_DF_path;
        path.Append(0xFF02); // also where the card says that it was not there to be deleted
        EXPECT_FALSE(Card().m_Cache.isCached(path, 0, 1));
        return lResult;
    });
}

TEST_F(Zentaris34Keys, KeyIsLoadedThroughAFileWithTheCoefficientBeforeTheExponents)
{
    auto key = Numbered(648);
    CK_BYTE* const pb = key.data();
    _M4_BSO_info info;
    info.ObjectClass = 0x27;
    info.ObjectId = 0x05;
    info.AC_CHANGE = 0x1A;
    for (const int nExtended : {0x9000, 0x6A81}) { // the second: extended already
        Flow flow{{"00 E4 00 00 02 FF 02", 0x6A82, true},
                  {"00 DA 01 6E 2E 83 02 27 05 85 08 00 00 00 00 00 00 00 00 "
                   "86 0A 00 1A 00 00 00 00 00 00 1A FF "
                   "8B 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 8F 00",
                   0x9000},
                  {"B0 DF 27 05 00", nExtended}};
        Create(flow, "FF 02", "02 88");
        flow.push_back({"00 A4 09 0C 02 FF 02 FF", 0x9000, true});
        Pieces(flow, 0xD6, key);
        flow.push_back({"B0 DE 27 05 00", 0x9000});
        const auto load = [&] {
            return Card().CreateRsa2048Key(&info, pb, pb + 128, pb + 384, pb + 512, pb + 256,
                                           pb + 640);
        };
        Sweep(flow, {{"00 E4 00 00 02 FF 02", 0x9000}}, load);

        // a key file that stays is left without the key, and the caller hears of it
        for (const auto& command : flow) {
            card.Step("flow", command.hex.c_str(), command.answer);
        }
        card.Step("stays", "00 E4 00 00 02 FF 02", 0x6985);
        Flow zeros{{"00 A4 09 0C 02 FF 02 FF", 0x9000}};
        Pieces(zeros, 0xD6, Bytes(key.size()));
        for (const auto& command : zeros) {
            card.Step("zeros", command.hex.c_str(), command.answer);
        }
        Card().m_bCurrentEFPhisicallySelected = 0;
        EXPECT_EQ(0x6985, load());
        EXPECT_FALSE(Card().m_Cache.isCached(Card().m_Current_EF_path, 0, 1));
    }
}
} // namespace
