// SPDX-License-Identifier: Apache-2.0
#include "core/nearest.h"

#include <algorithm>
#include <cstddef>

namespace tv {
namespace {

constexpr std::size_t kMaxQuoted = 200;
constexpr std::size_t kMaxDistance = 3;

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// How many letters may differ between two names.
std::size_t Allowed(std::string_view a, std::string_view b)
{
    return std::min(std::min(a.size(), b.size()) / 3, kMaxDistance);
}

/// How many letters must be left out, put in, replaced or swapped with their neighbour to make one of the
/// other, where that is no more than what is allowed; else something more.
std::size_t Distance(std::string_view a, std::string_view b)
{
    // Names of very different lengths need not be compared: what was sent may be a megabyte.
    const std::size_t longer = std::max(a.size(), b.size());
    if (longer - std::min(a.size(), b.size()) > kMaxDistance)
        return longer;
    std::vector<std::size_t> before_last;
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        before_last.swap(last);
        last.swap(row);
        row.assign(b.size() + 1, i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = Lower(a[i - 1]) == Lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0U : 1U)});
            if (i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) && Lower(a[i - 2]) == Lower(b[j - 1]))
                row[j] = std::min(row[j], before_last[j - 2] + 1);
        }
    }
    return row[b.size()];
}

bool GoesOn(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

}  // namespace

std::optional<std::string> Nearest(std::string_view name, const std::vector<std::string>& known)
{
    std::optional<std::string> nearest;
    std::size_t least = kMaxDistance + 1;
    const auto compare = [&](std::string_view candidate, const std::string& whole) {
        const std::size_t distance = Distance(name, candidate);
        if (distance <= Allowed(name, candidate) && distance < least) {
            least = distance;
            nearest = whole;
        }
    };
    for (const std::string& whole : known) {
        compare(whole, whole);
        if (const std::size_t operation = whole.rfind("::"); operation != std::string::npos)
            compare(std::string_view(whole).substr(operation + 2), whole);
    }
    return nearest;
}

std::string DidYouMean(std::string_view name, const std::vector<std::string>& known)
{
    const std::optional<std::string> nearest = Nearest(name, known);
    return nearest ? "; did you mean \"" + *nearest + "\"?" : "";
}

std::string Shortened(std::string_view text)
{
    std::size_t end = 0;
    for (std::size_t count = 0; count < kMaxQuoted && end < text.size(); ++count) {
        // A character has four bytes at most, whatever follows.
        const std::size_t limit = std::min(text.size(), end + 4);
        for (++end; end < limit && GoesOn(text[end]); ++end) {
        }
    }
    return end == text.size() ? std::string(text) : std::string(text.substr(0, end)) + "…";
}

std::string Quoted(std::string_view text)
{
    return '"' + Shortened(text) + '"';
}

}  // namespace tv
