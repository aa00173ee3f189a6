// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <filesystem>
#include <vector>

namespace host {

/// Reads a scenario: what happens at the TV, and when. Each line is a verb with the playing time at which it
/// is carried out, in milliseconds or as "mm:ss" or "hh:mm:ss", a fraction of a second allowed:
///
///     {"at": "02:30", "tv": "signal", "signal": 177}
///
/// Blank lines and lines that begin with # are passed over. Gives the lines as `at` verbs, in the file's
/// order, checked as far as they can be before the TV runs. Throws std::runtime_error, whose what() names
/// file and line, and Interrupted.
std::vector<Json::Value> ReadScenario(const std::filesystem::path& file);

}  // namespace host
