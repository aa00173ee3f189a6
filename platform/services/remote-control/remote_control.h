// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "core/json_node.h"
#include "core/mutex.h"
#include "core/service.h"
#include "core/verb.h"
#include "zelumo-platform/export.h"

namespace tv {

/// A key of the remote control, as a page hears of it.
struct RemoteKey {
    std::string key;   ///< KeyboardEvent.key
    std::string code;  ///< KeyboardEvent.code; empty where the standard has none
    int key_code;      ///< KeyboardEvent.keyCode
};

/// The key codes that a TV has of its own.
struct ZELUMO_PLATFORM_API RemoteControlConfig {
    std::map<std::string, int> key_codes;  ///< by the key's name; the others have their usual ones

    /// The section "keys" of a TV file.
    void Read(JsonObject& file);
};

/// The remote control: its keys go to the page that is shown, not to the plug-in. Any thread.
class ZELUMO_PLATFORM_API RemoteControl : public Service {
  public:
    /// The one of the process, never destroyed.
    static RemoteControl& Get();

    void Load(const RemoteControlConfig& config) EXCLUDES(mutex_);

    /// The names of all keys.
    static std::vector<std::string> Names();
    /// Whoever shows the page gets the keys that are pressed, on the thread on which they are. May be empty.
    using OnKey = std::function<void(const RemoteKey&)>;
    void SetOnKey(OnKey on_key) EXCLUDES(mutex_);
    /// Presses and releases a key. False: there is none of that name.
    bool Press(const std::string& name) EXCLUDES(mutex_);

    std::vector<Verb> verbs() const override;

  private:
    mutable Mutex mutex_{LockLevel::Service};
    std::map<std::string, int> key_codes_ GUARDED_BY(mutex_);
    OnKey on_key_ GUARDED_BY(mutex_);
};

}  // namespace tv
