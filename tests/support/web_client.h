// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// What a page may always ask, and the answer.
inline constexpr char kVersionMessage[] = R"({"command":"GetVersion"})";
inline constexpr char kVersionReply[] = R"({"code":0,"data":"1.00"})";
/// What comes when it, or whatever else is no command that answers, is posted.
std::string RefusedMessage(const std::string& command);
inline constexpr char kRestore[] = R"({"tv":"restore"})";
inline constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

using Headers = std::vector<std::pair<std::string, std::string>>;

struct WebReply {
    int status = 0;
    std::string body;
    bool keeps_alive = false;
    Headers headers;  ///< names in lower case

    /// The header's value, or "".
    std::string Header(const std::string& name) const;
};

/// One connection to a web server on this machine, kept alive from request to request. Requests are
/// addressed to `127.0.0.1:PORT` unless the headers say otherwise. Failures throw std::runtime_error.
class WebClient {
  public:
    explicit WebClient(std::uint16_t port);
    ~WebClient();

    WebReply Send(const std::string& method, const std::string& target, const std::string& body = "",
                  const Headers& headers = {});
    WebReply Get(const std::string& target) { return Send("GET", target); }
    WebReply Post(const std::string& target, const std::string& body = "")
    {
        return Send("POST", target, body);
    }
    /// Opens a page. Its address, to which "await", "post", "close" and "messages" are added: "/page/7/".
    std::string OpenPage();
    /// Send in two: the request alone, and its reply.
    void Begin(const std::string& method, const std::string& target, const std::string& body = "",
               const Headers& headers = {});
    WebReply Finish();
    /// Sends these bytes as they are.
    void SendOnly(const std::string& bytes);
    /// Sends these bytes as far as the server takes them, and reads a reply.
    WebReply SendBytes(const std::string& bytes);
    /// Whether nothing has come that was not asked for.
    bool IsQuiet() const;

  private:
    class Core;
    std::unique_ptr<Core> core_;
};

/// A page that is open, by a connection of its own, and the TV that it has.
struct WebPage {
    explicit WebPage(std::uint16_t server) : port(server), client(server), path(client.OpenPage()) {}

    WebReply Await(const std::string& message) { return client.Post(path + "await", message); }
    WebReply Post(const std::string& message) { return client.Post(path + "post", message); }
    WebReply Do(const std::string& verb) { return client.Post("/tv", verb); }
    Json::Value State();

    const std::uint16_t port;
    WebClient client;
    std::string path;
};

/// A message of a page whose call takes ten minutes unless it is restored, and fails: it holds the plug-in
/// up.
struct HeldUp {
    /// Returns once it has begun.
    explicit HeldUp(WebPage& page);

    WebClient client;  ///< waits for the reply, whose code is 9999
};

/// A WebSocket that listens.
class WebListener {
  public:
    WebListener(std::uint16_t port, const std::string& target, const Headers& headers = {});
    ~WebListener();
    WebListener(WebListener&&) noexcept;

    /// 101, or what the server refused it with.
    int status() const;
    /// The next text. Throws std::runtime_error when the server closed.
    std::string Read();
    /// The next text, or nothing when there is none any more.
    std::optional<std::string> Next();
    /// Why the server closed, or "" when the connection was lost.
    std::string reason() const;
    /// Reads to the end and gives the reason.
    std::string ReadToEnd();
    /// Sends the server a text, which it doesn't care for.
    void Send(const std::string& text);

  private:
    class Core;
    std::unique_ptr<Core> core_;
};

}  // namespace test
