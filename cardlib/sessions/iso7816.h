// SPDX-License-Identifier: Apache-2.0
//
// The names of ISO/IEC 7816-4's bytes and status words, with those that the card families add.
// Internal: no public header includes this.

#ifndef CARDLIB_SESSIONS_ISO7816_H
#define CARDLIB_SESSIONS_ISO7816_H

#include "cardlib/cktypes.h"

#include <cstdint>

namespace cla {
constexpr std::uint8_t ISO = 0x00;
constexpr std::uint8_t PROPRIETARY = 0x80; ///< CardOS M4 commands beside the standard ones
constexpr std::uint8_t ZT_KEY = 0x90;      ///< Zentaris34 key change
constexpr std::uint8_t GSM = 0xA0;         ///< GET RESPONSE as CardOS M4 wants it with T=0
constexpr std::uint8_t ZT_OBJECT = 0xB0;   ///< Zentaris34 handling of long key objects
} // namespace cla

namespace ins { // ISO/IEC 7816-4, -8 and -9 command names
constexpr std::uint8_t DEACTIVATE = 0x04, VERIFY = 0x20, MANAGE_SECURITY_ENVIRONMENT = 0x22;
constexpr std::uint8_t CHANGE_REFERENCE_DATA = 0x24, PERFORM_SECURITY_OPERATION = 0x2A;
constexpr std::uint8_t RESET_RETRY_COUNTER = 0x2C, ACTIVATE = 0x44, GENERATE_KEY_PAIR = 0x46;
constexpr std::uint8_t EXTERNAL_AUTHENTICATE = 0x82, GET_CHALLENGE = 0x84;
constexpr std::uint8_t INTERNAL_AUTHENTICATE = 0x88, SELECT = 0xA4, READ_BINARY = 0xB0;
constexpr std::uint8_t READ_RECORD = 0xB2, GET_RESPONSE = 0xC0, GET_DATA = 0xCA;
constexpr std::uint8_t UPDATE_BINARY = 0xD6, PUT_DATA = 0xDA, UPDATE_RECORD = 0xDC;
constexpr std::uint8_t CREATE_FILE = 0xE0, APPEND_RECORD = 0xE2, DELETE_FILE = 0xE4;
// CardOS M4's own (class 80)
constexpr std::uint8_t PHASE_CONTROL = 0x10, DIRECTORY = 0x16, GIVE_RANDOM = 0x86;
// Zentaris34's own (class B0)
constexpr std::uint8_t LOAD_KEY_FROM_FILE = 0xDE, EXTEND_OBJECT = 0xDF;
} // namespace ins

namespace p1 {
constexpr std::uint8_t SELECT_MF = 0x00, SELECT_PATH_FROM_MF = 0x08, SELECT_PATH_FROM_DF = 0x09;
constexpr std::uint8_t OLD_THEN_NEW = 0x00, NEW_ONLY = 0x01;
constexpr std::uint8_t MSE_SET = 0xF1, MSE_RESTORE = 0xF3; ///< MANAGE SECURITY ENVIRONMENT
constexpr std::uint8_t COMPUTE_SIGNATURE = 0x9E;           ///< PERFORM SECURITY OPERATION
constexpr std::uint8_t CARD_DATA = 0x01;                   ///< GET DATA and PUT DATA of CardOS M4
} // namespace p1

namespace p2 {
constexpr std::uint8_t SELECT_FCI = 0x00, SELECT_NO_ANSWER = 0x0C;
constexpr std::uint8_t LOCAL_REFERENCE = 0x80; ///< the secret is searched from the current DF
constexpr std::uint8_t DATA_TO_SIGN = 0x9A;    ///< after p1::COMPUTE_SIGNATURE
constexpr std::uint8_t CARD_VERSION = 0x82, LIFE_CYCLE = 0x83; ///< after p1::CARD_DATA
} // namespace p2

namespace sw {
constexpr std::uint16_t SUCCESS = 0x9000, END_OF_FILE = 0x6282, NO_FCI = 0x6284;
constexpr std::uint16_t FIRST_ERROR = 0x6400, LAST_ERROR = 0x6FFF;
constexpr std::uint16_t WRONG_LENGTH = 0x6700, AUTH_BLOCKED = 0x6983;
constexpr std::uint16_t SM_OBJECTS_MISSING = 0x6987, SM_OBJECTS_WRONG = 0x6988;
constexpr std::uint16_t WRONG_DATA = 0x6A80, NO_SUCH_OBJECT_FUNCTION = 0x6A81;
constexpr std::uint16_t FILE_NOT_FOUND = 0x6A82, RECORD_NOT_FOUND = 0x6A83;
constexpr std::uint16_t NOT_ENOUGH_MEMORY = 0x6A84, WRONG_OFFSET = 0x6B00, NO_DIAGNOSIS = 0x6F00;
} // namespace sw

namespace pso {                                 // PERFORM SECURITY OPERATION, ISO/IEC 7816-8
constexpr std::uint16_t DECIPHER = 0x8086;      ///< P1 P2: plain value back, cryptogram in
constexpr std::uint8_t PADDING_NOT_TOLD = 0x00; ///< in front of a cryptogram
} // namespace pso

/// Control reference templates and their key references, ISO/IEC 7816-4.
namespace crt {
constexpr std::uint8_t KEY_REFERENCE = 0x83, PRIVATE_KEY_REFERENCE = 0x84;
}

namespace tag { // file control information, ISO/IEC 7816-4
constexpr std::uint8_t FCI = 0x6F, SIZE = 0x80, DESCRIPTOR = 0x82, FID = 0x83, ACCESS = 0x86;
constexpr std::uint8_t TOTAL_SIZE = 0x81, NEXT = 0x8A;
constexpr std::uint8_t OBJECT = 0x6E; ///< security object, in PUT DATA
} // namespace tag

/// What the sessions answer by themselves, beside _M4_errorcodes.
namespace refusal {
constexpr long NO_CARD = -1;          ///< no valid card is bound
constexpr long MISSING_ARGUMENT = -1; ///< a required argument is null or empty
constexpr long NOT_SUPPORTED = -1;    ///< another card family's command
constexpr long WRONG_ANSWER = -1;     ///< the card's answer is none of the possible ones
constexpr long BAD_ARGUMENTS = 7;     ///< the PKCS#11 code, in the base session alone
} // namespace refusal

#endif
