// SPDX-License-Identifier: Apache-2.0

#include "tools/window/words.h"

namespace window {

namespace {

QString g_strLanguage;

/// What a function of the desk writes in the language of the moment.
template <class About>
QString Written(std::size_t (*write)(About, const char*, char*, std::size_t),
                std::type_identity_t<About> about)
{
    const QByteArray language = g_strLanguage.toUtf8();
    std::string text(write(about, language.constData(), nullptr, 0), '\0');
    write(about, language.constData(), text.data(), text.size() + 1);
    return QString::fromStdString(text);
}

} // namespace

void SetLanguage(const QString& strTag)
{
    g_strLanguage = strTag;
}

const QString& Language()
{
    return g_strLanguage;
}

QString Phrase(const char* szText, std::initializer_list<desk::SGap> gaps)
{
    const QByteArray language = g_strLanguage.toUtf8();
    return QString::fromStdString(desk::Fill(desk::Tr(language.constData(), szText), gaps));
}

QString TextOf(const pindesk_report& report)
{
    return Written(pindesk_text, &report);
}

QString AdviceOf(const pindesk_report& report)
{
    return Written(pindesk_advice, &report);
}

QString TitleOf(pindesk_secret eSecret)
{
    return Written(pindesk_secret_title, eSecret);
}

QString StateOf(const pindesk_secret_status& status)
{
    return Written(pindesk_state_text, &status);
}

QString WeaknessOf(pindesk_weakness eWeakness)
{
    return Written(pindesk_weakness_text, eWeakness);
}

QString KindOf(pindesk_kind eKind)
{
    return Written(pindesk_kind_text, eKind);
}

QString LayoutOf(std::int32_t lLayout)
{
    return Written(pindesk_layout_text, lLayout);
}

QString NameOf(const pindesk_reader& reader)
{
    return QString::fromStdString(desk::Fill("{reader}", {{"reader", reader.name}}));
}

QString LengthOf(pindesk_secret eSecret)
{
    std::int32_t lMin = 0;
    std::int32_t lMax = 0;
    pindesk_limits(eSecret, &lMin, &lMax);
    const std::string strMax = std::to_string(lMax);
    return lMin == lMax
               ? Phrase("{max} digits", {{"max", strMax}})
               : Phrase("{min} to {max} digits", {{"min", std::to_string(lMin)}, {"max", strMax}});
}

} // namespace window
