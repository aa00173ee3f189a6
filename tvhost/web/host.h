// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/calls.h"
#include "core/mutex.h"
#include "tvhost/session.h"
#include "tvhost/web/files.h"
#include "tvhost/web/lines.h"
#include "tvhost/web/pages.h"
#include "tvhost/web/recording.h"
#include "tvhost/web/relay.h"
#include "tvhost/web/routes.h"
#include "tvhost/web/runtime.h"
#include "tvhost/web/server.h"
#include "tvhost/web/turns.h"

namespace host {

struct ServeOptions {
    std::filesystem::path plugin;
    std::string address = "127.0.0.1";
    std::uint16_t port = 8047;      ///< 0: a free one
    std::filesystem::path web;      ///< the folder of the web files
    std::filesystem::path app;      ///< the person's own page; empty: the demo page alone
    std::filesystem::path record;   ///< empty: nothing is recorded
    bool overwrite = false;         ///< a recording may replace what the file holds
    std::vector<std::string> note;  ///< comments for the recording: how to replay it
    Json::Value kept_settings;      ///< settings from an earlier run, by key: the recording begins with them
    double speed = 1;               ///< how many times as fast playing time runs at first; 0: it stands still
    std::optional<std::chrono::milliseconds> date;  ///< the TV's at the start; absent: the real one
    std::vector<Json::Value> scenario;              ///< `at` verbs, which are carried out when the TV starts
    /// Whose pages may use the TV beside the host's own; each passes CheckOrigin.
    std::vector<std::string> allow_origins;
    /// A real TV takes the place of plug-in and stand-ins; what is theirs in these options doesn't count
    /// then.
    std::optional<RelayAddress> relay;
    WebServer::Limits limits;
    std::function<void()> loaded = [] {};  ///< called once port and plug-in are there
};

/// Web mode: a web server for one TV, which stand-ins play, or a real one behind a relay. The page in the
/// browser takes turns with the person at the TV and the TV's clock. The thread of Run is the plug-in's; what
/// needs no turn (files, the TV's state) is answered at once.
class WebHost {
  public:
    /// Takes the port. Throws ServerError, or std::system_error, FileError or Interrupted for a folder or
    /// file that can't be had.
    explicit WebHost(const ServeOptions& options);
    ~WebHost();
    WebHost(const WebHost&) = delete;
    WebHost& operator=(const WebHost&) = delete;

    // Any thread.
    std::string url() const { return server_.url(); }
    bool is_loopback() const { return server_.is_loopback(); }
    /// Where the TV's browser has to go; empty without a relay.
    /// Whether others in the network reach the relay, too.
    bool has_open_relay() const { return relay_ && !relay_->is_loopback(); }
    std::string relay_url() const { return relay_ ? relay_->url() : ""; }

    /// Loads the plug-in, empties the recording, calls `ready`, and serves until Stop; then ends the page's
    /// instance and unloads the plug-in. Throws PluginError, FileError, and what `ready` throws. Once.
    void Run(const std::function<void()>& ready);
    /// Any thread. The line that is being carried out is finished; those that wait are refused.
    void Stop() EXCLUDES(mutex_);

  private:
    using Clock = std::chrono::steady_clock;

    // The server's thread.
    /// The TV that the relay had has gone: so has its page.
    void OnTvLost();
    /// A key of its remote.
    void OnTvKey(const std::string& name);
    void WaitForTick();
    /// Takes a turn for the clock, before all that wait, or with `last` behind them.
    void TakeTick(bool last);

    // The thread of Run.
    std::unique_ptr<Relay> MakeRelay();
    /// The lines reach their counterpart by now.
    void Serve(const std::function<void()>& ready);
    void BeginRecording();
    /// The clock catches up with the time that has passed, as far as it comes in one turn.
    void Tick();

    const ServeOptions options_;
    const WebFiles files_;
    const std::unique_ptr<Recording> recording_;  // null: nothing is recorded
    WebServer server_;
    Turns turns_;
    WebJournal journal_;
    Pages pages_;
    Lines lines_;
    Runtime runtime_;
    const std::unique_ptr<Relay> relay_;  // null: the plug-in and the stand-ins
    Routes routes_;

    tv::Mutex mutex_{tv::LockLevel::Turns};
    std::unique_ptr<tv::Calls::NoDelay> no_delay_ GUARDED_BY(mutex_);  ///< once it is stopping

    // Set before the first tick, then the thread of Run only.
    Clock::time_point counted_;  ///< up to when real time is in owed_
    double owed_ = 0;            ///< milliseconds of playing time that have yet to pass
    double speed_ = 0;           ///< the clock's when they were counted
};

/// Web mode as the program runs it, until an interrupt. Returns the exit status. Throws PluginError or
/// Interrupted.
int RunServe(const ServeOptions& options);

}  // namespace host
