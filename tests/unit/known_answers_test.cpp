// SPDX-License-Identifier: Apache-2.0
//
// Published known answers, from the text files in tests/vectors. Each is tried in both directions,
// in place and apart, at odd addresses too.

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include "cardlib/crypt.h"
#include "cardlib/des3port.h"
#include "cardlib/sm_sig_enc.h"
#include "tests/support/scripted_pcsc.h"

namespace {

using CRecord = std::map<std::string, Bytes>;

/// The records of a file: lines "Name = hex", records apart by an empty line, # comments.
std::vector<CRecord> ReadVectors(const std::string& szName)
{
    std::ifstream file(PINDESK_TEST_VECTORS "/" + szName);
    std::vector<CRecord> records;
    CRecord record;
    const auto finish = [&] {
        if (!record.empty()) {
            records.push_back(std::exchange(record, {}));
        }
    };
    for (std::string line; std::getline(file, line);) {
        const std::size_t nEquals = line.find(" = ");
        if (line.empty()) {
            finish();
        } else if (line[0] != '#' && nEquals != std::string::npos) {
            record[line.substr(0, nEquals)] = FromHex(line.substr(nEquals + 3));
        }
    }
    finish();
    return records;
}

/// K stands for K | K | K, and K1 | K2 for K1 | K2 | K1.
Bytes ThreeKeys(const Bytes& key)
{
    Bytes keys = key;
    while (keys.size() < 24) {
        keys.push_back(keys[keys.size() - key.size()]);
    }
    return keys;
}

/// CBC in one direction, from one place within a buffer to another (or the same).
Bytes Chain(const Bytes& key, Bytes iv, const Bytes& in, int direction, std::size_t nFrom,
            std::size_t nTo)
{
    unsigned int schedule[48][2];
    des3key(schedule, ThreeKeys(key).data(), direction);
    iv.resize(8);
    Bytes buffer(nFrom + nTo + 2 * in.size());
    std::copy(in.begin(), in.end(), buffer.begin() + static_cast<long>(nFrom));
    EXPECT_EQ(0,
              doCryptEx(schedule, iv.data(), &buffer[nFrom], &buffer[nTo], in.size(), direction));
    const Bytes& cipher = direction == 0 ? Bytes(&buffer[nTo], &buffer[nTo] + in.size()) : in;
    EXPECT_TRUE(std::equal(iv.begin(), iv.end(), cipher.end() - 8)) << "the chaining value";
    return {&buffer[nTo], &buffer[nTo] + in.size()};
}

void ExpectCipher(const char* szFile)
{
    const std::vector<CRecord> records = ReadVectors(szFile);
    ASSERT_FALSE(records.empty());
    for (const CRecord& record : records) {
        const Bytes &key = record.at("Key"), &in = record.at("In"), &out = record.at("Out");
        const Bytes iv = record.contains("IV") ? record.at("IV") : Bytes(8);
        for (std::size_t n = 0; n < 8; ++n) {
            const std::size_t nApart = n + in.size() + 1;
            EXPECT_EQ(out, Chain(key, iv, in, 0, n, n)) << ToHex(in);
            EXPECT_EQ(out, Chain(key, iv, in, 0, n, nApart)) << ToHex(in);
            EXPECT_EQ(in, Chain(key, iv, out, 1, n, n)) << ToHex(in);
            EXPECT_EQ(in, Chain(key, iv, out, 1, n, nApart)) << ToHex(in);
        }
    }
}

TEST(KnownAnswers, OfSingleDesBlocks)
{
    ExpectCipher("des.txt");
}

TEST(KnownAnswers, OfTripleDesAndChaining)
{
    ExpectCipher("cbc.txt");
}

TEST(KnownAnswers, OfTheRetailMac)
{
    const std::vector<CRecord> records = ReadVectors("retail_mac.txt");
    ASSERT_FALSE(records.empty());
    for (const CRecord& record : records) {
        Bytes message = record.at("In");
        for (std::size_t nOffset = 0; nOffset < 8; ++nOffset) {
            Bytes mac(8);
            MAC3_AnsiPadded(ThreeKeys(record.at("Key")).data(), message.data() + nOffset,
                            message.size() - nOffset, mac.data());
            EXPECT_EQ(record.at("Out"), mac);
            message.insert(message.begin(), 0xEE);
        }
    }
}

} // namespace
