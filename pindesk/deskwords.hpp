// SPDX-License-Identifier: Apache-2.0
//
// Words and names for what desk.h has numbers for. C++17. Included by desk.hpp.
//
// Texts are for persons, in a language given as a BCP 47 tag; names are for programs, English and
// stable.

#ifndef PINDESK_DESKWORDS_HPP
#define PINDESK_DESKWORDS_HPP

#include "pindesk/deskvalues.hpp"

// NOLINTBEGIN(readability-identifier-naming): named like what it is used with, the standard library
namespace pindesk {

namespace details {

/// A text of a function of desk.h whose first argument is a number.
template <class Function, class Number>
std::string text_of(Function function, Number number, const std::string& language)
{
    return text([&](char* buffer, std::size_t size) {
        return function(number, language.c_str(), buffer, size);
    });
}

} // namespace details

/// The name of a secret: "CNS PIN".
inline std::string text(secret what, const std::string& language = {})
{
    return details::text_of(pindesk_secret_title, static_cast<pindesk_secret>(what), language);
}
/// Why a value is weak; empty if it is not.
inline std::string text(weakness why, const std::string& language = {})
{
    return details::text_of(pindesk_weakness_text, static_cast<pindesk_weakness>(why), language);
}
inline std::string text(kind what, const std::string& language = {})
{
    return details::text_of(pindesk_kind_text, static_cast<pindesk_kind>(what), language);
}
/// What an outcome means, and so an exit status of the tool.
inline std::string text(outcome what, const std::string& language = {})
{
    return details::text_of(pindesk_outcome_text, static_cast<pindesk_outcome>(what), language);
}
/// The state of a secret: "3 tries are left".
inline std::string text(const secret_status& status, const std::string& language = {})
{
    const pindesk_secret_status raw{sizeof raw, static_cast<pindesk_secret>(status.secret),
                                    static_cast<pindesk_state>(status.state),
                                    status.tries_left.value_or(-1),
                                    status.status_word.value_or(-1)};
    return details::text_of(pindesk_state_text, &raw, language);
}
/// A layout of PCSC_Misc.h.
inline std::string layout_text(int layout, const std::string& language = {})
{
    return details::text_of(pindesk_layout_text, layout, language);
}
/// What a result code of the exported operations means; empty for an unknown one.
inline std::string code_text(int code, const std::string& language = {})
{
    return details::text_of(pindesk_code_text, code, language);
}
inline std::string code_advice(int code, const std::string& language = {})
{
    return details::text_of(pindesk_code_advice, code, language);
}
/// What the advice names.
inline next code_next(int code)
{
    return static_cast<next>(pindesk_code_next(code));
}
inline outcome code_outcome(int code)
{
    return static_cast<outcome>(pindesk_code_outcome(code));
}
/// What a status word of a card means; empty for an unknown one.
inline std::string status_word_text(std::uint16_t status_word, const std::string& language = {})
{
    return details::text_of(pindesk_status_word_text, status_word, language);
}

inline std::string_view name(outcome what)
{
    return pindesk_outcome_name(static_cast<pindesk_outcome>(what));
}
inline std::string_view name(detail what)
{
    return pindesk_detail_name(static_cast<pindesk_detail>(what));
}
inline std::string_view name(next what)
{
    return pindesk_next_name(static_cast<pindesk_next>(what));
}
inline std::string_view name(secret what)
{
    return pindesk_secret_name(static_cast<pindesk_secret>(what));
}
inline std::string_view name(state what)
{
    return pindesk_state_name(static_cast<pindesk_state>(what));
}
inline std::string_view name(in_force what)
{
    return pindesk_in_force_name(static_cast<pindesk_in_force>(what));
}
inline std::string_view name(weakness what)
{
    return pindesk_weakness_name(static_cast<pindesk_weakness>(what));
}
inline std::string_view name(kind what)
{
    return pindesk_kind_name(static_cast<pindesk_kind>(what));
}
inline std::string_view name(event what)
{
    return pindesk_event_name(static_cast<pindesk_event>(what));
}

/// The version of the library that runs.
inline std::string_view version()
{
    return pindesk_version();
}

} // namespace pindesk
// NOLINTEND(readability-identifier-naming)

#endif
