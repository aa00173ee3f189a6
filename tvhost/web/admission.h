// SPDX-License-Identifier: Apache-2.0
#pragma once

// clang-format off
#include <cstdint>  // before Beast, which in some versions leaves it to others
// clang-format on
#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tvhost/web/own_names.h"
#include "tvhost/web/request.h"

namespace host {

/// What the server wants to know of a request's header. The texts are the header's own, empty where it has
/// none, and the first where it has several.
struct HeaderNotes {
    HeaderNotes() = default;
    explicit HeaderNotes(const boost::beast::http::request_header<>& header);

    std::size_t hosts = 0;
    std::size_t origins = 0;
    std::size_t encodings = 0;
    std::size_t lengths = 0;
    std::string_view host;
    std::string_view origin;
    std::string_view encoding;
    std::string_view length;
    std::string_view expect;
    std::string_view referer;
    std::string_view fetch_site;
    std::string_view fetch_mode;
    std::string_view private_network;  ///< whether a preflight asks for that access
    std::string_view accept;
    std::string_view range;
    std::string_view if_range;
};

/// Why it isn't certain where the request ends, or nothing. The connection has to end after such a one.
std::optional<WebResponse> CheckFraming(const HeaderNotes& notes, unsigned http_version);

/// Who sent a request, as far as a browser tells.
struct Visitor {
    enum class Kind {
        Own,       ///< a page of this server, or no page
        Guest,     ///< a page of an origin that is allowed
        Misnamed,  ///< the request is addressed to another server
        Foreign,   ///< a page from elsewhere
    };
    Kind kind = Kind::Own;
    const std::string* origin = nullptr;  ///< a guest's: the one that is allowed

    bool is_welcome() const { return kind == Kind::Own || kind == Kind::Guest; }
};

/// `reads`: the request is a GET or a HEAD.
Visitor Recognize(const HeaderNotes& notes, bool reads, const OwnNames& own,
                  const std::vector<std::string>& allowed);

/// The answer to a visitor who isn't welcome.
WebResponse Unwelcome(const Visitor& visitor, const OwnNames& own);

/// The answer to a guest's browser that asks what its page may do.
WebResponse Preflight(const HeaderNotes& notes);

}  // namespace host
