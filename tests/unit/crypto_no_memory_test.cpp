// SPDX-License-Identifier: Apache-2.0
//
// What the cryptographic helpers do when there is no memory for the buffer they return.

#include <gtest/gtest.h>
#include <new>
#include <utility>

#include "cardlib/crypt.h"
#include "cardlib/pkcs1.h"
#include "cardlib/sm_sig_enc.h"
#include "tests/support/scripted_pcsc.h"

namespace {

std::size_t g_cbMost = std::size_t{1} << 32; // above it a sanitizer would end the program

} // namespace

// Replaces the form that the library uses for them. The memory comes from the usual one, so that
// the sanitizer still pairs new and delete.
void* operator new[](std::size_t cb, const std::nothrow_t&) noexcept
try {
    return cb > g_cbMost ? nullptr : ::operator new[](cb);
} catch (const std::bad_alloc&) {
    return nullptr;
}

namespace {

class NoMemory : public testing::Test {
protected:
    void SetUp() override { std::swap(m_cbMost, g_cbMost); }
    void TearDown() override { std::swap(m_cbMost, g_cbMost); }

    std::size_t m_cbMost = 0;
    const Bytes m_key = Bytes(24, 0x42);
    const Bytes m_data = FromHex("81 06 01 02 03 04 05 06");
    unsigned long m_cb = 8;
};

TEST_F(NoMemory, BuffersAreNullAndLengthsStay)
{
    unsigned char mac[8];
    EXPECT_EQ(nullptr, IsoPad(m_data.data(), &m_cb));
    EXPECT_EQ(nullptr, AnsiPad(m_data.data(), &m_cb));
    EXPECT_EQ(nullptr, DES3_IsoPadded(m_key.data(), m_data.data(), &m_cb));
    EXPECT_EQ(nullptr, UNDES3_IsoPadded(m_key.data(), m_data.data(), &m_cb));
    EXPECT_EQ(nullptr, SMx4_SIG(m_key.data(), 0, 0, 0, 0, m_data.data(), &m_cb, mac));
    EXPECT_EQ(nullptr, SMx4_SIG_ENC(m_key.data(), 0, 0, 0, 0, m_data.data(), &m_cb));
    EXPECT_EQ(nullptr, NormalizeASN1Integer(m_data.data(), &m_cb));
    EXPECT_EQ(8U, m_cb);

    // envelopes and buffers report no length
    EXPECT_EQ(nullptr, SMxC_ENC_SIG(m_key.data(), m_key.data(), nullptr, 0, 0, 0, 0, m_data.data(),
                                    8, 0, &m_cb));
    EXPECT_EQ(0U, m_cb);
    BOOL bVerified = 0, bDecoded = 0;
    EXPECT_EQ(nullptr, SMxC_VRF_DEC(m_key.data(), m_key.data(), nullptr, 0, 0, 0, 0, m_data.data(),
                                    8, m_cb, bVerified, bDecoded));
    EXPECT_EQ(0U, m_cb);

    unsigned char* pOut = nullptr;
    EXPECT_EQ(-1, CBCDes3EncryptData(m_key.data(), m_data.data(), 8, &pOut));
    EXPECT_EQ(-1, CBCDes3DecryptData(m_key.data(), m_data.data(), 8, &pOut));
    EXPECT_EQ(nullptr, pOut);
}

} // namespace
