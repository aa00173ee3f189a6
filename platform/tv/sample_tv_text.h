// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/// sample_tv.json, which the build turns into a source file; no zero at its end.
extern const unsigned char kSampleTvText[];
extern const std::size_t kSampleTvTextSize;
