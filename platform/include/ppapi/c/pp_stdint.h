// SPDX-License-Identifier: Apache-2.0
#pragma once

// Not <cstddef> and <cstdint>: the interfaces use the global names.
#include <stddef.h>  // NOLINT(modernize-deprecated-headers)
#include <stdint.h>  // NOLINT(modernize-deprecated-headers)
