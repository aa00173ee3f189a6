// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "tvhost/compare/comparison.h"

namespace host {

/// What else is told of a recording.
struct RecordingNotes {
    bool is_real_tv = false;
    bool cut_off = false;
    std::size_t unanswered = 0;  ///< messages without a reply in the recording
};

/// Prints what was found on standard output: each finding, a table, and a last line that counts.
void PrintReport(const Comparison& comparison, const RecordingNotes& notes);

}  // namespace host
