// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/request_reader.h"

#include <algorithm>
#include <boost/beast/websocket/rfc6455.hpp>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

namespace host {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;

/// What the bodies may take that are being read, of all connections, before a large one is refused.
constexpr std::size_t kMaxBodyBytes = std::size_t{64} * 1024 * 1024;

std::string_view View(beast::string_view text)
{
    return {text.data(), text.size()};
}

}  // namespace

void RequestReader::Hold(std::size_t bytes)
{
    server_.body_bytes += bytes;
    server_.body_bytes -= std::exchange(body_bytes_, bytes);
}

void RequestReader::BeginRequest()
{
    Hold(0);
    parser_.emplace();
    parser_->header_limit(kMaxHeaderBytes);
    // The limit is ours to watch: a body over it is read to its end all the same.
    parser_->body_limit(std::numeric_limits<std::uint64_t>::max());
    parser_->get().body().limit = server_.limits.body_bytes;
    in_header_ = true;
    header_bytes_ = 0;
    notes_ = {};
    visitor_ = {};
}

RequestReader::Step RequestReader::Read()
{
    while (in_header_ ? !parser_->is_header_done() : !parser_->is_done()) {
        if (buffer_.size() == 0)
            return Step::NeedsMore;
        boost::system::error_code error;
        const std::size_t count = parser_->put(buffer_.data(), error);
        buffer_.consume(count);
        // The parser's own limit is for what it gets at a time.
        if (in_header_ && (header_bytes_ += count) > kMaxHeaderBytes)
            error = http::error::header_limit;
        if (error == http::error::need_more) {
            // Not of a body: what is left is a header's line, or one of the lines between the chunks.
            if (buffer_.size() + header_bytes_ < kMaxHeaderBytes)
                return Step::NeedsMore;
            error = http::error::header_limit;
        }
        if (error == http::error::header_limit)
            refusal_ = ErrorResponse(431, "the request's header is too large");
        else if (error)
            refusal_ = ErrorResponse(400, "the request is not HTTP: " + error.message());
        else if (parser_->get().body().size > kMaxDrainedBytes + server_.limits.body_bytes)
            refusal_ = TooLarge();
        else if (Hold(parser_->get().body().text.size());
                 body_bytes_ > LimitedBody::kReserved && server_.body_bytes > kMaxBodyBytes) {
            refusal_ = ErrorResponse(503, "too many bodies are on their way");
            // At once, so that no other one is refused for its sake.
            parser_->get().body().text = std::string();
            Hold(0);
        }
        if (refusal_)
            return Step::IsRefused;
    }
    return in_header_ ? Step::HasHeader : Step::IsWhole;
}

bool RequestReader::TakeHeader(const OwnNames& own)
{
    in_header_ = false;
    header_bytes_ = 0;
    parser_->eager(true);
    notes_ = HeaderNotes(parser_->get());
    visitor_ = Recognize(notes_, reads(), own, server_.allow_origins);
    refusal_ = CheckFraming(notes_, parser_->get().version());
    return !refusal_;
}

void RequestReader::Drop()
{
    BeginRequest();
    buffer_.clear();
}

bool RequestReader::reads() const
{
    return method() == http::verb::get || method() == http::verb::head;
}

bool RequestReader::is_upgrade() const
{
    return beast::websocket::is_upgrade(parser_->get());
}

bool RequestReader::is_of_page() const
{
    constexpr std::string_view kPages = "/page/";
    const std::string_view target = View(parser_->get().target());
    return target.substr(0, kPages.size()) == kPages &&
           target.substr(kPages.size(), 1).find_first_of("0123456789") == 0;
}

bool RequestReader::waits_to_go_on() const
{
    const auto& request = parser_->get();
    return request.version() >= 11 && beast::iequals(request[http::field::expect], "100-continue");
}

std::optional<WebResponse> RequestReader::TooLarge() const
{
    const std::size_t limit = server_.limits.body_bytes;
    const boost::optional<std::uint64_t> length = parser_->content_length();
    if ((!length || *length <= limit) && parser_->get().body().size <= limit)
        return std::nullopt;
    return ErrorResponse(413, "the body is larger than " + std::to_string(limit) + " bytes");
}

WebRequest RequestReader::Take()
{
    auto& message = parser_->get();
    WebRequest request;
    request.method = View(message.method_string());
    const std::string_view whole = View(message.target());
    const std::string_view target = whole.substr(0, whole.find('#'));
    const std::size_t mark = std::min(target.find('?'), target.size());
    request.path = target.substr(0, mark);
    request.query = target.substr(std::min(mark + 1, target.size()));
    request.body = std::move(message.body().text);
    request.is_of_guest = visitor_.kind == Visitor::Kind::Guest;
    if (reads()) {
        request.accept = notes_.accept;
        request.range = notes_.range;
        request.if_range = notes_.if_range;
    }
    return request;
}

http::request<http::empty_body> RequestReader::TakeUpgrade()
{
    return http::request<http::empty_body>(std::move(parser_->get().base()));
}

}  // namespace host
