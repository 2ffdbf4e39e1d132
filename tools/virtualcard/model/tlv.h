// SPDX-License-Identifier: Apache-2.0
//
// The card's data objects: one tag byte, one length byte of 0 to 255 (never a BER long form), the
// value. Used by descriptors, security objects and the secure-messaging envelope.
#ifndef TOOLS_VIRTUALCARD_MODEL_TLV_H
#define TOOLS_VIRTUALCARD_MODEL_TLV_H

#include "model/bytes.h"

namespace vcard {

namespace tag {
constexpr std::uint8_t TEMPLATE = 0x6F, SIZE_WITH_HEADERS = 0x80, SIZE = 0x81, DESCRIPTOR = 0x82,
                       IDENTIFIER = 0x83, PARAMETERS = 0x85, ACCESS = 0x86, NEXT = 0x8A,
                       SM_CONDITIONS = 0x8B, VALUE = 0x8F;
constexpr std::uint8_t SM_CRYPTOGRAM = 0x87, SM_CHECKSUM = 0x8E;
} // namespace tag

/// One data object inside a buffer that outlives it.
struct SDataObject {
    std::uint8_t bTag = 0;
    ByteView value;
    ByteView whole; ///< tag, length and value
};

/// The chain of data objects that fills a buffer exactly; empty for an empty buffer.
class CDataObjects {
public:
    /// Throws SRefusal with the given status word when the chain doesn't fill the buffer.
    CDataObjects(ByteView buffer, std::uint16_t wRefusal);

    /// The first object of a tag, or null.
    const SDataObject* Find(std::uint8_t bTag) const;

    /// The value of the first object of a tag. Throws SRefusal (the constructor's status word)
    /// when there is none or it has fewer than cbMinimum bytes.
    ByteView Value(std::uint8_t bTag, std::size_t cbMinimum) const;

private:
    std::vector<SDataObject> m_objects;
    std::uint16_t m_wRefusal;
};

/// Appends tag, length and value; the value has at most 255 bytes.
void AppendObject(Bytes& to, std::uint8_t bTag, ByteView value);

} // namespace vcard

#endif
