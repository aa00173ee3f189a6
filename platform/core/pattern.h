// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "zelumo-platform/export.h"

namespace tv {

/// Whether the whole text is as the pattern says, in which `*` stands for any run of characters, also none.
/// Takes no longer than the product of their lengths. Any thread.
ZELUMO_PLATFORM_API bool FitsPattern(std::string_view pattern, std::string_view text);

}  // namespace tv
