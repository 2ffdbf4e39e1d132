// SPDX-License-Identifier: Apache-2.0

#include "tools/window/words.h"

namespace window {

namespace {

std::string g_strLanguage;

} // namespace

void SetLanguage(std::string strTag)
{
    g_strLanguage = std::move(strTag);
}

const std::string& Language()
{
    return g_strLanguage;
}

QString Phrase(const char* szText, std::initializer_list<desk::SGap> gaps)
{
    return QString::fromStdString(desk::Fill(desk::Tr(g_strLanguage.c_str(), szText), gaps));
}

QString TextOf(const pindesk::report& report)
{
    return QString::fromStdString(report.text(g_strLanguage.c_str()));
}

QString AdviceOf(const pindesk::report& report)
{
    return QString::fromStdString(report.advice(g_strLanguage.c_str()));
}

QString LayoutOf(const pindesk::card& card)
{
    return QString::fromStdString(pindesk::layout_text(card.layout.value_or(-1), g_strLanguage));
}

QString NameOf(const pindesk::reader& reader)
{
    return QString::fromStdString(desk::Fill("{reader}", {{"reader", std::string(reader.name())}}));
}

QString LengthOf(pindesk::secret eSecret)
{
    const auto [iMin, iMax] = pindesk::limits(eSecret);
    const std::string max = std::to_string(iMax);
    return iMin == iMax
               ? Phrase("{max} digits", {{"max", max}})
               : Phrase("{min} to {max} digits", {{"min", std::to_string(iMin)}, {"max", max}});
}

} // namespace window
