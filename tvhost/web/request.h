// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "core/reply_once.h"

namespace host {

struct WebRequest {
    std::string method;
    std::string path;   ///< as it was sent, without the query
    std::string query;  ///< what follows the question mark
    std::string body;
    bool is_of_guest = false;  ///< a page of another origin sent it, which is allowed
    // Of a GET or a HEAD only: what its header says.
    std::string accept;
    std::string range;
    std::string if_range;
};

struct WebResponse {
    int status = 200;
    std::string type = "application/json";
    std::string body;
    std::filesystem::path file;  ///< when not empty, its content is the body
    std::string range;           ///< of a file: the request's own, which say what part of it is asked for
    std::string if_range;
    std::string allow;     ///< with 405: the methods that there are
    std::string location;  ///< with 301
    std::string lines;     ///< more of the header, each line with its end
};

/// To whom an answer goes, as its header shows.
struct Audience {
    bool reads = false;                   ///< the request was a GET or a HEAD
    bool keeps_alive = false;             ///< the connection goes on
    bool varies = false;                  ///< there are pages of other origins that are answered otherwise
    const std::string* origin = nullptr;  ///< of such a page, if it asked
};

/// A refusal: `{"error": why}`.
WebResponse ErrorResponse(int status, const std::string& why);

/// The response's start line and header. `length` is the body's, which a 204 doesn't have.
std::string ResponseHead(const WebResponse& response, std::uint64_t length, const Audience& audience);

/// The right to answer a request, on any thread. Dropped, it answers with status 500. It must not outlive the
/// server.
using WebAnswer = tv::ReplyOnce<WebResponse>;

/// A request that can't be granted: the status, and why.
class Refused : public std::runtime_error {
  public:
    Refused(int status, const std::string& why) : std::runtime_error(why), status_(status) {}
    int status() const { return status_; }

  private:
    const int status_;
};

/// Answers with what is being thrown, and says on standard error what nobody is to blame for but the host.
/// Inside a handler only; `answer` may be empty.
void AnswerFailure(WebAnswer& answer) noexcept;

/// Runs what answers a request; whatever it throws becomes the answer, which it has left then.
template <typename Action>
void Answering(WebAnswer& answer, Action action) noexcept
{
    try {
        action();
    } catch (...) {
        AnswerFailure(answer);
    }
}

}  // namespace host
