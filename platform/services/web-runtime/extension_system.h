// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <functional>
#include <map>
#include <string>

#include "core/calls.h"
#include "core/json_node.h"
#include "core/mutex.h"
#include "core/service.h"
#include "ppapi/c/pp_var.h"
#include "zelumo-platform/export.h"

namespace tv {

/// What the web runtime tells through its extension interface.
struct ZELUMO_PLATFORM_API ExtensionConfig {
    bool available = true;  ///< whether the runtime offers the interface at all
    std::string embedder = "OrvexWRT";
    Json::Value extension_info{Json::objectValue};
    std::map<std::string, bool> privileges;  ///< name -> granted; others are denied
    int window_id = 1;

    /// The section "extension" of a TV file.
    void Read(JsonObject& file);
};

/// The web runtime's side of its extension interface. Any thread.
class ZELUMO_PLATFORM_API ExtensionSystem : public Service {
  public:
    /// The one of the process, never destroyed.
    static ExtensionSystem& Get();

    /// Replaces what the runtime tells; the recommended words stay.
    void Load(ExtensionConfig config) EXCLUDES(mutex_);

    /// The table that pp::Module::GetBrowserInterface gives for the interface's name, or null while it is
    /// not available.
    const void* LookUp() EXCLUDES(mutex_);
    int CountLookUps() const EXCLUDES(mutex_);

    /// Sees every var that crosses the table, on the caller's thread: a call's arguments when it begins, and
    /// what it hands out while the observer is the only one to hold it. The var is lent for the call. May be
    /// null.
    using VarObserver = std::function<void(const PP_Var&)>;
    void Observe(VarObserver observer) EXCLUDES(mutex_);

    /// {available, embedderName, extensionInfo, privileges, windowId, recommendedWords,
    /// recommendedWordsType}, the latter two null until they are set.
    Json::Value StateJson() const EXCLUDES(mutex_);

    const CallTable* calls() const override;

    // For the interface table.
    /// The result of a call that succeeds, and whether it does.
    bool Perform(const std::string& operation, const Json::Value& data, Json::Value& result) EXCLUDES(mutex_);
    ExtensionConfig config() const EXCLUDES(mutex_);
    void Observed(const PP_Var& var) const EXCLUDES(mutex_);

  private:
    mutable Mutex mutex_{LockLevel::Service};
    ExtensionConfig config_ GUARDED_BY(mutex_);
    int look_ups_ GUARDED_BY(mutex_) = 0;
    VarObserver observer_ GUARDED_BY(mutex_);
    Json::Value recommended_words_ GUARDED_BY(mutex_);
    Json::Value recommended_words_type_ GUARDED_BY(mutex_);
};

}  // namespace tv
