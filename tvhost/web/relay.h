// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "core/mutex.h"
#include "tvhost/counterpart.h"
#include "tvhost/session.h"
#include "tvhost/web/channel.h"
#include "tvhost/web/relay_address.h"
#include "tvhost/web/server.h"

namespace host {

/// A real TV takes the place of plug-in and stand-ins. Its browser opens the relay's page, by an address with
/// a secret that is new with every object, and carries out what the page on the desk sends. A web server of
/// its own serves that and nothing else: without the secret there is nothing, whatever is asked.
///
/// There is one TV at a time. When it goes, what it was asked fails with 502, and so does what a page sends
/// that was open then; it may come back, for pages that are opened from then on.
class Relay : public Counterpart {
  public:
    struct Events {
        std::function<void(LineOut)> output;      ///< as Session::Output
        std::function<void(std::string)> on_key;  ///< a key of the TV's remote, by its name
        std::function<void()> on_lost;            ///< the TV went while a page was open
    };

    /// Takes the address. `web` is the folder of the web files. The events may come on any thread, from Start
    /// to Stop. Throws ServerError, or std::system_error for web files that aren't there.
    Relay(const RelayAddress& address, const std::filesystem::path& web, Events events);
    /// Stops.
    ~Relay() override;

    // Any thread.
    /// `http://192.168.1.5:8048/SECRET/`: where the TV's browser has to go.
    std::string url() const { return server_.url() + secret_ + '/'; }
    /// Whether it can be reached from this machine alone.
    bool is_loopback() const { return server_.is_loopback(); }
    /// "waiting": no TV has come yet; "ready"; "missing": its browser has no plug-in; "gone": it may come
    /// back.
    const char* state() const EXCLUDES(mutex_);
    /// Whether the TV that is there has a page open.
    bool is_open() const EXCLUDES(mutex_);
    /// Throws Refused, with 503, where no TV could open a page now.
    void CheckReady() const EXCLUDES(mutex_);
    /// The host ends: what the TV was asked fails with 503, and so does what it would be asked.
    void GiveUp() EXCLUDES(mutex_);

    /// From Start to Stop TVs are let in.
    void Start();
    void Stop();

    // As a counterpart. Of the verbs there are `open`, `close` and `key`.
    void CarryOut(const Json::Value& line) override EXCLUDES(mutex_);
    void Send(Message message, Handled handled) override EXCLUDES(mutex_);
    Passed PassTime(std::chrono::milliseconds by, std::chrono::steady_clock::time_point until) override
        EXCLUDES(mutex_);
    void Deliver() override {}
    bool has_deliveries() const override { return false; }

  private:
    enum class State { Waiting, Ready, Missing, Gone };
    /// What the TV is asked, and has yet to answer. One at a time, since that is one turn.
    struct Asked {
        long long id;
        Handled handled;
    };

    // The server's thread. `connection` is the number of the TV's WebSocket.
    WebResponse Find(const WebRequest& request) const;
    std::variant<Subscription, WebResponse> Listen(const WebRequest& request) EXCLUDES(mutex_);
    void Leave(long long connection) EXCLUDES(mutex_);
    void Hear(long long connection, const std::string& text) EXCLUDES(mutex_);
    void Understand(long long connection, const Json::Value& frame) EXCLUDES(mutex_);
    void TakePlugin(bool is_ready) EXCLUDES(mutex_);
    void TakeReply(const Json::Value& frame) EXCLUDES(mutex_);
    void TakeMessage(const Json::Value& frame) EXCLUDES(mutex_);

    /// What follows the secret in a path: "" or "relay.js"; nothing where the secret is another one.
    std::optional<std::string> BehindSecret(const std::string& path) const;
    void RequireReady() const REQUIRES(mutex_);
    void Open() EXCLUDES(mutex_);
    void Close() EXCLUDES(mutex_);
    void Ask(const std::string& message, Handled handled) EXCLUDES(mutex_);
    /// A frame that ends with the message, to the page that is open.
    void SendToPage(std::string begin, const std::string& message) REQUIRES(mutex_);
    void Tell(LineOut line) EXCLUDES(output_mutex_);

    const Events events_;
    const std::filesystem::path folder_;
    const std::string secret_;
    WebServer server_;

    tv::Mutex output_mutex_{tv::LockLevel::Output};  ///< held while the output runs
    mutable tv::Mutex mutex_{tv::LockLevel::Page};
    State state_ GUARDED_BY(mutex_) = State::Waiting;
    std::shared_ptr<Channel> tv_ GUARDED_BY(mutex_);  ///< null: no TV is connected
    long long connection_ GUARDED_BY(mutex_) = 0;     ///< the last TV's
    bool has_told_ GUARDED_BY(mutex_) = false;        ///< whether it has a plug-in
    bool open_ GUARDED_BY(mutex_) = false;
    long long opened_ GUARDED_BY(mutex_) = 0;  ///< how many pages that TV has opened
    bool ending_ GUARDED_BY(mutex_) = false;
    std::optional<Asked> asked_ GUARDED_BY(mutex_);
    long long last_id_ GUARDED_BY(mutex_) = 0;
    long long passed_ms_ GUARDED_BY(mutex_) = 0;
};

}  // namespace host
