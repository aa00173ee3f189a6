// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "core/json_text.h"

namespace host {

using tv::JsonError;
using tv::OrderedObject;
using tv::ParseJson;
using tv::WriteJson;

/// Limits of a page's message.
constexpr std::size_t kMaxMessageBytes = std::size_t{1024} * 1024;
constexpr int kMaxMessageDepth = 64;

}  // namespace host
