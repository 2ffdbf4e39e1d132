// SPDX-License-Identifier: Apache-2.0
//
// What goes into the calls of a desk and what comes out of them. C++17. Included by desk.hpp.
//
// Numbers are members, texts are functions. Views into a structure live as long as it does.

#ifndef PINDESK_DESKVALUES_HPP
#define PINDESK_DESKVALUES_HPP

#include "pindesk/deskterms.hpp"

#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// NOLINTBEGIN(readability-identifier-naming): named like what it is used with, the standard library
namespace pindesk {

/// A view of bytes in the caller's memory: a PIN, a PUK, an answer to reset.
class bytes {
public:
    constexpr bytes() = default;
    constexpr bytes(const unsigned char* data, std::size_t size) : m_data(data), m_size(size) {}
    /// The characters of a text, without its NUL.
    bytes(const char* text) : bytes(std::string_view(text)) {}
    /// Anything with data() and size() of one-byte elements: std::string, std::vector, std::array.
    template <class T, class = std::enable_if_t<sizeof(*std::declval<const T&>().data()) == 1>>
    bytes(const T& text)
        : m_data(reinterpret_cast<const unsigned char*>(text.data())), m_size(text.size())
    {
    }

    constexpr const unsigned char* data() const { return m_data; }
    constexpr std::size_t size() const { return m_size; }
    constexpr bool empty() const { return m_size == 0; }
    constexpr const unsigned char* begin() const { return m_data; }
    constexpr const unsigned char* end() const { return m_data + m_size; }
    operator pindesk_bytes() const { return {m_data, m_size}; }

private:
    const unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};

/// A Triple-DES key, K1 | K2 | K3, and a view of one in the caller's memory; or none.
using key_bytes = std::array<unsigned char, PINDESK_KEY_SIZE>;
class key_view {
public:
    constexpr key_view() = default;
    key_view(const key_bytes& key) : m_data(key.data()) {}
    constexpr key_view(const unsigned char (&key)[PINDESK_KEY_SIZE]) : m_data(key) {}
    constexpr const unsigned char* data() const { return m_data; } ///< null: none

private:
    const unsigned char* m_data = nullptr;
};

/// As a length of time: without end.
constexpr std::chrono::milliseconds without_end{PINDESK_FOREVER};

namespace details {

inline std::optional<int> told(std::int32_t number, std::int32_t not_told)
{
    return number == not_told ? std::nullopt : std::optional<int>(number);
}

template <std::size_t N> std::string_view view(const char (&text)[N])
{
    return {text, ::strnlen(text, N)};
}

/// Calls one of desk.h's functions of texts twice: for the length, and for the text.
template <class Get> std::string text(Get get)
{
    std::string whole(get(nullptr, std::size_t{0}), '\0');
    get(whole.data(), whole.size() + 1);
    return whole;
}

} // namespace details

/// What became of a call.
class report {
public:
    pindesk::operation operation{};
    pindesk::secret secret{}; ///< presented, or whose tries are told
    pindesk::secret target{}; ///< whose value or state the call changes
    pindesk::outcome outcome{};
    pindesk::detail detail{};
    pindesk::next next{};
    pindesk::in_force in_force{};                ///< which value `target` has now
    pindesk::state state{};                      ///< of `target` now
    pindesk::weakness weakness{};                ///< of the new value
    std::optional<int> tries_before, tries_left; ///< of `secret`; nothing: not told
    std::optional<int> code;                     ///< as the exported operation would return it
    std::optional<int> status_word;              ///< the card's word that decided
    int secrets_sent = 0;                        ///< commands with a secret that left for the card
    int exchanges = 0;                           ///< commands in all
    int slot = 0;                                ///< of the reader, from 1; 0: none was chosen
    std::chrono::milliseconds duration{};
    bool answer_lost = false;        ///< and the card was asked what holds
    bool started_again = false;      ///< after another program's reset
    bool left_verified = false;      ///< the secret stays verified for other programs
    bool admin_key_blocked = false;  ///< for good, by this call
    bool serial_not_checked = false; ///< the card has none: it is held to by its answer to reset

    /// \param language  that the texts are in
    report(const pindesk_report& raw, std::string_view language)
        : operation(static_cast<pindesk::operation>(raw.operation)),
          secret(static_cast<pindesk::secret>(raw.secret)),
          target(static_cast<pindesk::secret>(raw.target)),
          outcome(static_cast<pindesk::outcome>(raw.outcome)),
          detail(static_cast<pindesk::detail>(raw.detail)),
          next(static_cast<pindesk::next>(raw.next)),
          in_force(static_cast<pindesk::in_force>(raw.in_force)),
          state(static_cast<pindesk::state>(raw.state)),
          weakness(static_cast<pindesk::weakness>(raw.weakness)),
          tries_before(details::told(raw.tries_before, -1)),
          tries_left(details::told(raw.tries_left, -1)),
          code(details::told(raw.code, PINDESK_NO_CODE)),
          status_word(details::told(raw.status_word, -1)), secrets_sent(raw.secrets_sent),
          exchanges(raw.exchanges), slot(raw.slot), duration(raw.milliseconds),
          answer_lost((raw.notes & PINDESK_NOTE_ANSWER_LOST) != 0),
          started_again((raw.notes & PINDESK_NOTE_STARTED_AGAIN) != 0),
          left_verified((raw.notes & PINDESK_NOTE_LEFT_VERIFIED) != 0),
          admin_key_blocked((raw.notes & PINDESK_NOTE_ADMIN_KEY_BLOCKED) != 0),
          serial_not_checked((raw.notes & PINDESK_NOTE_SERIAL_NOT_CHECKED) != 0), m_raw(raw)
    {
        language.copy(m_language, sizeof m_language - 1);
    }

