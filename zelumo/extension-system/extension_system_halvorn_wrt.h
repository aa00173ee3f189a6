// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "extension_system_halvorn_orvex.h"

namespace pp {

/// The client for the one web runtime that offers all of these operations.
class __attribute__((visibility("default"))) ExtensionSystemHalvornWRT : public ExtensionSystemHalvornOrvex {
  public:
    explicit ExtensionSystemHalvornWRT(const InstanceHandle& instance);

    /// Whether that runtime embeds the plug-in. Found out by the first call in the process and kept.
    bool IsValid() const;
};

}  // namespace pp
