// SPDX-License-Identifier: Apache-2.0

#include "nearest.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace tool {

namespace {

constexpr std::size_t NEAR = 2, SHORTEST = 2;

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Levenshtein's distance, row by row.
std::size_t Distance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (const char c : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t exchanged = diagonal + (c == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string Nearest(const std::string& word, const std::vector<std::string>& candidates)
{
    const std::string lower = Lower(word);
    std::string nearest;
    std::size_t least = NEAR + 1;
    for (const std::string& candidate : candidates) {
        const bool isPart =
            lower.size() > SHORTEST && (candidate.starts_with(lower) || candidate.ends_with(lower));
        const std::size_t distance = isPart ? 1 : Distance(lower, candidate);
        if (distance < std::min(least, candidate.size())) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace tool
