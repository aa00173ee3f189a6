// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <vector>

#include "core/calls.h"
#include "core/verb.h"

namespace tv {

/// What the TV asks of each of its services. Any thread, unless a service says otherwise.
class Service {
  public:
    virtual ~Service() = default;

    /// The calls that can be made to it; null: none. Valid for the life of the process.
    virtual const CallTable* calls() const { return nullptr; }
    /// What it can be told to do.
    virtual std::vector<Verb> verbs() const { return {}; }
    /// Adds its part to the state of the TV.
    virtual void AddState(Json::Value&) const {}
    /// How many subscriptions, watches and registrations it holds.
    virtual std::size_t CountRegistrations() const { return 0; }
    /// Its client is gone: drops those, so that nothing calls into it any more, and returns how many there
    /// were. Not inside a callback.
    virtual std::size_t DropRegistrations() { return 0; }
};

}  // namespace tv
