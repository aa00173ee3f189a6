// SPDX-License-Identifier: Apache-2.0
#include "extension_system_halvorn_wrt.h"

namespace pp {

ExtensionSystemHalvornWRT::ExtensionSystemHalvornWRT(const InstanceHandle& instance)
    : ExtensionSystemHalvornOrvex(instance)
{}

bool ExtensionSystemHalvornWRT::IsValid() const
{
    static const bool valid = GetEmbedderName() == "OrvexWRT";
    return valid;
}

}  // namespace pp
