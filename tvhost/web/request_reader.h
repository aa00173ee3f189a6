// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <cstddef>
#include <optional>
#include <string>

#include "tvhost/web/admission.h"
#include "tvhost/web/connection.h"
#include "tvhost/web/limited_body.h"

namespace host {

/// What is read of a body that is refused, so that the browser gets to read the refusal.
constexpr std::size_t kMaxDrainedBytes = std::size_t{64} * 1024 * 1024;

/// Takes requests out of what a connection brings, one after the other, and bounds what they may take. The
/// server's thread.
class RequestReader {
  public:
    explicit RequestReader(ServerState& server) : server_(server) { BeginRequest(); }
    ~RequestReader() { Hold(0); }
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;

    /// Where what comes is to be put.
    boost::beast::flat_buffer& buffer() { return buffer_; }
    /// Whether a part of a header has come, or more than the request that is at hand.
    bool has_rest() const { return buffer_.size() != 0; }

    /// The next request, once this one is taken care of.
    void BeginRequest();
    enum class Step {
        NeedsMore,
        HasHeader,  ///< goes on with TakeHeader
        IsWhole,
        IsRefused,  ///< see refusal(); nothing can follow
    };
    Step Read();
    /// Whether the header is there, and was not taken.
    bool has_header() const { return in_header_ && parser_->is_header_done(); }
    bool in_header() const { return in_header_; }
    /// The header is read; goes on to the body. False when it is refused.
    bool TakeHeader(const OwnNames& own);
    /// Why there is no such request.
    std::optional<WebResponse>& refusal() { return refusal_; }
    /// Nothing more of it is wanted.
    void Drop();

    // Of a request whose header was taken.
    const Visitor& visitor() const { return visitor_; }
    const HeaderNotes& notes() const { return notes_; }
    boost::beast::http::verb method() const { return parser_->get().method(); }
    bool keeps_alive() const { return parser_->get().keep_alive(); }
    bool reads() const;  ///< a GET or a HEAD
    bool is_upgrade() const;
    /// It is a request of a page, which is the one that has the TV, or has had it.
    bool is_of_page() const;
    /// Whether the browser waits to be asked for the body.
    bool waits_to_go_on() const;
    bool is_whole() const { return parser_->is_done(); }
    /// The answer to a body over the limit, or nothing.
    std::optional<WebResponse> TooLarge() const;
    /// What is to be passed on. Once.
    WebRequest Take();
    /// The header of one that wants to become a WebSocket. Once, and last.
    boost::beast::http::request<boost::beast::http::empty_body> TakeUpgrade();

  private:
    /// The body that is being read has become that large.
    void Hold(std::size_t bytes);

    ServerState& server_;
    boost::beast::flat_buffer buffer_;
    std::optional<boost::beast::http::request_parser<LimitedBody>> parser_;
    HeaderNotes notes_;  ///< the parser's texts
    Visitor visitor_;
    bool in_header_ = true;
    std::size_t header_bytes_ = 0;  ///< what the parser has taken of it
    std::optional<WebResponse> refusal_;
    std::size_t body_bytes_ = 0;  ///< as the server counts them
};

}  // namespace host
