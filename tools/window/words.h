// SPDX-License-Identifier: Apache-2.0
//
// Everything that the window says, in the language of the moment. What became of a call is said by
// the desk; texts of the window's own come from the same catalogue.

#ifndef TOOLS_WINDOW_WORDS_H
#define TOOLS_WINDOW_WORDS_H

#include "desk/words.h"
#include "pindesk/desk.hpp"

#include <QString>

namespace window {

/// Of the interface's thread, as are all texts.
void SetLanguage(std::string strTag);
const std::string& Language();

/// A text of the window with its gaps filled.
/// \param szText  English, as in the catalogue.
QString Phrase(const char* szText, std::initializer_list<desk::SGap> gaps = {});

QString TextOf(const pindesk::report& report);
QString AdviceOf(const pindesk::report& report);
/// What a secret, its state, a kind of card or a weakness is called.
template <class What> QString NameOf(const What& what)
{
    return QString::fromStdString(pindesk::text(what, Language()));
}
QString LayoutOf(const pindesk::card& card);
/// The name of a reader, with what cannot be shown as escapes.
QString NameOf(const pindesk::reader& reader);
/// "6 to 8 digits".
QString LengthOf(pindesk::secret eSecret);

} // namespace window

#endif
