#pragma once

#include <json/value.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/calls.h"
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
    void Stop();

  private:
    using Clock = std::chrono::steady_clock;
    using Answer = WebServer::Answer;

    /// One turn at the TV.
    struct Turn {
        std::function<void()> run;
        Answer answer;  ///< gets the error, when there is one; never empty
        std::size_t bytes = 0;
    };
    /// A line in, and the same as text.
    struct Line {
        Json::Value json;
        std::string text;
    };

    // The server's thread.
    void OnRequest(const WebRequest& request, const Answer& answer);
    std::variant<std::shared_ptr<Channel>, WebResponse> OnListen(const std::string& path);
    void OnPageRequest(const WebRequest& request, const std::string& path, const Answer& answer);
    void OnMessage(long long page, bool blocking, const std::string& body, const Answer& answer);
    void OnVerb(const std::string& body, const Answer& answer);
    WebResponse StateResponse();
    WebResponse FileResponse(const WebRequest& request) const;
    void HearJournal(bool heard);
    /// False when it was refused: the turn's answer was given then.
    bool TakeTurn(Turn turn);

    // The thread of Run.
    void ServeTurns();
    void RunTurn(const Turn& turn);
    /// `answer` gets the line's reply, or what was done; it may be empty. Throws LineError.
    void CarryOut(const Line& line, const Answer& answer);
    std::vector<std::string> TakeLinesOut();
    long long OpenPage();
    void ClosePage(const std::string& reason);
    void BeginRecording();
    void Tick();

    // Any thread.
    void OnLineOut(const OrderedObject& line);
    /// The messages of the page that is open. Refuses any other page.
    std::shared_ptr<Channel> MessagesOf(long long page);

    const ServeOptions options_;
    const WebFiles files_;
    std::unique_ptr<Recorder> recorder_;  // null: nothing is recorded
    WebServer server_;
    const std::shared_ptr<Channel> journal_;

    std::mutex mutex_;
    std::condition_variable changed_;
    // Guarded by mutex_.
    std::deque<Turn> turns_;
    std::size_t waiting_bytes_ = 0;
    bool stopping_ = false;
    Session* session_ = nullptr;                    ///< while it can be used
    std::unique_ptr<tv::Calls::NoDelay> no_delay_;  ///< once it is stopping

    std::mutex page_mutex_;
    // Guarded by page_mutex_.
    const long long first_page_;
    long long last_page_;
    bool page_open_ = false;
    bool page_opening_ = false;          ///< from before the page that it replaces closes
    std::shared_ptr<Channel> messages_;  ///< of the page that is open

    std::atomic<bool> journal_heard_{false};
    std::mutex line_mutex_;
    // Guarded by line_mutex_: where the line that is being carried out leaves what it causes.
    std::vector<std::string> lines_out_;  ///< only while something is recorded
    Answer answer_;                       ///< gets the reply or what was done; empty: nobody waits
    bool ticking_ = false;

    // The thread of Run only.
    Clock::time_point started_;
    std::chrono::milliseconds ticked_{0};  ///< playing time that the ticks have added up to
};

/// Web mode as the program runs it, until Ctrl-C. Returns the exit status. Throws PluginError.
int RunServe(const ServeOptions& options);

}  // namespace host
