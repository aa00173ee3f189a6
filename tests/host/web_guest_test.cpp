// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tvhost/web/own_names.h"

namespace {

using test::Web;
using test::WebClient;
using test::WebListener;
using test::WebPage;
using test::WebReply;

constexpr char kVersionMessage[] = R"({"command":"GetVersion"})";
constexpr char kGuest[] = "http://localhost:5173";

TEST(CheckOrigin, SaysWhyABrowserWouldNotSendIt)
{
    for (const char* origin :
         {kGuest, "http://localhost", "https://tv.example", "http://127.0.0.1:3000", "http://[::1]:5173",
          "https://xn--bcher-kva.example:65535", "chrome-extension://abcdefgh", "http://my_host.local:1"})
        EXPECT_EQ(host::CheckOrigin(origin).value_or(""), "") << origin;
    const std::string name(100'000, 'x');
    std::vector<std::pair<std::string, std::string>> refused{
        {"*", "every page"},
        {"null", "hide theirs"},
        {"http://localhost:5173/", "no path and no slash at its end; write http://localhost:5173"},
        {"http://localhost:5173/app", "write http://localhost:5173"},
        {"http://localhost?x", "write http://localhost"},
        {"http://localhost,http://other", "no path"},
        {"http://localhost:80", "write http://localhost"},
        {"https://tv.example:443", "write https://tv.example"},
    };
    for (const char* origin : {"", "localhost:5173", "HTTP://localhost", "://localhost"})
        refused.emplace_back(origin, "not an origin");
    for (const std::string& host : {std::string(), std::string("Localhost:5173"), std::string("*.example"),
                                    std::string("me@localhost"), std::string("[::1"), name + '!'})
        refused.emplace_back("http://" + host, "not a host");
    for (const char* port : {"", "0", "05173", "65536", "you@localhost"})
        refused.emplace_back(std::string("http://localhost:") + port, "a number from 1 to 65535");
    for (const auto& [origin, why] : refused) {
        const std::string said = host::CheckOrigin(origin).value_or("taken");
        EXPECT_NE(said.find(why), std::string::npos) << origin.substr(0, 80) << ": " << said;
        EXPECT_LT(said.size(), 600U);
    }
}

host::ServeOptions Allowing(const std::vector<std::string>& origins)
{
    host::ServeOptions options;
    options.allow_origins = origins;
    return options;
}

TEST(WebGuests, PagesOfAllowedOriginsUseTheTvAndNoOthers)
{
    EXPECT_THROW(Web(Allowing({"*"})), host::ServerError);
    const Web web(Allowing({"https://other.example", kGuest}));
    WebPage page(web.port());
    const auto own = "http://127.0.0.1:" + std::to_string(web.port());
    struct Case {
        test::Headers headers;
        bool is_welcome;
        std::string origin;  // that is told to the browser
    };
    std::vector<Case> cases{
        {{}, true, ""},
        {{{"Origin", own}}, true, ""},
        {{{"Origin", kGuest}}, true, kGuest},
        {{{"Origin", kGuest}, {"Sec-Fetch-Site", "cross-site"}}, true, kGuest},
        {{{"Origin", "https://other.example"}}, true, "https://other.example"},
        {{{"Origin", "http://localhost:5174"}, {"Referer", "http://localhost:5173/"}}, false, ""},
    };
    for (const char* origin :
         {"http://localhost:51730", "https://localhost:5173", "http://LOCALHOST:5173", "null"})
        cases.push_back({{{"Origin", origin}}, false, ""});
    const std::vector<std::tuple<const char*, std::string, std::string, int>> requests{
        {"GET", "/zelumo-embed.js", "", 200},
        {"POST", page.path + "await", kVersionMessage, 200},
        {"POST", page.path + "await", "'", 400},
        {"GET", "/nothing", "", 404},
        {"POST", "/tv", std::string(2'000'000, ' '), 413},
    };
    for (const Case& c : cases) {
        const std::string shown = c.headers.empty() ? "none" : c.headers[0].second;
        for (const auto& [method, path, body, status] : requests) {
            const WebReply reply = page.client.Send(method, path, body, c.headers);
            EXPECT_EQ(reply.status, c.is_welcome ? status : 403) << shown << path << reply.body;
            EXPECT_EQ(reply.Header("access-control-allow-origin"), c.origin) << shown << path;
            EXPECT_EQ(reply.Header("vary"), "Origin") << shown << path;
        }
        for (const std::string& path : {std::string("/journal"), page.path + "messages"})
            EXPECT_EQ(WebListener(web.port(), path, c.headers).status(), c.is_welcome ? 101 : 403) << shown;
        const bool is_guest = !c.origin.empty();
        const WebReply preflight = page.client.Send("OPTIONS", page.path + "await", "", c.headers);
        EXPECT_EQ(preflight.status, is_guest ? 204 : c.is_welcome ? 405 : 403) << shown;
        EXPECT_EQ(preflight.Header("access-control-allow-methods"), is_guest ? "GET, HEAD, POST" : "");
    }
    const WebReply preflight = page.client.Send(
        "OPTIONS", "/tv", "", {{"Origin", kGuest}, {"Access-Control-Request-Private-Network", "true"}});
    EXPECT_EQ(preflight.Header("access-control-allow-headers"), "Content-Type");
    EXPECT_EQ(preflight.Header("access-control-allow-private-network"), "true");
    EXPECT_NE(preflight.Header("access-control-max-age"), "");

    const Web closed;
    const WebReply reply = WebClient(closed.port()).Get("/");
    EXPECT_EQ(reply.Header("vary") + reply.Header("access-control-allow-origin"), "");
}

TEST(WebGuests, WhatComesWithoutAnOriginIsJudgedByWhereItComesFrom)
{
    const Web web(Allowing({kGuest}));
    WebClient client(web.port());
    struct Case {
        const char* site;
        const char* mode;
        std::string referer;
        int status;
        const char* policy;
    };
    for (const Case& c : {
             Case{"cross-site", "no-cors", "http://localhost:5173/app/?x=http://a/", 200, "cross-origin"},
             Case{"same-site", "no-cors", "http://localhost:5173/", 200, "cross-origin"},
             Case{"same-site", "no-cors", "http://localhost:5174/", 200, "same-origin"},
             Case{"cross-site", "no-cors", "http://localhost:5173.elsewhere.example/", 403, "same-origin"},
             Case{"cross-site", "no-cors", "http://elsewhere.example/http://localhost:5173/", 403,
                  "same-origin"},
             Case{"cross-site", "websocket", "", 403, "same-origin"},
             Case{"cross-site", "navigate", "http://elsewhere.example/", 200, "same-origin"},
             Case{"same-origin", "no-cors", "http://localhost:5173/", 200, "same-origin"},
             Case{"none", "navigate", "", 200, "same-origin"},
         }) {
        const test::Headers headers{
            {"Sec-Fetch-Site", c.site}, {"Sec-Fetch-Mode", c.mode}, {"Referer", c.referer}};
        const std::string shown = std::string(c.site) + ' ' + c.mode + ' ' + c.referer;
        const WebReply reply = client.Send("GET", "/zelumo-embed.js", "", headers);
        EXPECT_EQ(reply.status, c.status) << shown;
        EXPECT_EQ(reply.Header("cross-origin-resource-policy"), c.policy) << shown;
        // Whoever acts says where it comes from.
        if (c.site == std::string("cross-site")) {
            EXPECT_EQ(client.Send("POST", "/page/open", "", headers).status, 403) << shown;
        }
    }
}

}  // namespace
