// SPDX-License-Identifier: Apache-2.0
//
// Looks texts up in catalogues of GNU's MO format. A catalogue is ours and was checked when it was
// made, so nothing in it is doubted here.

#include "desk/words.h"

#include "desk/catalogue.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>

namespace desk {

namespace {

// Offsets in the head of a catalogue, and the size of an entry of its two tables: length, offset.
constexpr std::size_t COUNT_AT = 8, TEXTS_AT = 12, TRANSLATIONS_AT = 16, ENTRY = 8;

std::uint32_t Number(const Catalogue& catalogue, std::size_t at)
{
    std::uint32_t number = 0;
    std::memcpy(&number, catalogue.bytes + at, sizeof number);
    return number;
}

// Where a text has a singular and a plural, a NUL stands between them.
const char* Entry(const Catalogue& catalogue, std::size_t table, std::size_t index)
{
    const std::size_t at = Number(catalogue, table) + index * ENTRY + sizeof(std::uint32_t);
    return reinterpret_cast<const char*>(catalogue.bytes + Number(catalogue, at));
}

const char* Translation(const Catalogue& catalogue, const char* text)
{
    std::size_t first = 0;
    std::size_t last = Number(catalogue, COUNT_AT);
    while (first < last) {
        const std::size_t middle = (first + last) / 2;
        const int order = std::strcmp(Entry(catalogue, TEXTS_AT, middle), text);
        if (order == 0) {
            return Entry(catalogue, TRANSLATIONS_AT, middle);
        }
        (order < 0 ? first : last) = order < 0 ? middle + 1 : middle;
    }
    return nullptr;
}

// How many of the first bytes are one UTF-8 character that may be shown; 0 when they are none.
std::size_t ShownAsOne(std::string_view bytes)
{
    const auto at = [bytes](std::size_t i) {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
    };
    const unsigned lead = at(0);
    if (lead < 0x80) {
        return lead >= 0x20 && lead != 0x7F ? 1 : 0;
    }
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    constexpr unsigned SMALLEST[] = {0, 0, 0xA0, 0x800, 0x10000}; // U+0080 to U+009F are controls
    unsigned character = lead & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((at(i) & 0xC0U) != 0x80U) {
            return 0;
        }
        character = character << 6 | (at(i) & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    const bool isOne = lead >= 0xC2 && lead <= 0xF4 && character >= SMALLEST[size] &&
                       character <= 0x10FFFF && !isSurrogate;
    return isOne ? size : 0;
}

void AppendShown(std::string& text, std::string_view value)
{
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    while (!value.empty()) {
        const std::size_t size = ShownAsOne(value);
        if (size == 0) {
            const auto byte = static_cast<unsigned char>(value.front());
            text += {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0x0F]};
        }
        text += value.substr(0, size);
        value.remove_prefix(std::max<std::size_t>(size, 1));
    }
}

// The language without region, script and encoding.
std::string Primary(std::string_view tag)
{
    std::string language(tag.substr(0, tag.find_first_of("-_.@")));
    std::transform(language.begin(), language.end(), language.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return language;
}

const char* Find(const char* szLanguage, const char* szText)
{
    const std::string language = Primary(szLanguage == nullptr ? "" : szLanguage);
    const auto catalogue = std::find_if(CATALOGUES.begin(), CATALOGUES.end(),
                                        [&](const auto& row) { return language == row.tag; });
    // The empty text's entry is the catalogue's own header.
    return catalogue == CATALOGUES.end() || *szText == '\0' ? nullptr
                                                            : Translation(*catalogue, szText);
}

} // namespace

const char* Tr(const char* szLanguage, const char* szText)
{
    const char* const found = Find(szLanguage, szText);
    return found == nullptr ? szText : found;
}

const char* TrN(const char* szLanguage, const char* szOne, const char* szMany,
                unsigned long ulCount)
{
    const char* const found = Find(szLanguage, szOne);
    // Every catalogue has the rule of English: one thing, or any other number of things.
    if (found == nullptr) {
        return ulCount == 1 ? szOne : szMany;
    }
    return ulCount == 1 ? found : found + std::strlen(found) + 1;
}

std::string Fill(std::string_view text, std::initializer_list<SGap> gaps)
{
    std::string filled;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        const auto* const gap =
            std::find_if(gaps.begin(), gaps.end(), [rest](const SGap& candidate) {
                return rest.starts_with("{" + std::string(candidate.szName) + "}");
            });
        if (gap == gaps.end()) {
            filled += rest.front();
            ++at;
            continue;
        }
        AppendShown(filled, gap->strValue);
        at += std::strlen(gap->szName) + 2;
    }
    return filled;
}

} // namespace desk
