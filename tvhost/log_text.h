// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace host {

/// A log line's text without the number of its source line: "file: function() > text".
std::string WithoutSourceLine(const std::string& text);

}  // namespace host
