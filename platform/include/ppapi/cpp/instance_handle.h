// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ppapi/c/pp_instance.h"
#include "zelumo-platform/export.h"

namespace pp {

class Instance;

/// The id of an instance, to pass to objects that belong to one. It says nothing about whether the instance
/// still lives.
class ZELUMO_PLATFORM_API InstanceHandle {
  public:
    /// `instance` is not null, and is used no longer than this call.
    InstanceHandle(Instance* instance);  // NOLINT(google-explicit-constructor): an instance stands for its id
    explicit InstanceHandle(PP_Instance instance) : pp_instance_(instance) {}

    PP_Instance pp_instance() const { return pp_instance_; }

  private:
    PP_Instance pp_instance_;
};

}  // namespace pp
