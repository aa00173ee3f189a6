// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what the platform's shared object exports.
#define ZELUMO_PLATFORM_API __attribute__((visibility("default")))
