// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace tv {

/// The right to answer one request: whoever holds it answers, once. It is moved, never copied, on its way
/// from the request to the answer. Dropped unanswered it answers by itself, with an error. One thread at a
/// time.
template <typename Reply>
class ReplyOnce {
  public:
    using Sink = std::function<void(Reply)>;

    /// Nothing to answer.
    ReplyOnce() = default;
    /// `sink` gets the one answer, which is `dropped` when no other is given. It must not throw.
    ReplyOnce(Sink sink, Reply dropped) : request_(new Request{std::move(sink), std::move(dropped)}) {}
    ReplyOnce(ReplyOnce&&) noexcept = default;
    /// Drops what it held before.
    ReplyOnce& operator=(ReplyOnce&&) noexcept = default;

    /// Whether there is something to answer still.
    explicit operator bool() const { return request_ != nullptr; }

    /// Answers; nothing is left to answer then. Nothing happens where there was nothing to answer.
    void operator()(Reply reply)
    {
        if (const std::unique_ptr<Request, Drop> request = std::move(request_))
            std::exchange(request->sink, nullptr)(std::move(reply));
    }

  private:
    struct Request {
        Sink sink;  ///< empty once it was called
        Reply dropped;
    };
    struct Drop {
        void operator()(Request* request) const
        {
            const std::unique_ptr<Request> dropped(request);
            if (dropped->sink)
                dropped->sink(std::move(dropped->dropped));
        }
    };
    std::unique_ptr<Request, Drop> request_;
};

}  // namespace tv
