// SPDX-License-Identifier: Apache-2.0
//
// What a call was asked for, in the desk's own memory: its thread may outlive the caller's. Internal.

#ifndef DESK_REQUEST_H
#define DESK_REQUEST_H

#include "cardlib/support/secret.h"
#include "pindesk/desk.h"

#include <chrono>
#include <optional>
#include <string>

namespace desk {

/// A PIN or PUK of at most 8 bytes, wiped when it goes.
class CValue {
public:
    /// \param value  of a length that was checked.
    void Take(pindesk_bytes value)
    {
        m_cb = m_block.Assign(value.data, value.size, 0x00) ? value.size : 0;
    }
    void Wipe()
    {
        explicit_bzero(m_block.data(), CPinBlock::size());
        m_cb = 0;
    }
    const unsigned char* data() const { return m_block.data(); }
    std::size_t size() const { return m_cb; }

private:
    CPinBlock m_block;
    std::size_t m_cb = 0;
};

/// A Triple-DES key, or none.
class CKey {
public:
    void Take(const unsigned char* pb)
    {
        m_bGiven = pb != nullptr;
        (void)m_key.Assign(pb, m_bGiven ? CTdesKey::size() : 0, 0x00); // of its size
    }
    void Wipe()
    {
        explicit_bzero(m_key.data(), CTdesKey::size());
        m_bGiven = false;
    }
    /// Null when there is none.
    const unsigned char* data() const { return m_bGiven ? m_key.data() : nullptr; }

private:
    CTdesKey m_key;
    bool m_bGiven = false;
};

struct SRequest {
    pindesk_operation eOperation = PINDESK_OP_LOOK;
    pindesk_secret eSecret = PINDESK_CNS_PIN; ///< presented
    pindesk_secret eTarget = PINDESK_CNS_PIN; ///< whose value or state is to change
    CValue value;                             ///< presented
    CValue newValue;

    std::string strReader;
    std::string strSerial;
    long lSlot = 0;
    std::optional<std::chrono::milliseconds> wait{0};        ///< nothing: for ever
    std::optional<std::chrono::milliseconds> timeout{30000}; ///< likewise
    std::uint32_t ulFlags = 0;
    CKey smKey;
    CKey adminKey;

    void Wipe()
    {
        value.Wipe();
        newValue.Wipe();
        smKey.Wipe();
        adminKey.Wipe();
    }
    bool Wants(std::uint32_t ulFlag) const { return (ulFlags & ulFlag) != 0; }
};

} // namespace desk

#endif
