// SPDX-License-Identifier: Apache-2.0
//
// Numbers of the card standard: instruction bytes and status words of ISO/IEC 7816-4 and -8, and
// the card's own instructions, each named once.
#ifndef TOOLS_VIRTUALCARD_MODEL_ISO7816_H
#define TOOLS_VIRTUALCARD_MODEL_ISO7816_H

#include <cstddef>
#include <cstdint>
#include <exception>

namespace vcard {

namespace cla {
constexpr std::uint8_t ISO = 0x00, CARD = 0x80, CARD_KEY = 0x90, CARD_RSA = 0xB0;
constexpr std::uint8_t GSM = 0xA0;       // GET RESPONSE comes under it too
constexpr std::uint8_t PROTECTED = 0x0C; // both secure-messaging bits of the class byte
} // namespace cla

namespace ins { // ISO/IEC 7816-4, -8 and -9
constexpr std::uint8_t DEACTIVATE = 0x04, VERIFY = 0x20, MANAGE_SECURITY_ENVIRONMENT = 0x22,
                       CHANGE_REFERENCE_DATA = 0x24, PERFORM_SECURITY_OPERATION = 0x2A,
                       RESET_RETRY_COUNTER = 0x2C, ACTIVATE = 0x44, GENERATE_KEY_PAIR = 0x46,
                       EXTERNAL_AUTHENTICATE = 0x82, GET_CHALLENGE = 0x84,
                       INTERNAL_AUTHENTICATE = 0x88, SELECT = 0xA4, READ_BINARY = 0xB0,
                       READ_RECORD = 0xB2, GET_RESPONSE = 0xC0, GET_DATA = 0xCA,
                       UPDATE_BINARY = 0xD6, PUT_DATA = 0xDA, UPDATE_RECORD = 0xDC,
                       CREATE_FILE = 0xE0, APPEND_RECORD = 0xE2, DELETE_FILE = 0xE4;
// The card's own, each with the class byte it comes under.
constexpr std::uint8_t TOGGLE_LIFE_CYCLE = 0x10, LIST_FILES = 0x16, GIVE_RANDOM = 0x86,
                       EXPORT_PUBLIC_KEY = 0xF0;                  // 80
constexpr std::uint8_t CHANGE_KEY_DATA = 0x24;                    // 90
constexpr std::uint8_t LOAD_RSA_KEY = 0xDE, EXTEND_OBJECT = 0xDF; // B0
} // namespace ins

namespace sw {
constexpr std::size_t LENGTH = 2;
constexpr std::uint16_t SUCCESS = 0x9000, MORE_DATA = 0x6100, END_OF_FILE = 0x6282,
                        FILE_DEACTIVATED = 0x6283, WRONG_SECRET = 0x63C0, WRONG_LENGTH = 0x6700,
                        NO_SM_HERE = 0x6882, INCOMPATIBLE_FILE = 0x6981, NOT_ALLOWED = 0x6982,
                        BLOCKED = 0x6983, DEACTIVATED = 0x6984, CONDITIONS = 0x6985,
                        NO_CURRENT_EF = 0x6986, SM_OBJECTS_MISSING = 0x6987,
                        SM_OBJECTS_WRONG = 0x6988, WRONG_DATA = 0x6A80, FILE_NOT_FOUND = 0x6A82,
                        RECORD_NOT_FOUND = 0x6A83, NO_MEMORY = 0x6A84, WRONG_P1P2 = 0x6A86,
                        OBJECT_NOT_FOUND = 0x6A88, FILE_EXISTS = 0x6A89, WRONG_OFFSET = 0x6B00,
                        WRONG_LE = 0x6C00, UNKNOWN_INS = 0x6D00, UNKNOWN_CLA = 0x6E00,
                        INTERNAL = 0x6F00;
} // namespace sw

/// Thrown by a command that the card refuses; the dispatcher turns it into a bare status word.
struct SRefusal : std::exception {
    explicit SRefusal(std::uint16_t wSw) : wStatus(wSw) {}
    const char* what() const noexcept override { return "the card refuses the command"; }
    std::uint16_t wStatus;
};

/// Refuses with the status word unless the condition holds.
inline void Require(bool bCondition, std::uint16_t wStatus)
{
    if (!bCondition) {
        throw SRefusal(wStatus);
    }
}

} // namespace vcard

#endif
