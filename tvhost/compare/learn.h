// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tvhost/script_file.h"

namespace host {

/// A TV file of the TV that a recording tells of: its channels and what is on them, its settings, first-use
/// state, application, streams and date, as far as replies and messages tell. What they don't tell is left
/// out.
std::string LearnTv(const ScriptFile& recording);

}  // namespace host
