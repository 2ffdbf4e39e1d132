// SPDX-License-Identifier: Apache-2.0
//
// Walking and writing chains of data objects.
#include "model/tlv.h"

#include "model/iso7816.h"

#include <algorithm>

namespace vcard {

CDataObjects::CDataObjects(ByteView buffer, std::uint16_t wRefusal) : m_wRefusal(wRefusal)
{
    while (!buffer.empty()) {
        Require(buffer.size() >= 2 && buffer.size() - 2 >= buffer[1], wRefusal);
        const std::size_t cb = buffer[1];
        m_objects.push_back({buffer[0], buffer.subspan(2, cb), buffer.first(2 + cb)});
        buffer = buffer.subspan(2 + cb);
    }
}

const SDataObject* CDataObjects::Find(std::uint8_t bTag) const
{
    const auto it = std::find_if(m_objects.begin(), m_objects.end(),
                                 [bTag](const SDataObject& object) { return object.bTag == bTag; });
    return it == m_objects.end() ? nullptr : &*it;
}

ByteView CDataObjects::Value(std::uint8_t bTag, std::size_t cbMinimum) const
{
    const SDataObject* pObject = Find(bTag);
    Require(pObject != nullptr && pObject->value.size() >= cbMinimum, m_wRefusal);
    return pObject->value;
}

void AppendObject(Bytes& to, std::uint8_t bTag, ByteView value)
{
    to.push_back(bTag);
    to.push_back(Low(value.size()));
    Append(to, value);
}

} // namespace vcard