    /// Whether it is done.
    explicit operator bool() const { return outcome == pindesk::outcome::done; }

    /// What happened and what holds now, in one or two sentences.
    std::string text() const { return text(m_language); }
    std::string text(const char* language) const
    {
        return details::text([&](char* buffer, std::size_t size) {
            return pindesk_text(&m_raw, language, buffer, size);
        });
    }
    /// What to do next; may be empty.
    std::string advice() const { return advice(m_language); }
    std::string advice(const char* language) const
    {
        return details::text([&](char* buffer, std::size_t size) {
            return pindesk_advice(&m_raw, language, buffer, size);
        });
    }

    std::string_view reader() const { return details::view(m_raw.reader); } ///< as PC/SC gives it
    std::string_view serial() const { return details::view(m_raw.serial); } ///< empty: not read
    std::string_view holders() const { return details::view(m_raw.holders); }
    const pindesk_report& raw() const { return m_raw; } ///< as C has it

private:
    pindesk_report m_raw{};
    char m_language[36] = {}; // the longest tag that is in use has 35 characters
};

/// How a call is to be done.
struct options {
    key_view sm_key{}, admin_key{};    ///< without one, the desk's
    std::string language{};            ///< of the report: a BCP 47 tag; "" and unknown: English
    std::chrono::milliseconds wait{0}; ///< for a missing card; or without_end
    std::chrono::milliseconds timeout{
        30'000};                      ///< for programs, readers, a removed card; or without_end
    bool use_last_try = false;        ///< send a value although one try is left
    bool any_characters = false;      ///< values of printable ASCII instead of digits
    bool keep_verified = false;       ///< leave the card verified for every program
    bool no_secure_messaging = false; ///< signature secrets travel in clear
    bool use_admin_key = false;       ///< lock authenticates also without a key given
    bool reset_first = false;         ///< status resets a card that no other program uses
    /// Called each second from the third on, with what is waited for. It must not throw.
    std::function<void(const report& so_far)> waiting{};
};

/// Which card. Empty members: any.
struct wanted {
    std::string reader{}; ///< its name, or a part of it in any case
    std::string serial{}; ///< 16 characters
    int slot = 0;         ///< position in the list of readers, from 1
};

/// A reader, and what is seen of the card in it without a connection.
class reader {
public:
    int slot = 0; ///< from 1
    bool has_card = false, is_mute = false, is_in_use = false, is_exclusive = false;
    pindesk::kind kind{};

    reader() = default;
    explicit reader(const pindesk_reader& raw)
        : slot(raw.slot), has_card(raw.has_card != 0), is_mute(raw.is_mute != 0),
          is_in_use(raw.is_in_use != 0), is_exclusive(raw.is_exclusive != 0),
          kind(static_cast<pindesk::kind>(raw.kind)), m_raw(raw)
    {
    }
    std::string_view name() const { return details::view(m_raw.name); }
    std::string_view holders() const { return details::view(m_raw.holders); }
    bytes atr() const { return {m_raw.atr, m_raw.atr_size}; } ///< empty without a card

private:
    pindesk_reader m_raw{};
};

/// The card that a search has found, or why it has not.
class card {
public:
    pindesk::report report; ///< of the search
    pindesk::reader reader;
    std::optional<int> layout;                 ///< a value of namespace layout; of identify
    bool speaks_t0 = false, speaks_t1 = false; ///< as the answer to reset offers
    int clock_factor = 0, rate_factor = 0;     ///< Fi and Di; 0: reserved values
    int bits_per_second = 0;                   ///< at 4 MHz; 0 when a factor is reserved

    card(const pindesk_card& raw, pindesk::report searched)
        : report(searched), reader(raw.reader), layout(details::told(raw.layout, -1)),
          speaks_t0(raw.speaks_t0 != 0), speaks_t1(raw.speaks_t1 != 0),
          clock_factor(raw.clock_factor), rate_factor(raw.rate_factor),
          bits_per_second(raw.bits_per_second), m_raw(raw)
    {
    }
    /// Whether there is one.
    explicit operator bool() const { return static_cast<bool>(report); }
    /// Whether it can do an operation; after identify.
    bool can(operation what) const
    {
        return (m_raw.operations >> static_cast<int>(what) & 1U) != 0;
    }

    std::string_view chip() const { return details::view(m_raw.chip); } ///< empty: not known
    std::string_view historical() const { return details::view(m_raw.historical); }
    /// Empty: not read yet, or none. The card of each later call must have it.
    std::string_view serial() const { return details::view(m_raw.serial); }
    void hold_to(std::string_view serial)
    {
        m_raw.serial[serial.copy(m_raw.serial, sizeof m_raw.serial - 1)] = '\0';
    }

private:
    pindesk_card m_raw{};
};

/// One secret on a card.
struct secret_status {
    pindesk::secret secret{};
    pindesk::state state{};
    std::optional<int> tries_left;
    std::optional<int> status_word; ///< that the card answered to the question
};

/// One finding of a diagnosis. The texts live as long as the visit.
struct finding {
    std::string_view id; ///< stable and English
    int severity;        ///< 0: as it should be, 1: worth knowing, 2: a problem
    std::string_view reader, what, cause, remedy;
};

} // namespace pindesk
// NOLINTEND(readability-identifier-naming)

#endif
