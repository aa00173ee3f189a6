// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace pp {

/// Marks a constructor that takes over the caller's reference instead of adding one.
enum PassRef { PASS_REF };

}  // namespace pp
