// SPDX-License-Identifier: Apache-2.0
//
// Every text that a person sees goes through here. The English text is the key of the catalogue;
// translations come from the files under po/, compiled into the library. Internal.
//
// Texts name their gaps: "There is no card in {reader}." The words that fill them may stand in
// another order in another language. Texts in tables are marked with Msg() and looked up when they
// are used.

#ifndef DESK_WORDS_H
#define DESK_WORDS_H

#include <initializer_list>
#include <string>
#include <string_view>

namespace desk {

/// Marks a text for the catalogue where it stands; looked up later with Tr().
constexpr const char* Msg(const char* szText)
{
    return szText;
}

/// The text in a language.
/// \param szLanguage  a BCP 47 tag ("it", "it-IT", any case); null, empty or a language that is not
///                    there gives the text itself.
/// \param szText      English, as in the catalogue. An empty one stays empty.
/// \return text that lives as long as the program.
const char* Tr(const char* szLanguage, const char* szText);

/// The text for a number, by the plural rule of the language.
/// \param szOne, szMany  the English texts for 1 and for any other number; the first is the key.
const char* TrN(const char* szLanguage, const char* szOne, const char* szMany,
                unsigned long ulCount);

/// A gap of a text and what goes into it.
struct SGap {
    const char* szName; ///< without its braces
    std::string strValue;
};

/// Fills the gaps. A gap that is not named here stays as it is; control bytes and bytes that are no
/// UTF-8 within the values become \xNN, since some values come from readers and cards.
std::string Fill(std::string_view text, std::initializer_list<SGap> gaps);

/// A value of errno for a file, in words that stand behind a colon: "it is a directory".
std::string ReasonText(const char* szLanguage, int iError);

} // namespace desk

#endif
