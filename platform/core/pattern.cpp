// SPDX-License-Identifier: Apache-2.0
#include "core/pattern.h"

namespace tv {

bool FitsPattern(std::string_view pattern, std::string_view text)
{
    std::size_t at = 0;
    std::size_t star = std::string_view::npos;  // the last one passed
    std::size_t taken = 0;                      // where what that one stands for ends
    std::size_t next = 0;
    while (next < text.size()) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            taken = next;
        } else if (at < pattern.size() && pattern[at] == text[next]) {
            ++at;
            ++next;
        } else if (star != std::string_view::npos) {
            at = star + 1;
            next = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

}  // namespace tv
