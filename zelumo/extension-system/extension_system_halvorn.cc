// SPDX-License-Identifier: Apache-2.0
#include "extension_system_halvorn.h"

#include "ppapi/c/pp_errors.h"
#include "ppapi/c/pp_var.h"
#include "ppapi/c/ppb_extension_system_halvorn.h"
#include "ppapi/cpp/module.h"

namespace pp {
namespace {

using Interface = PPB_ExtensionSystem_Halvorn_0_1;

const Interface* LookUpInterface()
{
    Module* module = Module::Get();
    if (module == nullptr)
        return nullptr;
    return static_cast<const Interface*>(
        module->GetBrowserInterface(PPB_EXTENSIONSYSTEM_HALVORN_INTERFACE_0_1));
}

/// Looked up by the first user in the process; a null answer is kept as well.
const Interface* GetInterface()
{
    static const Interface* const interface = LookUpInterface();
    return interface;
}

}  // namespace

ExtensionSystemHalvorn::ExtensionSystemHalvorn(const InstanceHandle& instance)
    : instance_(instance.pp_instance())
{}

std::string ExtensionSystemHalvorn::GetEmbedderName() const
{
    const Interface* interface = GetInterface();
    if (interface == nullptr)
        return std::string();
    const Var name(PASS_REF, interface->GetEmbedderName(instance_));
    return name.is_string() ? name.AsString() : std::string();
}

Var ExtensionSystemHalvorn::GetCurrentExtensionInfo()
{
    const Interface* interface = GetInterface();
    if (interface == nullptr)
        return Var();
    return Var(PASS_REF, interface->GetCurrentExtensionInfo(instance_));
}

Var ExtensionSystemHalvorn::GenericSyncCall(const Var& operation_name, const Var& operation_data)
{
    const Interface* interface = GetInterface();
    if (interface == nullptr)
        return Var();
    PP_Var result{PP_VARTYPE_UNDEFINED, 0, {}};
    if (interface->GenericSyncCall(instance_, operation_name.pp_var(), operation_data.pp_var(), &result) !=
        PP_OK)
        return Var();
    return Var(PASS_REF, result);
}

}  // namespace pp
