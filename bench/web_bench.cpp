// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <csignal>
#include <cstdio>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/mutex.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tests/support/web.h"
#include "tests/support/web_client.h"
#include "tv/tv.h"

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

constexpr int kBatch = 1000;
constexpr int kEvent = 90001;

/// A bare Beast server on a thread of its own: it sends every body back, and takes every WebSocket for a
/// listener.
class BareServer {
  public:
    /// By whom a request is answered.
    enum class By { Itself, AnotherThread };

    explicit BareServer(By by = By::Itself)
    {
        if (by == By::AnotherThread)
            other_.emplace("bench");
        Accept();
        thread_ = std::thread([this] { io_.run(); });
    }
    ~BareServer()
    {
        io_.stop();
        thread_.join();
    }
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;

    std::uint16_t port() const { return acceptor_.local_endpoint().port(); }
    /// Returns once that many listeners are connected.
    void WaitForListeners(std::size_t count) const
    {
        while (listening_ < count)
            std::this_thread::yield();
    }
    /// Sends a text to every listener.
    void Send(const std::shared_ptr<const std::string>& text)
    {
        asio::post(io_, [this, text] {
            for (const auto& listener : listeners_)
                listener->Push(text);
        });
    }

  private:
    struct Listener : std::enable_shared_from_this<Listener> {
        explicit Listener(beast::tcp_stream stream) : socket(std::move(stream)) {}
        void Push(std::shared_ptr<const std::string> text)
        {
            queue.push_back(std::move(text));
            if (queue.size() == 1)
                Write();
        }
        void Write()
        {
            socket.async_write(asio::buffer(*queue.front()),
                               [self = shared_from_this()](error_code error, std::size_t) {
                                   if (error)
                                       return;
                                   self->queue.pop_front();
                                   if (!self->queue.empty())
                                       self->Write();
                               });
        }
        websocket::stream<beast::tcp_stream> socket;
        std::deque<std::shared_ptr<const std::string>> queue;
    };
    struct Connection : std::enable_shared_from_this<Connection> {
        Connection(BareServer& the_server, tcp::socket socket) : server(the_server), stream(std::move(socket))
        {
            stream.socket().set_option(tcp::no_delay(true));
        }
        void Read()
        {
            request = {};
            http::async_read(stream, buffer, request,
                             [self = shared_from_this()](error_code error, std::size_t) {
                                 if (error)
                                     return;
                                 if (websocket::is_upgrade(self->request))
                                     self->Upgrade();
                                 else if (self->server.other_)
                                     self->HandOver();
                                 else
                                     self->Answer();
                             });
        }
        void HandOver()
        {
            server.other_->Post([self = shared_from_this()]() mutable {
                asio::io_context& io = self->server.io_;
                asio::post(io, [self = std::move(self)] { self->Answer(); });
            });
        }
        void Answer()
        {
            response = {};
            response.version(11);
            response.body() = std::move(request.body());
            response.prepare_payload();
            http::async_write(stream, response, [self = shared_from_this()](error_code error, std::size_t) {
                if (!error)
                    self->Read();
            });
        }
        void Upgrade()
        {
            const auto listener = std::make_shared<Listener>(std::move(stream));
            listener->socket.async_accept(request, [self = shared_from_this(), listener](error_code error) {
                if (error)
                    return;
                self->server.listeners_.push_back(listener);
                ++self->server.listening_;
            });
        }
        BareServer& server;
        beast::tcp_stream stream;
        beast::flat_buffer buffer;
        http::request<http::string_body> request;
        http::response<http::string_body> response;
    };
    void Accept()
    {
        acceptor_.async_accept([this](error_code error, tcp::socket socket) {
            if (error)
                return;
            std::make_shared<Connection>(*this, std::move(socket))->Read();
            Accept();
        });
    }

    asio::io_context io_{1};
    tcp::acceptor acceptor_{io_, {asio::ip::address_v4::loopback(), 0}};
    std::vector<std::shared_ptr<Listener>> listeners_;  // the server's thread only
    std::atomic<std::size_t> listening_{0};
    std::optional<tv::DeliveryThread> other_;
    std::thread thread_;
};

/// Listeners that only count the bytes that they get.
class Listeners {
  public:
    Listeners(std::uint16_t port, const std::string& target, int count)
    {
        for (int i = 0; i < count; ++i) {
            auto& socket = *sockets_.emplace_back(std::make_unique<websocket::stream<tcp::socket>>(io_));
            socket.next_layer().connect({asio::ip::address_v4::loopback(), port});
            socket.handshake("127.0.0.1:" + std::to_string(port), target);
        }
        for (const auto& socket : sockets_)
            Read(socket->next_layer());
        thread_ = std::thread([this] { io_.run(); });
    }
    ~Listeners()
    {
        io_.stop();
        thread_.join();
    }
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;

    /// Waits until every listener has got that many texts of that size since the last time.
    void Wait(std::size_t texts, std::size_t bytes)
    {
        const std::size_t frame = bytes + (bytes < 126 ? 2 : 4);
        const tv::MutexLock lock(mutex_);
        expected_ += texts * frame * sockets_.size();
        while (got_ < expected_)
            arrived_.Wait(mutex_);
    }

  private:
    void Read(tcp::socket& socket)
    {
        socket.async_read_some(asio::buffer(buffer_), [this, &socket](error_code error, std::size_t count) {
            if (error)
                return;
            {
                const tv::MutexLock lock(mutex_);
                got_ += count;
                if (got_ >= expected_)
                    arrived_.NotifyOne();
            }
            Read(socket);
        });
    }

