// SPDX-License-Identifier: Apache-2.0
//
// The parts that profiles are put together from: files and security objects with their usual
// conditions.
#ifndef TOOLS_VIRTUALCARD_MODEL_PARTS_H
#define TOOLS_VIRTUALCARD_MODEL_PARTS_H

#include "model/file.h"

#include <string>

namespace vcard::parts {

/// Access conditions of a file, named for what they are for.
enum class EOpenTo {
    EVERYBODY, ///< all 00: read, write, administer, delete
    READERS    ///< read by everybody, all else never
};

SFile Df(std::uint16_t wFid, std::list<SFile> children = {});
/// A transparent EF with this content, zero-filled to at least cbSize bytes.
SFile TransparentEf(std::uint16_t wFid, Bytes content, EOpenTo openTo, std::size_t cbSize = 0);
/// A record EF; bRecordSize is 0 for TLV records, wSize the room for all of them.
SFile RecordEf(std::uint16_t wFid, EFileType type, std::uint8_t bRecordSize, std::uint16_t wSize,
               std::vector<Bytes> records);

/// A PIN or PUK: changed by whoever has verified it, unblocked with bUnblock, deactivated and
/// activated under the two conditions.
struct SPin {
    const char* szName;
    std::uint8_t bId;
    const char* szValue;
    std::uint8_t bTries;
    std::uint8_t bUnblock;
    std::uint8_t bDeactivate = access::NEVER;
    std::uint8_t bActivate = access::NEVER;
};
SSecurityObject Pin(const SPin& pin);

/// A Triple-DES key of 24 bytes; bTries is 0 for a secure-messaging key.
SSecurityObject Des3Key(const char* szName, std::uint8_t bClass, std::uint8_t bId, const Bytes& key,
                        std::uint8_t bTries);

/// An RSA private key that everybody may use; the key block as in rsa.h.
SSecurityObject RsaKey(const char* szName, std::uint8_t bId, const Bytes& keyBlock);

} // namespace vcard::parts

#endif
