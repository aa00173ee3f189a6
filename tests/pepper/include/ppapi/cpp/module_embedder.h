// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace pp {

class Module;

PEPPER("CreateModule()") Module* CreateModule();

}  // namespace pp