    asio::io_context io_{1};
    std::array<char, std::size_t{256} * 1024> buffer_{};  // all of them throw away what they read
    std::vector<std::unique_ptr<websocket::stream<tcp::socket>>> sockets_;
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    tv::CondVar arrived_;
    std::size_t got_ GUARDED_BY(mutex_) = 0;
    std::size_t expected_ GUARDED_BY(mutex_) = 0;
    std::thread thread_;
};

std::string Message(std::int64_t bytes)
{
    return R"({"command":"GetVersion","x":")" + std::string(static_cast<std::size_t>(bytes), 'x') + "\"}";
}

/// Floor: the bytes of a message there and back.
void EchoOverHttp(benchmark::State& state)
{
    const BareServer server;
    test::WebClient client(server.port());
    const std::string message = Message(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(client.Post("/", message));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(EchoOverHttp)->Arg(0)->Arg(10000)->UseRealTime();

/// Floor: the same by way of another thread, as a plug-in has one.
void EchoByAnotherThread(benchmark::State& state)
{
    const BareServer server(BareServer::By::AnotherThread);
    test::WebClient client(server.port());
    const std::string message = Message(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(client.Post("/", message));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(EchoByAnotherThread)->Arg(0)->Arg(10000)->UseRealTime();

/// A blocking message to the plug-in and its reply.
void AwaitOverHttp(benchmark::State& state)
{
    const test::Web web;
    const std::string page = web.OpenPage();
    test::WebClient client(web.port());
    const std::string message = Message(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(client.Post(page + "await", message));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(AwaitOverHttp)->Arg(0)->Arg(10000)->UseRealTime();

constexpr char kPosted[] =
    R"({"code":0,"command":"PLOOMIA_EVENT_GET_CONTENT_FROM_SERVER_COMPLETE","data":{"event":90001},"errorMessage":"","errorName":""})";

/// Floor: the bytes of posted messages, written to every listener; each is handed over from a delivery
/// thread.
void WriteToListeners(benchmark::State& state)
{
    BareServer server;
    Listeners listeners(server.port(), "/", static_cast<int>(state.range(0)));
    server.WaitForListeners(static_cast<std::size_t>(state.range(0)));
    const auto text = std::make_shared<const std::string>(kPosted);
    tv::DeliveryThread thread("bench");
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            thread.Run([&] { server.Send(text); });
        listeners.Wait(kBatch, text->size());
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(WriteToListeners)
    ->Arg(1)
    ->Arg(50)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// Events that the plug-in turns into messages to its page, until every listener has them.
void PostToListeners(benchmark::State& state)
{
    const test::Web web;
    const std::string page = web.OpenPage();
    test::WebClient(web.port()).Post(page + "await", R"({"command":"RegisterEvent","event":90001})");
    Listeners listeners(web.port(), page + "messages", static_cast<int>(state.range(0)));
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            tv::EventProxyService::Get().Notify(kEvent, false);
        listeners.Wait(kBatch, sizeof kPosted - 1);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(PostToListeners)
    ->Arg(1)
    ->Arg(50)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// Floor: the program starts, says its version, and ends.
void StartOfTheProgram(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(test::RunHost("--version"));
}
BENCHMARK(StartOfTheProgram)->UseRealTime()->Unit(benchmark::kMillisecond);

/// From the start of the program to the first reply that a page gets from the plug-in.
void StartToFirstReply(benchmark::State& state)
{
    for (auto _ : state) {
        test::ServeProcess server({});
        test::WebClient client(server.port());
        const std::string page = test::J(client.Post("/page/open").body)["page"].asString();
        benchmark::DoNotOptimize(client.Post("/page/" + page + "/await", Message(0)));
        state.PauseTiming();
        server.End(SIGKILL);
        state.ResumeTiming();
    }
}
BENCHMARK(StartToFirstReply)->UseRealTime()->Unit(benchmark::kMillisecond);

/// Both ways of one message in a browser, in nanoseconds: the medians of messages.mjs.
struct InBrowser {
    double await = 0;
    double echo = 0;
};

/// Measured once, since the two take turns; zeros when it fails, which the program has told of.
const InBrowser& MeasuredInBrowser()
{
    static const InBrowser measured = [] {
        const test::Web web;
        const BareServer echo;
        const std::string address = " http://127.0.0.1:";
        const std::string command = "node " ZELUMO_MEASURE + address + std::to_string(web.port()) + address +
                                    std::to_string(echo.port());
        InBrowser both;
        std::FILE* const output = popen(command.c_str(), "re");
        if (output == nullptr)
            return both;
        const int count = std::fscanf(output, "%lf %lf", &both.await, &both.echo);
        return pclose(output) == 0 && count == 2 ? both : InBrowser();
    }();
    return measured;
}

void Report(benchmark::State& state, double nanoseconds)
{
    if (nanoseconds == 0)
        state.SkipWithError("nothing was measured in a browser");
    for (auto _ : state)
        state.SetIterationTime(nanoseconds / 1e9);
}

/// Floor: a bare synchronous request of the same tab to the echo.
void EchoInBrowser(benchmark::State& state)
{
    Report(state, MeasuredInBrowser().echo);
}
BENCHMARK(EchoInBrowser)->Iterations(1)->Repetitions(1)->UseManualTime();

/// A page's postMessageAndAwaitResponse.
void AwaitInBrowser(benchmark::State& state)
{
    Report(state, MeasuredInBrowser().await);
}
BENCHMARK(AwaitInBrowser)->Iterations(1)->Repetitions(1)->UseManualTime();

}  // namespace
