#pragma once

namespace pp {

class Module;

PEPPER("CreateModule()") Module* CreateModule();

}  // namespace pp
