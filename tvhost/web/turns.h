// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <functional>

#include "core/mutex.h"
#include "tvhost/web/request.h"

namespace host {

/// The line of turns at the TV, which the server's thread keeps: each begins there when the one before it has
/// ended, and ends when it says so. What may block is done on the plug-in's thread, so that the server goes
/// on.
class Turns {
  public:
    /// The turn that has begun: it ends when this is dropped, on any thread. At most one at a time.
    class Turn {
      public:
        Turn() = default;
        Turn(Turn&& other) noexcept : turns_(other.turns_) { other.turns_ = nullptr; }
        Turn& operator=(Turn&& other) noexcept;
        ~Turn() { End(); }

      private:
        friend class Turns;
        explicit Turn(Turns& turns) : turns_(&turns) {}
        void End();
        Turns* turns_ = nullptr;  ///< null: no turn
    };
    /// What begins a turn, on the server's thread: it must not wait. `answer` is left to the caller where it
    /// throws; what it throws becomes the answer, and the turn ends.
    using Begin = std::function<void(WebAnswer& answer, Turn turn)>;
    /// What is done on the plug-in's thread, and may throw likewise.
    using Work = std::function<void(WebAnswer& answer)>;

    /// `post` runs what it is given on the server's thread, in order, and never waits.
    explicit Turns(std::function<void(std::function<void()>)> post) : post_(std::move(post)) {}
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    // The server's thread.
    /// A turn after all that wait, at once where none does. `answer` may be empty; it is the turn's from then
    /// on. `brings_on`: what waits goes on by it, so that it has a place even where too much waits. Throws
    /// Refused when the line has ended, or when too much waits.
    void Take(Begin begin, WebAnswer& answer, std::size_t bytes = 0, bool brings_on = false) EXCLUDES(mutex_);
    /// A turn before all that wait, which nobody waits for. Dropped when the line has ended.
    void TakeFirst(Begin begin) EXCLUDES(mutex_);
    /// Whether a turn that is taken now begins at once.
    bool is_free() const EXCLUDES(mutex_);

    // Whoever has the turn.
    /// The turn goes on on the plug-in's thread, and ends with the work.
    void OnPluginThread(Work work, WebAnswer answer, Turn turn) EXCLUDES(mutex_);

    // The plug-in's thread.
    /// Does its share of the turns until Stop, and until the turn that has begun has ended. Turns that have
    /// not are answered with 503.
    void Serve() EXCLUDES(mutex_);

    /// No more turns begin. Any thread.
    void Stop() EXCLUDES(mutex_);

  private:
    struct Waiting {
        Begin begin;
        WebAnswer answer;
        std::size_t bytes = 0;
    };
    struct Task {
        Work work;
        WebAnswer answer;
        Turn turn;
    };

    void Run(Waiting waiting);
    /// The next turn begins, on the server's thread.
    void BeginNext() EXCLUDES(mutex_);
    void End() EXCLUDES(mutex_);

    const std::function<void(std::function<void()>)> post_;
    mutable tv::Mutex mutex_{tv::LockLevel::Turns};
    tv::CondVar changed_;
    std::deque<Waiting> line_ GUARDED_BY(mutex_);
    std::size_t bytes_ GUARDED_BY(mutex_) = 0;  ///< of those that wait
    std::deque<Task> tasks_ GUARDED_BY(mutex_);
    bool busy_ GUARDED_BY(mutex_) = false;  ///< a turn has begun, or is about to
    bool stopping_ GUARDED_BY(mutex_) = false;
};

}  // namespace host
