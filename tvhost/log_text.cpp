// SPDX-License-Identifier: Apache-2.0
#include "tvhost/log_text.h"

namespace host {

std::string WithoutSourceLine(const std::string& text)
{
    const std::size_t end = text.find(") > ");
    const std::size_t start = text.rfind('(', end);
    if (end == std::string::npos || start == std::string::npos)
        return text;
    const std::string number = text.substr(start + 1, end - start - 1);
    if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos)
        return text;
    return text.substr(0, start + 1) + text.substr(end);
}

}  // namespace host
