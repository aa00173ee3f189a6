#pragma once

#include <json/value.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/calls.h"
#include "core/mutex.h"
#include "tvhost/recorder.h"
#include "tvhost/session.h"
#include "tvhost/web_files.h"
#include "tvhost/web_server.h"

namespace host {

struct ServeOptions {
    std::filesystem::path plugin;
    std::string address = "127.0.0.1";
    std::uint16_t port = 8047;      ///< 0: a free one
    std::filesystem::path web;      ///< the folder of the web files
    std::filesystem::path app;      ///< the person's own page; empty: the demo page alone
    std::filesystem::path record;   ///< empty: nothing is recorded
    std::vector<std::string> note;  ///< comments for the recording: how to replay it
    Json::Value kept_settings;      ///< settings from an earlier run, by key: the recording begins with them
    double speed = 1;               ///< how many times as fast playing time runs; 0: it stands still
    WebServer::Limits limits;
};

/// Web mode: a web server for one TV. The page in the browser takes turns with the person at the TV and the
/// TV's clock; all of them go through one line, which the thread of Run carries out: it is the plug-in's.
/// What needs no turn (files, the TV's state) is answered at once.
class WebHost {
  public:
    /// Takes the port. Throws ServerError, or std::system_error for a folder or file that can't be had.
    explicit WebHost(const ServeOptions& options);
    ~WebHost();
    WebHost(const WebHost&) = delete;
    WebHost& operator=(const WebHost&) = delete;

    // Any thread.
    std::string url() const { return server_.url(); }
    bool is_loopback() const { return server_.is_loopback(); }
    /// Stop is called at Ctrl-C or SIGTERM. Before Run.
    void StopOnInterrupt();

    /// Loads the plug-in, calls `ready`, and serves until Stop; then ends the page's instance and unloads
    /// the plug-in. Throws PluginError. Once.
    void Run(const std::function<void()>& ready);
    /// Any thread. The line that is being carried out is finished; those that wait are refused.
    void Stop() EXCLUDES(mutex_);

  private:
    using Clock = std::chrono::steady_clock;
    using Answer = WebServer::Answer;

    /// What is done in a turn at the TV. It gives the answer; where it throws, it leaves the answer to the
    /// caller.
    using Action = std::function<void(Answer& answer)>;
    struct Turn {
        Action run;
        Answer answer;  ///< empty: it was given already
        std::size_t bytes;
    };
    /// A line in, and the same as text.
    struct Line {
        Json::Value json;
        std::string text;
    };

    // The server's thread. What takes an answer leaves it to the caller where it throws.
    void OnRequest(const WebRequest& request, Answer& answer);
    std::variant<std::shared_ptr<Channel>, WebResponse> OnListen(const std::string& path);
    void OnPageRequest(const WebRequest& request, const std::string& path, Answer& answer);
    void OnMessage(long long page, bool blocking, const std::string& body, Answer& answer);
    void OnVerb(const std::string& body, Answer& answer);
    WebResponse StateResponse() EXCLUDES(page_mutex_);
    WebResponse FileResponse(const WebRequest& request) const;
    void HearJournal(bool heard) EXCLUDES(mutex_);
    /// `answer` is the turn's from then on. Refuses what is too much, or too late.
    void TakeTurn(Action run, Answer& answer, std::size_t bytes = 0) EXCLUDES(mutex_);

    // The thread of Run.
    void ServeTurns() EXCLUDES(mutex_);
    /// `answer` gets the line's reply, or what was done, and is left to the caller where this throws, as it
    /// does what Session::CarryOut throws.
    void CarryOut(const Line& line, Answer& answer) EXCLUDES(line_mutex_);
    /// Nobody waits for an answer.
    void CarryOut(const Line& line);
    /// What a line caused, and its answer, if it was not given.
    struct Caused {
        std::vector<std::string> lines_out;
        Answer answer;
    };
    Caused TakeCaused() EXCLUDES(line_mutex_);
    /// A page takes the place of the one that is open; its number.
    long long OpenPage() EXCLUDES(page_mutex_);
    void ClosePage(const std::string& reason) EXCLUDES(page_mutex_);
    void BeginRecording();
    void Tick() EXCLUDES(line_mutex_);

    // Any thread.
    void OnLineOut(const OrderedObject& line) EXCLUDES(line_mutex_, page_mutex_);
    /// The messages of the page that is open. Refuses any other page.
    std::shared_ptr<Channel> MessagesOf(long long page) EXCLUDES(page_mutex_);

    const ServeOptions options_;
    const WebFiles files_;
    std::unique_ptr<Recorder> recorder_;  // null: nothing is recorded
    WebServer server_;
    const std::shared_ptr<Channel> journal_;

    tv::Mutex mutex_{tv::LockLevel::Turns};
    tv::CondVar changed_;
    std::deque<Turn> turns_ GUARDED_BY(mutex_);
    std::size_t waiting_bytes_ GUARDED_BY(mutex_) = 0;
    bool stopping_ GUARDED_BY(mutex_) = false;
    Session* hearing_ GUARDED_BY(mutex_) = nullptr;  ///< session_, while it can be told what to hear
    std::unique_ptr<tv::Calls::NoDelay> no_delay_ GUARDED_BY(mutex_);  ///< once it is stopping

    const long long first_page_;
    tv::Mutex page_mutex_{tv::LockLevel::Page};
    long long last_page_ GUARDED_BY(page_mutex_);
    bool page_open_ GUARDED_BY(page_mutex_) = false;
    bool page_opening_ GUARDED_BY(page_mutex_) = false;  ///< from before the page that it replaces closes
    std::shared_ptr<Channel> messages_ GUARDED_BY(page_mutex_);  ///< of the page that is open

    std::atomic<bool> journal_heard_{false};
    /// For where the line that is being carried out leaves what it causes.
    tv::Mutex line_mutex_{tv::LockLevel::Lines};
    std::vector<std::string> lines_out_ GUARDED_BY(line_mutex_);  ///< only while something is recorded
    Answer answer_ GUARDED_BY(line_mutex_);  ///< gets the reply or what was done; empty: nobody waits
    bool ticking_ GUARDED_BY(line_mutex_) = false;

    // The thread of Run only.
    Session* session_ = nullptr;  ///< not owned; lives while turns are served
    Clock::time_point started_;
    std::chrono::milliseconds ticked_{0};  ///< playing time that the ticks have added up to
};

/// Web mode as the program runs it, until Ctrl-C. Returns the exit status. Throws PluginError.
int RunServe(const ServeOptions& options);

}  // namespace host
