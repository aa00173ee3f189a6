// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tvhost/web/own_names.h"

namespace test {
namespace {

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
    const std::string port = std::to_string(web.port());
    const std::string own = "http://127.0.0.1:" + port;
    // The headers, whether who sends them is welcome, and the origin that is told to the browser.
    std::vector<std::tuple<Headers, bool, std::string>> cases{
        {{}, true, ""},
        {{{"Origin", own}}, true, ""},
        {{{"Host", "LocalHost:" + port}, {"Origin", "http://localhost:" + port}}, true, ""},
        {{{"Origin", kGuest}}, true, kGuest},
        {{{"Origin", kGuest}, {"Sec-Fetch-Site", "cross-site"}}, true, kGuest},
        {{{"Origin", "https://other.example"}}, true, "https://other.example"},
        {{{"Origin", "http://localhost:5174"}, {"Referer", "http://localhost:5173/"}}, false, ""},
    };
    for (const std::string& origin :
         {std::string("http://localhost:51730"), std::string("https://localhost:5173"),
          std::string("http://LOCALHOST:5173"), std::string("null"), std::string(),
          std::string("http://127.0.0.1"), "https://127.0.0.1:" + port, own + ".elsewhere.example"})
        cases.push_back({Headers{{"Origin", origin}}, false, ""});
    for (const std::string& host :
         {std::string(), std::string("127.0.0.1"), std::string("127.0.0.1:1"), "elsewhere.example:" + port})
        cases.push_back({Headers{{"Host", host}}, false, ""});
    const std::vector<std::tuple<const char*, std::string, std::string, int>> requests{
        {"GET", "/zelumo-embed.js", "", 200},
        {"POST", page.path + "await", kVersionMessage, 200},
        {"POST", page.path + "await", "'", 400},
        {"GET", "/nothing", "", 404},
        {"POST", "/tv", std::string(2'000'000, ' '), 413},
    };
    for (const auto& [headers, is_welcome, told] : cases) {
        const std::string shown = headers.empty() ? "none" : headers[0].first + ' ' + headers[0].second;
        for (const auto& [method, path, body, status] : requests) {
            const WebReply reply = page.client.Send(method, path, body, headers);
            EXPECT_EQ(reply.status, is_welcome ? status : 403) << shown << path << reply.body;
            EXPECT_EQ(reply.Header("access-control-allow-origin"), told) << shown << path;
            EXPECT_EQ(reply.Header("vary"), "Origin") << shown << path;
        }
        for (const std::string& path : {std::string("/journal"), page.path + "messages"})
            EXPECT_EQ(WebListener(web.port(), path, headers).status(), is_welcome ? 101 : 403) << shown;
        const bool is_guest = !told.empty();
        const WebReply preflight = page.client.Send("OPTIONS", page.path + "await", "", headers);
        EXPECT_EQ(preflight.status, is_guest ? 204 : is_welcome ? 405 : 403) << shown;
        EXPECT_EQ(preflight.Header("access-control-allow-methods"), is_guest ? "GET, HEAD, POST" : "");
    }
    const WebReply preflight = page.client.Send(
        "OPTIONS", "/tv", "", {{"Origin", kGuest}, {"Access-Control-Request-Private-Network", "true"}});
    EXPECT_EQ(preflight.Header("access-control-allow-headers"), "Content-Type");
    EXPECT_EQ(preflight.Header("access-control-allow-private-network"), "true");
    EXPECT_NE(preflight.Header("access-control-max-age"), "");

    // Without any that is allowed there are no guests, and still nobody else is let in.
    const Web closed;
    WebPage own_page(closed.port());
    const WebReply reply = own_page.client.Get("/");
    EXPECT_EQ(reply.Header("vary") + reply.Header("access-control-allow-origin"), "");
    for (const Headers& headers : {Headers{{"Origin", kGuest}},
                                   Headers{{"Host", "elsewhere.example:" + std::to_string(closed.port())}}}) {
        const std::string& shown = headers[0].first;
        EXPECT_EQ(own_page.client.Send("GET", "/", "", headers).status, 403) << shown;
        EXPECT_EQ(own_page.client.Send("POST", own_page.path + "await", kVersionMessage, headers).status, 403)
            << shown;
        EXPECT_EQ(WebListener(closed.port(), own_page.path + "messages", headers).status(), 403) << shown;
    }
}

TEST(WebGuests, WhatComesWithoutAnOriginIsJudgedByWhereItComesFrom)
{
    const Web web(Allowing({kGuest}));
    WebClient client(web.port());
    // The site it comes from, the mode, the referer; the status, and the policy that is told.
    for (const auto& [site, mode, referer, status, policy] :
         std::vector<std::tuple<std::string, std::string, std::string, int, std::string>>{
             {"cross-site", "no-cors", "http://localhost:5173/app/?x=http://a/", 200, "cross-origin"},
             {"same-site", "no-cors", "http://localhost:5173/", 200, "cross-origin"},
             {"same-site", "no-cors", "http://localhost:5174/", 200, "same-origin"},
             {"cross-site", "no-cors", "http://localhost:5173.elsewhere.example/", 403, "same-origin"},
             {"cross-site", "no-cors", "http://elsewhere.example/http://localhost:5173/", 403, "same-origin"},
             {"cross-site", "websocket", "", 403, "same-origin"},
             {"cross-site", "navigate", "http://elsewhere.example/", 200, "same-origin"},
             {"same-origin", "no-cors", "http://localhost:5173/", 200, "same-origin"},
             {"none", "navigate", "", 200, "same-origin"},
         }) {
        const Headers headers{{"Sec-Fetch-Site", site}, {"Sec-Fetch-Mode", mode}, {"Referer", referer}};
        const std::string shown = site + ' ' + mode + ' ' + referer;
        const WebReply reply = client.Send("GET", "/zelumo-embed.js", "", headers);
        EXPECT_EQ(reply.status, status) << shown;
        EXPECT_EQ(reply.Header("cross-origin-resource-policy"), policy) << shown;
        // Whoever acts says where it comes from.
        if (site == "cross-site") {
            EXPECT_EQ(client.Send("POST", "/page/open", "", headers).status, 403) << shown;
        }
    }
}

}  // namespace
}  // namespace test
