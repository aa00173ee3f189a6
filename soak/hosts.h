// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/mutex.h"
#include "services/web-runtime/web_runtime.h"
#include "soak/dice.h"
#include "soak/findings.h"
#include "soak/ledger.h"
#include "soak/progress.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tvhost/plugin.h"

namespace soak {

/// One page's life: what it must be told, and how far it has come.
struct Page {
    Page(const PageApi& api, std::size_t listeners) : ledger(api, listeners) {}

    Ledger ledger;
    Progress senders;                  ///< a step for each message that is through
    std::atomic<bool> closing{false};  ///< set before it is closed or replaced
};

/// One thread's way to the page and the TV. What can't be answered as it should throws std::runtime_error.
class Seat {
  public:
    virtual ~Seat() = default;
    /// The reply to a blocking message, or nothing: its page was closed before its turn came.
    virtual std::optional<Json::Value> Await(const Json::Value& message) = 0;
    /// False: the page is gone.
    virtual bool Post(const Json::Value& message) = 0;
    /// A verb and its results as an object; null when the host is ending.
    virtual Json::Value Do(const Json::Value& verb) = 0;
    /// Whether nothing more has come than what was asked for.
    virtual bool IsQuiet() { return true; }
};

/// The real plug-in with its page, by one way or the other. One thread, unless it says otherwise.
class Host {
  public:
    virtual ~Host() = default;
    /// A page takes the place of the one that is open; its ledger hears what it is told. When it has
    /// returned, the earlier page is told nothing more.
    virtual void Open(const std::shared_ptr<Page>& page, Dice& dice) = 0;
    virtual void Close() = 0;
    /// For the page that is open. Seats may outlive it.
    virtual std::unique_ptr<Seat> TakeSeat() = 0;
    /// Ends while the page is open, and maybe in use.
    virtual void End() = 0;
    /// What is kept of the past, which differs from page to page, is replaced by what is always alike, so
    /// that the memory in use can be compared. No page is open.
    virtual void ForgetPages() {}
    /// Whether what an answered command set off is delivered before the page can be closed.
    virtual bool delivers_in_turn() const = 0;
};

/// An element with the plug-in in this process: every thread reaches it at once.
class EmbeddedHost : public Host {
  public:
    EmbeddedHost();
    void Open(const std::shared_ptr<Page>& page, Dice& dice) override;
    void Close() override;
    std::unique_ptr<Seat> TakeSeat() override;
    void End() override;
    bool delivers_in_turn() const override { return false; }

  private:
    std::unique_ptr<host::Plugin> plugin_;
    std::unique_ptr<tv::EmbeddedInstance> instance_;
};

/// Web mode: over HTTP and WebSockets, as browsers reach it.
class WebHost : public Host {
  public:
    explicit WebHost(Findings& findings);
    ~WebHost() override;
    void Open(const std::shared_ptr<Page>& page, Dice& dice) override;
    void Close() override;
    std::unique_ptr<Seat> TakeSeat() override;
    void End() override;
    void ForgetPages() override;
    bool delivers_in_turn() const override { return true; }

  private:
    class WebSeat;
    /// From when `lateness` messages of the page are through.
    void Listen(std::size_t index, int lateness) EXCLUDES(mutex_);
    void AwaitListeners();
    void JoinListeners(const std::string& reason) EXCLUDES(mutex_);

    Findings& findings_;
    std::atomic<bool> ending_{false};
    std::unique_ptr<test::Web> web_;
    std::shared_ptr<Page> page_;  // null: none is open
    std::string path_;            ///< the page's, "/page/7/"
    std::vector<std::thread> listeners_;
    std::atomic<std::size_t> listening_{0};
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::vector<std::string> reasons_ GUARDED_BY(mutex_);  ///< why the listeners were closed
    std::thread journal_;
};

}  // namespace soak
