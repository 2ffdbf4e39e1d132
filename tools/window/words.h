// SPDX-License-Identifier: Apache-2.0
//
// Everything that the window says, in the language of the moment. What became of a call is said by
// the desk; texts of the window's own come from the same catalogue.

#ifndef TOOLS_WINDOW_WORDS_H
#define TOOLS_WINDOW_WORDS_H

#include "desk/words.h"
#include "pindesk/desk.h"

#include <QString>

namespace window {

/// Of the interface's thread, as are all texts.
void SetLanguage(const QString& strTag);
const QString& Language();

/// A text of the window with its gaps filled.
/// \param szText  English, as in the catalogue.
QString Phrase(const char* szText, std::initializer_list<desk::SGap> gaps = {});

QString TextOf(const pindesk_report& report);
QString AdviceOf(const pindesk_report& report);
QString TitleOf(pindesk_secret eSecret);
QString StateOf(const pindesk_secret_status& status);
QString WeaknessOf(pindesk_weakness eWeakness);
QString KindOf(pindesk_kind eKind);
QString LayoutOf(std::int32_t lLayout);
/// The name of a reader, with what cannot be shown as escapes.
QString NameOf(const pindesk_reader& reader);
/// "6 to 8 digits".
QString LengthOf(pindesk_secret eSecret);

} // namespace window

#endif
