// SPDX-License-Identifier: Apache-2.0
#include <poll.h>

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/calls.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tvhost/json_text.h"

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::array kMethods{"POST", "GET", "HEAD", "PUT", "OPTIONS"};
/// '#' stands for the number of the page that is open.
constexpr std::array kTargets{
    "/page/#/await", "/page/#/post", "/page/#/close",    "/page/open",       "/tv",        "/tv/state",
    "/journal",      "/page/1/post", "/page/#/messages", "/page-api.json",   "/",          "/demo/%2e%2e/",
    "/demo",         "/page//",      "/zelumo.d.ts",     "/demo/index.html", "/tv/state?a"};

/// A way to reach the server that is never broken, whatever the inputs do to theirs.
class Server {
  public:
    Server()
    {
        // The fuzzer's clock ticks by signals, which are not to end the waiting for an answer.
        struct sigaction action {};
        sigaction(SIGALRM, nullptr, &action);
        action.sa_flags |= static_cast<int>(SA_RESTART);
        sigaction(SIGALRM, &action, nullptr);
    }
    std::uint16_t port() const { return web_.port(); }
    /// The number of the page that is open; it is opened first when there is none.
    std::string Page()
    {
        const Json::Value page = test::J(client_.Get("/tv/state").body)["page"];
        return page.isNull() ? test::J(client_.Post("/page/open").body)["page"].asString() : page.asString();
    }

  private:
    const test::Web web_;
    test::WebClient client_{web_.port()};
};

[[noreturn]] void Fail(const char* what, std::string_view shown)
{
    std::fprintf(stderr, "%s: %.*s\n", what, static_cast<int>(shown.size()), shown.data());
    std::abort();
}

std::string Replaced(std::string text, char mark, const std::string& by)
{
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += by.size())
        text.replace(at, 1, by);
    return text;
}

/// Whole requests, made from the bytes: each of them has to be answered.
void SendRequests(Server& server, std::string_view bytes)
{
    test::WebClient client(server.port());
    while (bytes.size() >= 3) {
        const auto pick = static_cast<std::uint8_t>(bytes[0]);
        const auto how = static_cast<std::uint8_t>(bytes[1]);
        const std::size_t length = static_cast<std::uint8_t>(bytes[2]) * std::size_t{4};
        bytes.remove_prefix(3);
        const std::string body(bytes.substr(0, length));
        bytes.remove_prefix(body.size());
        test::Headers headers;
        if ((how & 1) != 0)
            headers.emplace_back("Origin", "http://localhost:" + std::to_string(server.port()));
        if ((how & 2) != 0)
            headers.emplace_back("Content-Type", body);
        if ((how & 4) != 0)
            headers.emplace_back("Connection", "close");
        const std::string target = Replaced(kTargets[pick % kTargets.size()], '#', server.Page());
        const test::WebReply reply =
            client.Send(kMethods[(how >> 4) % kMethods.size()], target, body, headers);
        if (reply.status < 200 || reply.status >= 600)
            Fail("a strange status for", target);
        if (!reply.keeps_alive)
            return;
    }
}

/// The bytes as they are, to the end of what comes back.
void SendBytes(Server& server, std::string bytes)
{
    bytes = Replaced(std::move(bytes), '#', server.Page());
    bytes = Replaced(std::move(bytes), '@', "127.0.0.1:" + std::to_string(server.port()));
    asio::io_context io;
    tcp::socket socket(io);
    socket.connect({asio::ip::address_v4::loopback(), server.port()});
    boost::system::error_code error;
    asio::write(socket, asio::buffer(bytes), error);
    socket.shutdown(tcp::socket::shutdown_send, error);
    std::string answer;
    std::array<char, 16384> chunk{};
    for (;;) {
        pollfd readable{socket.native_handle(), POLLIN, 0};
        const int ready = poll(&readable, 1, 20'000);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0)
            Fail("no end of the answer to", bytes);
        const std::size_t size = socket.read_some(asio::buffer(chunk), error);
        if (error)
            break;
        answer.append(chunk.data(), size);
    }
    constexpr std::string_view kStart = "HTTP/1.1 ";
    if (std::string_view(answer).substr(0, kStart.size()) != kStart.substr(0, answer.size()))
        Fail("no answer in HTTP", answer);
}

}  // namespace

/// The first byte tells whole requests from bytes as they are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    host::WriteJson(Json::Value());  // what it keeps outlives the server
    static Server server;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // A delay is real time.
    if (text.empty() || text.find("delay") != std::string_view::npos)
        return -1;
    if ((text[0] & 1) == 0)
        SendRequests(server, text.substr(1));
    else
        SendBytes(server, std::string(text.substr(1)));
    tv::TheCalls().RestoreAll();
    return 0;
}
