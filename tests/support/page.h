// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>
#include <json/writer.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/journal.h"
#include "core/mutex.h"
#include "services/web-runtime/web_runtime.h"
#include "tvhost/plugin.h"

namespace test {

using Lines = std::vector<std::string>;

/// The built plug-in.
std::filesystem::path PluginPath();

/// A JSON value from its text.
Json::Value J(const std::string& text);

/// Compact text of a JSON value, for messages and comparisons.
std::string Text(const Json::Value& value);

/// What becomes of a page that was used wrongly. The process is aborted, unless a handler is set: the test
/// programs fail the test, the other users of this library have none.
using MisuseHandler = void (*)(const std::string& what);
void OnMisuse(MisuseHandler handler);

/// A page with the real plug-in, and a TV that stands still. Deliveries that the TV makes by itself wait
/// until the command that set them off was answered (Stepped), or come as they come up (Free). At the end
/// every message must have been taken and nothing may be left subscribed: anything else is a misuse.
class Page {
  public:
    enum class Deliveries { Stepped, Free };
    explicit Page(Deliveries deliveries = Deliveries::Stepped,
                  const std::filesystem::path& plugin = PluginPath());
    ~Page();
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    void Open();
    void Close();

    /// A blocking message and its reply.
    Json::Value AwaitValue(const Json::Value& message);
    Json::Value Await(const std::string& json) { return AwaitValue(J(json)); }
    void Post(const Json::Value& message);
    /// A verb of the TV; its results as an object.
    Json::Value Do(const std::string& json);
    /// From now on a platform call gives that answer: `"BmsPlay","result":-1`.
    void Answer(const std::string& answer) { Do(R"({"tv":"answer","call":)" + answer + "}"); }

    /// What the plug-in posted since the last call, oldest first.
    std::vector<Json::Value> TakeMessages() EXCLUDES(mutex_);
    /// The same, as texts.
    Lines TakeTexts();
    /// Waits until there are that many and takes them.
    std::vector<Json::Value> TakeMessages(std::size_t count) EXCLUDES(mutex_);
    /// Calls `observer` for each message, on the posting thread, instead of keeping it.
    void Observe(std::function<void(const Json::Value&)> observer) EXCLUDES(mutex_);

    /// Sends messages from any thread, even while this page closes and after that: what nobody handles any
    /// more is answered with an undefined var. Call it on the page's thread, while the page is open.
    tv::EmbeddedInstance::Sender GetSender() const { return instance_->GetSender(); }

  private:
    void OnMessage(const pp::Var& message) EXCLUDES(mutex_);
    void Settle();

    const Deliveries deliveries_;
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    tv::CondVar posted_;
    std::vector<Json::Value> messages_ GUARDED_BY(mutex_);
    std::function<void(const Json::Value&)> observer_ GUARDED_BY(mutex_);
    std::unique_ptr<host::Plugin> plugin_;
    std::unique_ptr<tv::EmbeddedInstance> instance_;
};

/// Collects what the TV's journal tells while it lives.
class Collected {
  public:
    /// The lines since the last Take.
    Lines Take() EXCLUDES(mutex_);
    /// Of those lines the ones that hold one of the texts.
    Lines TakeHolding(const std::vector<std::string>& texts);

  protected:
    Collected() = default;
    void Add(const std::string& line) EXCLUDES(mutex_);

    tv::Mutex mutex_{tv::LockLevel::Leaf};
    Lines lines_ GUARDED_BY(mutex_);
    std::unique_ptr<tv::Journal::Listening> listening_;
};

/// Platform calls as `BmsPlay [1] -> 0`, with ` out [5]` where there are out arguments.
class Calls : public Collected {
  public:
    Calls();
    /// The names alone.
    Lines TakeNames();
};

/// Log lines as `buffer/priority tag Function: text`, without file and number.
class Log : public Collected {
  public:
    Log();
};

}  // namespace test
