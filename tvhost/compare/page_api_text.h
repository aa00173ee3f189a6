// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// The description of the page's interface, web/page-api.json.
extern const unsigned char kPageApiText[];
extern const std::size_t kPageApiTextSize;
