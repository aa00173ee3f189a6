// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tv {

/// What one pass over a JSON text tells that the reader doesn't. It tells all of this of any text, JSON or
/// not.
struct JsonScan {
    bool is_utf8 = true;
    int depth = 0;                        ///< of nested arrays and objects
    bool has_escapes = false;             ///< of the form \uXXXX, perhaps
    bool has_bare_negative_zero = false;  ///< written -0, whose sign the reader drops
    /// What isn't JSON though the reader takes it: numbers such as 01 and +1, control characters in strings,
    /// NUL, a byte order mark. Of several the first.
    struct Mistake {
        std::size_t at;  ///< the byte where it is
        std::string what;
    };
    std::optional<Mistake> mistake;
};

JsonScan ScanJson(std::string_view text);

/// How many bytes the character takes that the text begins with; 0: it is no UTF-8.
std::size_t Utf8Length(std::string_view text);

}  // namespace tv
