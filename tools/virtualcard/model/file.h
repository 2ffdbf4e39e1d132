// SPDX-License-Identifier: Apache-2.0
//
// Files of the card: what a DF or EF is made of, and the descriptor (file control information)
// that SELECT shows and that CREATE FILE and PUT DATA write.
#ifndef TOOLS_VIRTUALCARD_MODEL_FILE_H
#define TOOLS_VIRTUALCARD_MODEL_FILE_H

#include "model/security_object.h"

#include <array>
#include <list>

namespace vcard {

enum class EFileType : std::uint8_t { // the file descriptor byte
    TRANSPARENT = 0x01,
    LINEAR_FIXED = 0x02,
    LINEAR_TLV = 0x05,
    CYCLIC = 0x06,
    DF = 0x38
};

/// True for the descriptor bytes above.
bool IsFileType(std::uint8_t b);
/// True for the types whose records all have one size.
bool HasFixedRecords(EFileType type);

constexpr std::uint16_t FID_MF = 0x3F00;

/// Positions in the nine access bytes; the first and the eighth mean different things.
namespace file_access {
constexpr std::size_t READ = 0, UPDATE = 1, APPEND = 2, DEACTIVATE = 3, ACTIVATE = 4, REMOVE = 5,
                      ADMIN = 6, CREATE = 7, COUNT = 9;
constexpr std::size_t LIFE_CYCLE = 0; // of a DF
constexpr std::size_t SM_COUNT = 24;  // secure-messaging bytes that may follow
} // namespace file_access

struct SFile {
    std::uint16_t wFid = 0;
    EFileType type = EFileType::TRANSPARENT;
    std::uint16_t wSize = 0; ///< bytes of a transparent EF, room for the records of another
    std::uint8_t bRecordSize = 0;
    std::uint8_t bFlags = 0;
    std::uint16_t wBodySize = 0; ///< of a DF, as its creator wrote it
    std::array<std::uint8_t, file_access::COUNT> abAccess{};
    Bytes abSm; ///< 24 secure-messaging bytes, or none
    bool bActive = true;

    Bytes abBody;                       ///< transparent EF: wSize bytes
    std::vector<Bytes> records;         ///< record EF; of a cyclic one the newest comes first
    std::list<SFile> children;          ///< DF; addresses stay valid while others come and go
    std::list<SSecurityObject> objects; ///< DF

    bool IsDf() const { return type == EFileType::DF; }
    bool IsTransparent() const { return type == EFileType::TRANSPARENT; }
    SFile* Child(std::uint16_t wChildFid);
    /// Bytes that this file and everything below it take of the card's memory.
    std::size_t Footprint() const;
};

/// The descriptor in its 6F template, as SELECT gives it.
Bytes Describe(const SFile& file);

/// A new file from the body of a 6F template, a transparent one filled with zeros.
/// Throws SRefusal(6A80) when an object is missing, too short or names no file type.
SFile FileFromDescriptor(ByteView body);

/// Replaces the access bytes, and the secure-messaging bytes when they are there.
/// Throws SRefusal(6A80) on a body that isn't a chain of objects with nine access bytes or more.
void RewriteConditions(SFile& file, ByteView body);

} // namespace vcard

#endif
