// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/calls.h"

namespace tv {

/// The calls of the web runtime.
struct RuntimeCalls : CallTable {
    Call<int()> register_message_handler{*this, "pp::Instance::RegisterMessageHandler"};
    Call<Json::Value()> get_embedder_name{*this, "PPB_ExtensionSystem_Halvorn::GetEmbedderName", ""};
    Call<Json::Value()> get_current_extension_info{*this,
                                                   "PPB_ExtensionSystem_Halvorn::GetCurrentExtensionInfo"};
    Call<int(Json::Value, Json::Value), Out<Json::Value>> generic_sync_call{
        *this, "PPB_ExtensionSystem_Halvorn::GenericSyncCall"};
};

}  // namespace tv
