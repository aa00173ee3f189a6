// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelumo-platform/export.h"

/// Names that somebody wrote and that nobody knows: what they may have meant, and how much of them is told.
/// Any thread.
namespace tv {

/// The known name that `name` is close to, or nothing: a third of the letters of the shorter one, three at
/// most, left out, put in, replaced or swapped with their neighbour; case makes no difference. Of
/// `Interface::Operation` the operation alone will do. The closest one, of several the first.
ZELUMO_PLATFORM_API std::optional<std::string> Nearest(std::string_view name,
                                                       const std::vector<std::string>& known);

/// What an error text adds for it: `; did you mean "X"?`, or "".
ZELUMO_PLATFORM_API std::string DidYouMean(std::string_view name, const std::vector<std::string>& known);

/// The first 200 characters of a text, and "…" where there are more. What is no UTF-8 stays as it is.
ZELUMO_PLATFORM_API std::string Shortened(std::string_view text);
/// The same in quotes.
ZELUMO_PLATFORM_API std::string Quoted(std::string_view text);

}  // namespace tv
