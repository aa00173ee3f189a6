// SPDX-License-Identifier: Apache-2.0
#include "tests/support/web_client.h"

#include <algorithm>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <cctype>
#include <stdexcept>

#include "tests/support/page.h"

namespace test {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

std::string HostName(std::uint16_t port)
{
    return "127.0.0.1:" + std::to_string(port);
}

void Require(const error_code& error, const std::string& what)
{
    if (error)
        throw std::runtime_error(what + ": " + error.message());
}

tcp::socket Connect(asio::io_context& io, std::uint16_t port)
{
    tcp::socket socket(io);
    error_code error;
    socket.connect({asio::ip::address_v4::loopback(), port}, error);
    Require(error, "connecting to port " + std::to_string(port));
    socket.set_option(tcp::no_delay(true));
    return socket;
}

template <typename Fields>
void Insert(Fields& fields, const Headers& headers)
{
    for (const auto& [name, value] : headers)
        fields.set(name, value);
}

}  // namespace

std::string RefusedMessage(const std::string& command)
{
    return R"({"code":9,"command":")" + command +
           R"(","data":null,"errorMessage":"Parameters is invalid","errorName":"NotSupportedError"})";
}

std::string WebReply::Header(const std::string& name) const
{
    for (const auto& [key, value] : headers) {
        if (key == name)
            return value;
    }
    return "";
}

class WebClient::Core {
  public:
    explicit Core(std::uint16_t port) : name(HostName(port)), socket(Connect(io, port)) {}

    WebReply ReadReply(bool head)
    {
        http::response_parser<http::string_body> parser;
        parser.skip(head);
        parser.body_limit(std::uint64_t{256} * 1024 * 1024);
        error_code error;
        http::read(socket, buffer, parser, error);
        Require(error, "reading a reply");
        const auto& message = parser.get();
        WebReply reply{static_cast<int>(message.result_int()), message.body(), message.keep_alive(), {}};
        for (const auto& field : message) {
            std::string key(field.name_string());
            std::transform(key.begin(), key.end(), key.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            reply.headers.emplace_back(key, std::string(field.value()));
        }
        return reply;
    }

    asio::io_context io;
    const std::string name;
    tcp::socket socket;
    beast::flat_buffer buffer;
};

WebClient::WebClient(std::uint16_t port) : core_(std::make_unique<Core>(port)) {}

WebClient::~WebClient() = default;

WebReply WebClient::Send(const std::string& method, const std::string& target, const std::string& body,
                         const Headers& headers)
{
    Begin(method, target, body, headers);
    return core_->ReadReply(method == "HEAD");
}

void WebClient::Begin(const std::string& method, const std::string& target, const std::string& body,
                      const Headers& headers)
{
    http::request<http::string_body> request;
    request.method_string(method);
    request.target(target);
    request.version(11);
    request.set(http::field::host, core_->name);
    Insert(request, headers);
    request.body() = body;
    if (!request.chunked())
        request.prepare_payload();
    error_code error;
    http::write(core_->socket, request, error);
    Require(error, "sending a request");
}

WebReply WebClient::Finish()
{
    return core_->ReadReply(false);
}

void WebClient::SendOnly(const std::string& bytes)
{
    error_code error;
    asio::write(core_->socket, asio::buffer(bytes), error);
    Require(error, "sending bytes");
}

WebReply WebClient::SendBytes(const std::string& bytes)
{
    error_code error;
    asio::write(core_->socket, asio::buffer(bytes), error);
    return core_->ReadReply(false);
}

bool WebClient::IsQuiet() const
{
    return core_->buffer.size() == 0 && core_->socket.available() == 0;
}

std::string WebClient::OpenPage()
{
    return "/page/" + J(Post("/page/open").body)["page"].asString() + '/';
}

Json::Value WebPage::State()
{
    return J(client.Get("/tv/state").body);
}

HeldUp::HeldUp(WebPage& page) : client(page.port)
{
    page.Do(R"({"tv":"answer","call":"vconf_get_int","result":-1,"delay":600000})");
    WebListener journal(page.port, "/journal");
    client.Begin("POST", page.path + "await", R"({"command":"GetIntegerFromVconfWithKey","key":"k"})");
    while (journal.Read().find("\"await\"") == std::string::npos) {
    }
}

class WebListener::Core {
  public:
    explicit Core(std::uint16_t port) : socket(Connect(io, port)) {}

    asio::io_context io;
    websocket::stream<tcp::socket> socket;
    beast::flat_buffer buffer;
    int status = 0;
    bool closed = false;
};

WebListener::WebListener(std::uint16_t port, const std::string& target, const Headers& headers)
    : core_(std::make_unique<Core>(port))
{
    core_->socket.set_option(websocket::stream_base::decorator(
        [&](websocket::request_type& request) { Insert(request, headers); }));
    websocket::response_type response;
    error_code error;
    core_->socket.handshake(response, HostName(port), target, error);
    if (error != websocket::error::upgrade_declined) {
        Require(error, "handshake");
        core_->status = static_cast<int>(response.result_int());
        return;
    }
    // Why it was declined is not passed on, so it is asked for again.
    Headers all{{"Connection", "Upgrade"},
                {"Upgrade", "websocket"},
                {"Sec-WebSocket-Version", "13"},
                {"Sec-WebSocket-Key", "AAAAAAAAAAAAAAAAAAAAAA=="}};
    all.insert(all.end(), headers.begin(), headers.end());
    core_->status = WebClient(port).Send("GET", target, "", all).status;
}

WebListener::~WebListener() = default;
WebListener::WebListener(WebListener&&) noexcept = default;

int WebListener::status() const
{
    return core_->status;
}

std::string WebListener::Read()
{
    if (std::optional<std::string> text = Next())
        return *text;
    throw std::runtime_error("no text any more: " + reason());
}

std::optional<std::string> WebListener::Next()
{
    core_->buffer.clear();
    error_code error;
    core_->socket.read(core_->buffer, error);
    if (error) {
        core_->closed = error == websocket::error::closed;
        return std::nullopt;
    }
    return beast::buffers_to_string(core_->buffer.data());
}

std::string WebListener::reason() const
{
    return core_->closed ? core_->socket.reason().reason.c_str() : "";
}

std::string WebListener::ReadToEnd()
{
    while (Next()) {
    }
    return reason();
}

void WebListener::Send(const std::string& text)
{
    error_code error;
    core_->socket.write(asio::buffer(text), error);
    Require(error, "sending a text");
}

}  // namespace test
