// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/admission.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>

namespace host {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;

std::string_view View(beast::string_view text)
{
    return {text.data(), text.size()};
}

bool Equal(std::string_view left, std::string_view right)
{
    return beast::iequals({left.data(), left.size()}, {right.data(), right.size()});
}

/// A header that not every version of Beast has a number for.
std::string_view* Numberless(HeaderNotes& notes, beast::string_view name)
{
    if (beast::iequals(name, "Sec-Fetch-Site"))
        return &notes.fetch_site;
    if (beast::iequals(name, "Sec-Fetch-Mode"))
        return &notes.fetch_mode;
    if (beast::iequals(name, "Access-Control-Request-Private-Network"))
        return &notes.private_network;
    return nullptr;
}

/// The origin of the page at that address.
std::string_view OriginOf(std::string_view url)
{
    const std::size_t host = url.find("://");
    return host == std::string_view::npos ? "" : url.substr(0, url.find_first_of("/?#", host + 3));
}

const std::string* FindIn(const std::vector<std::string>& allowed, std::string_view origin)
{
    const auto found = std::find(allowed.begin(), allowed.end(), origin);
    return found == allowed.end() ? nullptr : &*found;
}

}  // namespace

HeaderNotes::HeaderNotes(const http::request_header<>& header)
{
    const auto note = [](std::string_view& text, const auto& field) {
        if (text.empty())
            text = View(field.value());
    };
    for (const auto& field : header) {
        // clang-format off
        switch (field.name()) {
        case http::field::host: note(host, field), ++hosts; break;
        case http::field::origin: note(origin, field), ++origins; break;
        case http::field::transfer_encoding: note(encoding, field), ++encodings; break;
        case http::field::content_length: note(length, field), ++lengths; break;
        case http::field::expect: note(expect, field); break;
        case http::field::referer: note(referer, field); break;
        case http::field::accept: note(accept, field); break;
        case http::field::range: note(range, field); break;
        case http::field::if_range: note(if_range, field); break;
        default:
            if (std::string_view* const text = Numberless(*this, field.name_string()))
                note(*text, field);
            break;
        }
        // clang-format on
    }
}

std::optional<WebResponse> CheckFraming(const HeaderNotes& notes, unsigned http_version)
{
    if (notes.encodings == 0) {
        // Several that agree are one too many for whoever stands between.
        return notes.lengths <= 1 && notes.length.find(',') == std::string_view::npos
                   ? std::nullopt
                   : std::optional(ErrorResponse(400, "there is more than one Content-Length"));
    }
    if (notes.lengths != 0)
        return ErrorResponse(400, "there is both a Content-Length and a Transfer-Encoding");
    if (notes.encodings != 1 || !Equal(notes.encoding, "chunked"))
        return ErrorResponse(501, "the only Transfer-Encoding that is known is chunked");
    if (http_version < 11)
        return ErrorResponse(400, "there is no Transfer-Encoding before HTTP/1.1");
    return std::nullopt;
}

Visitor Recognize(const HeaderNotes& notes, bool reads, const OwnNames& own,
                  const std::vector<std::string>& allowed)
{
    if (notes.hosts != 1 || !own.IsHost(notes.host))
        return {Visitor::Kind::Misnamed};
    if (notes.origins > 1)
        return {Visitor::Kind::Foreign};
    if (notes.origins == 1) {
        if (own.IsOrigin(notes.origin))
            return {Visitor::Kind::Own};
        const std::string* const origin = FindIn(allowed, notes.origin);
        return {origin == nullptr ? Visitor::Kind::Foreign : Visitor::Kind::Guest, origin};
    }
    const bool crosses = notes.fetch_site == "cross-site";
    // A plain <script> comes without an origin, but says which page it is for.
    if (reads && (crosses || notes.fetch_site == "same-site")) {
        if (const std::string* const origin = FindIn(allowed, OriginOf(notes.referer)))
            return {Visitor::Kind::Guest, origin};
    }
    // Somebody followed a link.
    const bool navigates = reads && notes.fetch_mode == "navigate";
    return {crosses && !navigates ? Visitor::Kind::Foreign : Visitor::Kind::Own};
}

WebResponse Unwelcome(const Visitor& visitor, const OwnNames& own)
{
    return ErrorResponse(403, visitor.kind == Visitor::Kind::Misnamed
                                  ? "this server goes by the name of " + own.first()
                                  : "pages from elsewhere can't reach the TV");
}

WebResponse Preflight(const HeaderNotes& notes)
{
    WebResponse response;
    response.status = 204;
    response.lines =
        "Access-Control-Allow-Methods: GET, HEAD, POST\r\n"
        "Access-Control-Allow-Headers: Content-Type\r\n"
        "Access-Control-Max-Age: 600\r\n";
    if (notes.private_network == "true")
        response.lines += "Access-Control-Allow-Private-Network: true\r\n";
    return response;
}

}  // namespace host
