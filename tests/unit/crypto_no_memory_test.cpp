// SPDX-License-Identifier: Apache-2.0
//
// What the cryptographic helpers do when there is no memory for the buffer they return.

#include "cardlib/crypt.h"
#include "cardlib/pkcs1.h"
#include "cardlib/sm_sig_enc.h"
#include "tests/support/nomemory.h"
#include "tests/support/scripted_pcsc.h"

namespace {

TEST(NoMemory, BuffersAreNullAndLengthsStay)
{
    const Bytes key(24, 0x42);
    const Bytes data = FromHex("81 06 01 02 03 04 05 06");
    unsigned long cb = 8;
    const CNoMemory noMemory(0);
    unsigned char mac[8];
    EXPECT_EQ(nullptr, IsoPad(data.data(), &cb));
    EXPECT_EQ(nullptr, AnsiPad(data.data(), &cb));
    EXPECT_EQ(nullptr, DES3_IsoPadded(key.data(), data.data(), &cb));
    EXPECT_EQ(nullptr, UNDES3_IsoPadded(key.data(), data.data(), &cb));
    EXPECT_EQ(nullptr, SMx4_SIG(key.data(), 0, 0, 0, 0, data.data(), &cb, mac));
    EXPECT_EQ(nullptr, SMx4_SIG_ENC(key.data(), 0, 0, 0, 0, data.data(), &cb));
    EXPECT_EQ(nullptr, NormalizeASN1Integer(data.data(), &cb));
    EXPECT_EQ(8U, cb);

    // envelopes and buffers report no length
    EXPECT_EQ(nullptr,
              SMxC_ENC_SIG(key.data(), key.data(), nullptr, 0, 0, 0, 0, data.data(), 8, 0, &cb));
    EXPECT_EQ(0U, cb);
    BOOL bVerified = 0, bDecoded = 0;
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(key.data(), key.data(), nullptr, 0, 0, 0, 0, data.data(), 8, cb,
                                    bVerified, bDecoded));
    EXPECT_EQ(0U, cb);

    unsigned char* pOut = nullptr;
    EXPECT_EQ(-1, CBCDes3EncryptData(key.data(), data.data(), 8, &pOut));
    EXPECT_EQ(-1, CBCDes3DecryptData(key.data(), data.data(), 8, &pOut));
    EXPECT_EQ(nullptr, pOut);
}

} // namespace
