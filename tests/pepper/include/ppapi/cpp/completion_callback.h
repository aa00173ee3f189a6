// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace pp {

class PEPPER("CompletionCallback") CompletionCallback {};

}  // namespace pp
