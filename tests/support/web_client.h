#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace test {

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
