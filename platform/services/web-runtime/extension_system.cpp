// SPDX-License-Identifier: Apache-2.0
#include "services/web-runtime/extension_system.h"

#include <tuple>
#include <utility>

#include "core/form.h"
#include "ppapi/c/pp_errors.h"
#include "ppapi/c/ppb_extension_system_halvorn.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/runtime_calls.h"

namespace tv {
namespace {

/// The var of a JSON value with one reference for the caller.
PP_Var HandOut(const Json::Value& json)
{
    pp::Var var = ToVar(json);
    ExtensionSystem::Get().Observed(var.pp_var());
    return var.Detach();
}

/// An argument's value; the caller keeps its reference.
Json::Value Receive(const PP_Var& var)
{
    ExtensionSystem::Get().Observed(var);
    return ToJson(pp::Var(var));
}

PP_Var GetEmbedderName(PP_Instance)
{
    return HandOut(TheTable<RuntimeCalls>().get_embedder_name(
        [] { return Json::Value(ExtensionSystem::Get().config().embedder); }));
}

PP_Var GetCurrentExtensionInfo(PP_Instance)
{
    return HandOut(TheTable<RuntimeCalls>().get_current_extension_info(
        [] { return ExtensionSystem::Get().config().extension_info; }));
}

int32_t GenericSyncCall(PP_Instance, PP_Var operation_name, PP_Var operation_data, PP_Var* result)
{
    const Json::Value name = Receive(operation_name);
    const Json::Value data = Receive(operation_data);
    Json::Value value;
    const int status = TheTable<RuntimeCalls>().generic_sync_call(
        name, data, Out(&value), [&](Out<Json::Value>& out) -> int {
            Json::Value performed;
            if (!name.isString() || !ExtensionSystem::Get().Perform(name.asString(), data, performed))
                return PP_ERROR_FAILED;
            out.Set(std::move(performed));
            return PP_OK;
        });
    // A failed call hands out no reference, whatever stands in the result.
    const bool counted = value.isString() || value.isArray() || value.isObject();
    if (!value.isNull() && (status == PP_OK || !counted))
        *result = HandOut(value);
    return status;
}

constexpr PPB_ExtensionSystem_Halvorn_0_1 kTable{GetEmbedderName, GetCurrentExtensionInfo, GenericSyncCall};

}  // namespace

void ExtensionConfig::Read(JsonObject& file)
{
    file.ReadObject("extension", [&](JsonObject& section) {
        section.Read("embedderName", embedder);
        if (const auto info = section.Find("extensionInfo"))
            extension_info = info->json();
        if (const auto granted = section.Find("privileges")) {
            privileges.clear();
            for (const JsonNode& element : granted->Elements())
                privileges[element.As<std::string>()] = true;
        }
        section.Read("windowId", window_id);
    });
}

ExtensionSystem& ExtensionSystem::Get()
{
    static ExtensionSystem& system = *new ExtensionSystem;
    return system;
}

const CallTable* ExtensionSystem::calls() const
{
    return &TheTable<RuntimeCalls>();
}

void ExtensionSystem::Load(ExtensionConfig config)
{
    const MutexLock lock(mutex_);
    config_ = std::move(config);
}

ExtensionConfig ExtensionSystem::config() const
{
    const MutexLock lock(mutex_);
    return config_;
}

const void* ExtensionSystem::LookUp()
{
    const MutexLock lock(mutex_);
    ++look_ups_;
    return config_.available ? &kTable : nullptr;
}

int ExtensionSystem::CountLookUps() const
{
    const MutexLock lock(mutex_);
    return look_ups_;
}

void ExtensionSystem::Observe(VarObserver observer)
{
    const MutexLock lock(mutex_);
    std::swap(observer_, observer);  // the earlier one goes without the lock
}

void ExtensionSystem::Observed(const PP_Var& var) const
{
    VarObserver observer;
    {
        const MutexLock lock(mutex_);
        observer = observer_;
    }
    if (observer)
        observer(var);
}

bool ExtensionSystem::Perform(const std::string& operation, const Json::Value& data, Json::Value& result)
{
    const MutexLock lock(mutex_);
    if (operation == "check_ace_privilege" && data.isString()) {
        const auto found = config_.privileges.find(data.asString());
        result = found != config_.privileges.end() && found->second;
        return true;
    }
    if (operation == "set_ime_recommended_words") {
        recommended_words_ = data;
        result = true;
        return true;
    }
    if (operation == "set_ime_recommended_words_type" && data.isBool()) {
        recommended_words_type_ = data;
        result = true;
        return true;
    }
    if (operation == "get_window_id") {
        result = config_.window_id;
        return true;
    }
    return false;
}

Json::Value ExtensionSystem::StateJson() const
{
    const MutexLock lock(mutex_);
    Json::Value state;
    state["available"] = config_.available;
    state["embedderName"] = config_.embedder;
    state["extensionInfo"] = config_.extension_info;
    state["privileges"] = Json::Value(Json::objectValue);
    for (const auto& [name, granted] : config_.privileges)
        state["privileges"][name] = granted;
    state["windowId"] = config_.window_id;
    state["recommendedWords"] = recommended_words_;
    state["recommendedWordsType"] = recommended_words_type_;
    return state;
}

}  // namespace tv
