#pragma once

#include "ppapi/c/pp_instance.h"
#include "zelumo-platform/export.h"

namespace pp {

class Instance;

/// The id of an instance, to pass to objects that belong to one.
class PLATFORM_API InstanceHandle {
  public:
    InstanceHandle(Instance* instance);
    explicit InstanceHandle(PP_Instance instance) : pp_instance_(instance) {}

    PP_Instance pp_instance() const { return pp_instance_; }

  private:
    PP_Instance pp_instance_;
};

}  // namespace pp
