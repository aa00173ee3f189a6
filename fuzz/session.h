// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "tvhost/session.h"

namespace fuzz {

/// A session with its page open, which ends with the process. What comes out is written and read back, as a
/// listener would.
inline host::Session& TheSession()
{
    static const std::unique_ptr<host::Session> session = [] {
        host::WriteJson(Json::Value());  // what it keeps outlives the session
        auto made = std::make_unique<host::Session>(
            ZELUMO_PLUGIN, [](const host::LineOut& line) { host::ParseJson(line.Whole(), 200); },
            host::Session::Heard{true, true});
        made->Open();
        return made;
    }();
    return *session;
}

}  // namespace fuzz
