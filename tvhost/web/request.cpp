// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/request.h"

#include <boost/beast/http/status.hpp>
#include <cstdio>
#include <exception>
#include <string_view>

#include "tvhost/json_text.h"
#include "tvhost/session.h"

namespace host {
namespace {

namespace http = boost::beast::http;

void AnswerFault(WebAnswer& answer, const char* what)
{
    std::fprintf(stderr, "zelumo-tv: a request failed: %s\n", what);
    answer(ErrorResponse(500, what));
}

}  // namespace

WebResponse ErrorResponse(int status, const std::string& why)
{
    WebResponse response;
    response.status = status;
    response.body = WriteJson(OrderedObject{{"error", why}});
    return response;
}

std::string ResponseHead(const WebResponse& response, std::uint64_t length, const Audience& audience)
{
    const auto status = static_cast<unsigned>(response.status);
    std::string head;
    head.reserve(384 + response.body.size());
    const auto line = [&head](std::string_view name, std::string_view value) {
        head.append(name).append(": ").append(value).append("\r\n");
    };
    head.append("HTTP/1.1 ").append(std::to_string(status)).append(" ");
    const boost::beast::string_view reason = http::obsolete_reason(http::int_to_status(status));
    head.append(reason.data(), reason.size()).append("\r\n");
    if (!audience.keeps_alive)
        line("Connection", "close");
    line("Cache-Control", "no-cache");
    if (response.status != 204)
        line("Content-Type", response.type);
    if (!response.allow.empty())
        line("Allow", response.allow);
    if (!response.location.empty())
        line("Location", response.location);
    head.append(response.lines);
    if (audience.varies)
        line("Vary", "Origin");
    if (audience.origin != nullptr)
        line("Access-Control-Allow-Origin", *audience.origin);
    if (audience.reads) {
        line("X-Content-Type-Options", "nosniff");
        line("Content-Security-Policy", "frame-ancestors 'self'");
        line("Cross-Origin-Resource-Policy", audience.origin == nullptr ? "same-origin" : "cross-origin");
    }
    if (response.status != 204)
        line("Content-Length", std::to_string(length));
    head.append("\r\n");
    return head;
}

void AnswerFailure(WebAnswer& answer) noexcept
{
    try {
        throw;
    } catch (const Refused& refused) {
        answer(ErrorResponse(refused.status(), refused.what()));
    } catch (const LineError& error) {
        answer(ErrorResponse(400, error.what()));
    } catch (const std::exception& error) {
        AnswerFault(answer, error.what());
    } catch (...) {
        AnswerFault(answer, "it does not say why");
    }
}

}  // namespace host
