// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zelumo-platform/export.h"

namespace pp {

class Module;

/// Defined and exported by the plug-in: makes its module, or null when it can't. The runtime owns it.
ZELUMO_PLATFORM_API Module* CreateModule();

}  // namespace pp
