// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <map>

#include "tests/support/page.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using namespace std::chrono_literals;
using test::Text;
using Kind = tv::MediaCommand::Kind;

/// Streams as a TV file lists them.
tv::StreamsConfig Streams(const std::string& list)
{
    return tv::ParseTv(R"({"streams":[)" + list + "]}", tv::SampleTv()).streams;
}

/// A player service with a clock of its own, and one client of its reports.
class Service {
  public:
    Service() { deliveries_.Hold(); }
    ~Service()
    {
        deliveries_.Release();
        for (const int id : registered_)
            service_.UnsetCallback(id, this);
    }

    tv::PlayerService* operator->() { return &service_; }

    void Register(int id)
    {
        EXPECT_EQ(service_.SetCallback(id, OnReport, this), 0);
        registered_.push_back(id);
    }
    /// A player that has a client, its first report taken.
    int Create(const char* url, int offset = 0)
    {
        const int id = service_.Create({url, offset}).value();
        Register(id);
        Reports();
        return id;
    }
    void Advance(std::chrono::milliseconds by)
    {
        clock_.Advance(by, [this] {
            deliveries_.Release();
            return true;
        });
    }
    /// What was reported since the last call: "33", or "35(15000,600000)" where there are values.
    std::string Reports()
    {
        deliveries_.Release();
        return std::exchange(reports_, {});
    }
    /// A command by its name, as the tables below write it.
    int Do(const std::string& line, int id)
    {
        const std::size_t blank = line.find(' ');
        const std::string command = line.substr(0, blank);
        const int value = blank == std::string::npos ? 0 : std::stoi(line.substr(blank));
        if (command == "pass")
            return Advance(std::chrono::milliseconds(value)), 0;
        if (command == "seek")
            return service_.Do(id, {Kind::Seek, std::chrono::milliseconds(value)});
        const std::map<std::string, Kind> commands{{"play", Kind::Play},
                                                   {"pause", Kind::Pause},
                                                   {"resume", Kind::Resume},
                                                   {"stop", Kind::Stop},
                                                   {"live", Kind::ToLiveEdge}};
        return service_.Do(id, commands.at(command));
    }
    /// "playing 1500/30000"
    std::string State(int id)
    {
        for (const Json::Value& player : service_.PlayersJson()) {
            if (player["id"] == id)
                return player["state"].asString() + ' ' + player["position"].asString() + '/' +
                       player["duration"].asString();
        }
        return "";
    }

  private:
    static void OnReport(int, _BmsEvent type, _BmsCallbackStruct& data, void* user_data)
    {
        std::string& reports = static_cast<Service*>(user_data)->reports_;
        reports += (reports.empty() ? "" : " ") + std::to_string(type);
        if (data.value2 != 0)
            reports += '(' + std::to_string(data.value1) + ',' + std::to_string(data.value2) + ')';
        else if (data.value1 != 0)
            reports += '(' + std::to_string(data.value1) + ')';
    }

    tv::Clock clock_;
    tv::Deliveries deliveries_;
    tv::PlayerService service_{clock_, deliveries_};
    std::vector<int> registered_;
    std::string reports_;
};

struct Step {
    const char* command;
    bool works;
    const char* reports;
    const char* state;
};

void Walk(Service& service, int id, const std::vector<Step>& steps)
{
    for (const Step& step : steps) {
        SCOPED_TRACE(step.command);
        EXPECT_EQ(service.Do(step.command, id), step.works ? 0 : -1);
        EXPECT_EQ(service.Reports(), step.reports);
        EXPECT_EQ(service.State(id), step.state);
    }
}

TEST(PlayerService, AWindowSlidesUnderThePlayerUntilItIsStopped)
{
    // With an offset it starts there. Buffering does not keep a player from the edge.
    Service service;
    service->Load(
        Streams(R"({"pattern":"slow","duration":60000,"live":true,"bufferMs":2000,"windowMs":10000})"));
    Walk(service, service.Create("slow", 52),
         {
             {"pass 5000", true, "", "created 55000/65000"},
             {"play", true, "131", "buffering 55000/65000"},
             {"pass 2000", true, "131(100) 144", "playing 57000/67000"},
             {"seek 56999", true, "37", "playing 57000/67000"},
             {"pause", true, "33", "paused 57000/67000"},
             {"pass 1500", true, "", "paused 58500/68500"},
             {"live", true, "34 131", "buffering 68500/68500"},
             {"pass 2000", true, "131(100) 35(70500,70500)", "playing 70500/70500"},
             {"stop", true, "36", "stopped 0/70500"},
         });
}

TEST(PlayerService, KnowsStreamsByTheirAddress)
{
    struct Case {
        const char* url;
        int offset;
        const char* first;  ///< report
        const char* state;
    };
    Service service;
    for (const Case& c : {
             Case{"film", 5, "32", "created 5000/600000"},
             Case{"film", 2147483647, "32", "created 600000/600000"},
             Case{"http://a/live/7", 0, "32", "created 600000/600000"},
             Case{"http://a/broken.mpd", 0, "98", "failed 0/0"},
             Case{"http://a/Film", 0, "32", "created 0/3600000"},
             Case{"set streams", 0, "32", "created 0/3600000"},
             Case{"ab", 0, "32", "created 0/1000"},
             Case{"a--b", 0, "32", "created 0/1000"},
             Case{"x", 0, "32", "created 0/2000"},
             Case{"a.c.e", 0, "134", "failed 0/0"},
             Case{"wreck", 0, "98", "failed 0/0"},
             Case{"a.e.c", 0, "32", "created 0/3600000"},
             Case{"window", 7, "32", "created 50000/60000"},
         }) {
        SCOPED_TRACE(c.url);
        if (c.url == std::string("set streams"))
            service->Load(Streams(R"({"pattern":"a*b","duration":1000},{"pattern":"x","duration":2000},
                {"pattern":"window","duration":60000,"live":true,"windowMs":10000},
                {"pattern":"a*c*e","fault":"missing"},{"pattern":"wreck","fault":"broken"})"));
        const int id = service->Create({c.url, c.offset}).value();
        EXPECT_EQ(service.Reports(), "");
        service.Register(id);
        EXPECT_EQ(service.Reports(), c.first);
        const bool failed = std::string(c.first) != "32";
        service.Advance(failed ? 1s : 0s);
        EXPECT_EQ(service.State(id), c.state);
        EXPECT_EQ(service->PlayTime(id).has_value(), !failed);
        EXPECT_EQ(service->Do(id, Kind::Play), failed ? -1 : 0);
        service.Reports();
    }
}

TEST(PlayerService, TellsEachRegistrationOfItsOwnPlayers)
{
    Service service;
    const int first = service.Create("short", 0);
    const int second = service.Create("film", 0);
    // Once registered, a player does not announce itself again; one that was awaited does so when it comes.
    service.Register(first);
    EXPECT_EQ(service.Reports(), "");
    service.Register(second + 1);
    EXPECT_EQ(service.Reports(), "");
    EXPECT_EQ(service->Create({"missing"}), second + 1);
    EXPECT_EQ(service.Reports(), "134");

    // A report that is queued when its registration goes is not delivered.
    service.Do("stop", first);
    for (const int result : {0, -1})
        EXPECT_EQ(service->UnsetCallback(first, &service), result);
    service.Do("play", first);
    EXPECT_EQ(service.Reports(), "");
    EXPECT_EQ(service->SetCallback(first, nullptr, &service), -1);
}

TEST(PlayerService, StallsComeInTheirOrderAlsoWithoutALength)
{
    Service service;
    service->Load(Streams(R"({"pattern":"stalls","duration":20000,"bufferMs":400,"bufferSteps":2,
        "stalls":[{"atMs":10000,"forMs":1000},{"atMs":2000,"forMs":3000},{"atMs":2500,"forMs":0}]})"));
    Walk(service, service.Create("stalls"),
         {
             {"play", true, "131", "buffering 0/20000"},
             {"pass 2400", true, "131(50) 131(100) 144 137(1000,20000) 137(2000,20000) 131",
              "buffering 2000/20000"},
             {"pass 3600", true, "131(50) 131(100) 131 131(50) 131(100)", "playing 2600/20000"},
             {"seek 9999", true, "131", "buffering 9999/20000"},
             {"pass 500", true, "131(50) 131(100) 35(9999,20000) 131", "buffering 10000/20000"},
         });
}

TEST(PlayerService, OnePlayerHasTheDecoder)
{
    Service service;
    service->Load(Streams(R"({"pattern":"slow","duration":60000,"bufferMs":2000})"));
    const int first = service.Create("film");
    const int second = service.Create("short");
    const int third = service.Create("slow");
    for (const char* command : {"play", "pass 400"})
        service.Do(command, first);
    service.Reports();
    // Being made takes nothing away, and neither does what is refused.
    EXPECT_EQ(service.Do("resume", second), -1);
    EXPECT_EQ(service.State(first), "playing 400/600000");
    const auto take = [&](const char* command, int player, const char* reports) {
        EXPECT_EQ(service.Do(command, player), 0) << command;
        EXPECT_EQ(service.Reports(), reports) << command;
    };
    take("play", second, "36 131 131(100) 144");
    EXPECT_EQ(service.State(first), "stopped 0/600000");
    service.Advance(1s);
    EXPECT_EQ(service.Reports(), "137(1000,30000)");
    // Whoever is paused or buffers has it too; whoever is at the end hasn't, until it is told to go on.
    take("pause", second, "33");
    take("play", third, "36 131");
    take("play", second, "36 131 131(100) 144");
    take("seek 30000", second, "131 131(100) 35(30000,30000)");
    take("pass 0", second, "97");
    take("play", first, "131 131(100) 144");
    take("seek 40000", second, "37");
    EXPECT_EQ(service.State(first), "playing 0/600000");
    take("seek 10000", second, "36 131 131(100) 35(10000,30000)");
    EXPECT_EQ(service.State(first), "stopped 0/600000");
}

/// News of a player, as a browser tells them.
tv::MediaNews News(tv::MediaState state, int position, int duration,
                   std::optional<int> sequence = std::nullopt)
{
    tv::MediaNews news;
    news.status.state = state;
    news.status.position = std::chrono::milliseconds(position);
    news.status.duration = std::chrono::milliseconds(duration);
    news.status.has_duration = duration != 0;
    news.status.rate = state == tv::MediaState::Playing ? 1 : 0;
    news.sequence = sequence;
    return news;
}

TEST(PlayerService, TellsABrowserWhatToPlay)
{
    Service service;
    std::string told;
    const auto take = [&told] { return std::exchange(told, {}); };
    service->SetOnMedia([&told](const Json::Value& command) { told += Text(command) + ' '; });
    service->Load({{}, {{"own", "org.w3.clearkey"}}});
    service->SetMedia(tv::MediaKind::Browser);
    const int id = service.Create("http://a/film.mpd", 3);
    EXPECT_EQ(take(), R"({"do":"create","drm":null,"mimeType":"","offset":3,"player":1,"seq":0,"type":0,)"
                      R"("url":"http://a/film.mpd"} )");
    for (const auto& [type, key_system] :
         std::map<std::string, std::string>{{"own", R"("org.w3.clearkey")"},
                                            {"com.example.rights", R"("com.example.rights")"},
                                            {"other", "null"}}) {
        const int other = service->Create({"b", -1, "m", 2, {type, "SetProperties", "{}"}}).value();
        EXPECT_EQ(take(), R"({"do":"create","drm":{"drmData":"{}","drmOp":"SetProperties","drmType":")" +
                              type + R"(","keySystem":)" + key_system +
                              R"(},"mimeType":"m","offset":-1,"player":)" + std::to_string(other) +
                              R"(,"seq":0,"type":2,"url":"b"} )");
    }
    service->SetVideoPosition(id, {1, 2, 3, -4});
    EXPECT_EQ(take(), R"({"do":"place","player":1,"rect":{"height":-4,"width":3,"x":1,"y":2}} )");
    for (const auto& [line, command] : std::vector<std::pair<const char*, const char*>>{
             {"resume", ""},
             {"play", R"({"do":"play","player":1,"seq":1} )"},
             {"seek 9000", R"({"do":"seek","player":1,"position":9000,"seq":2} )"},
             {"live", ""},
             {"pause", R"({"do":"pause","player":1,"seq":3} )"},
             {"pause", ""},
             {"resume", R"({"do":"resume","player":1,"seq":4} )"},
             {"stop", R"({"do":"stop","player":1,"seq":5} )"},
         }) {
        service.Do(line, id);
        EXPECT_EQ(take(), command) << line;
    }
    // It plays again, and another one takes the decoder.
    service.Do("play", id);
    take();
    service.Do("play", 2);
    EXPECT_EQ(take(), R"({"do":"stop","player":1,"seq":7} {"do":"play","player":2,"seq":1} )");
    EXPECT_EQ(service.Reports(), "");
    service->DropRegistrations();
    EXPECT_EQ(take(),
              R"({"do":"release","player":1} {"do":"release","player":2} {"do":"release","player":3} )"
              R"({"do":"release","player":4} )");
}

TEST(PlayerService, TakesABrowsersWordForHowItPlays)
{
    using State = tv::MediaState;
    Service service;
    service->SetMedia(tv::MediaKind::Browser);
    const int id = service.Create("film", 3);
    const auto hears = [&](const tv::MediaNews& news, const char* state) {
        EXPECT_TRUE(service->Hear(id, news));
        EXPECT_EQ(service.State(id), state);
    };
    const auto does = [&](const char* command, const char* state) {
        EXPECT_EQ(service.Do(command, id), 0) << command;
        EXPECT_EQ(service.State(id), state) << command;
    };
    EXPECT_EQ(service.State(id), "created 3000/0");
    does("play", "buffering 3000/0");
    // A seek to where there may be something, before the duration is known.
    does("seek 50000", "buffering 50000/0");
    hears(News(State::Playing, 3000, 60000, 1), "buffering 50000/60000");
    hears(News(State::Playing, 50100, 60000, 2), "playing 50100/60000");
    // The play time runs on the TV's clock until the next word, and no farther than the end.
    service.Advance(20s);
    EXPECT_EQ(service.State(id), "playing 60000/60000");
    hears(News(State::Playing, 55000, 60000), "playing 55000/60000");
    // One that leads outside leaves it as it is.
    does("seek 60001", "playing 55000/60000");
    does("pause", "paused 55000/60000");
    // A word from before the pause.
    hears(News(State::Playing, 56000, 61000, 3), "paused 55000/61000");
    service.Advance(1s);
    does("seek 10000", "buffering 10000/61000");
    hears(News(State::Buffering, 10000, 61000, 5), "buffering 10000/61000");
    EXPECT_EQ(service.Do("pause", id), -1) << "it is to be paused";
    does("resume", "buffering 10000/61000");
    hears(News(State::Buffering, 10000, 61000, 6), "buffering 10000/61000");
    EXPECT_EQ(service.Do("resume", id), -1);
    // A failure is no less one for a command that it crossed.
    hears(News(State::Failed, 10000, 61000, 5), "failed 10000/61000");
    EXPECT_FALSE(service->PlayTime(id));
    EXPECT_EQ(service.Do("play", id), -1);

    // Live, with a window that slides from under a pause.
    tv::MediaNews live = News(State::Paused, 5000, 20000);
    live.status.live = true;
    live.status.window = 16s;
    hears(live, "paused 5000/20000");
    service.Advance(3s);
    EXPECT_EQ(service.State(id), "paused 7000/23000");
    does("live", "buffering 23000/23000");

    service->SetMedia(tv::MediaKind::Simulated);
    EXPECT_FALSE(service->Hear(service.Create("film"), live));
}

TEST(PlayerService, KeepsPlayersApart)
{
    Service service;
    EXPECT_FALSE(service->Create({""}));
    for (int id = 1; id <= 102; id += id == 100 ? 2 : 1)
        EXPECT_EQ(service->Create({"film"}), id);
    for (const int unknown : {-1, 0, 101, 103}) {
        SCOPED_TRACE(unknown);
        for (const char* command : {"play", "pause", "resume", "stop", "seek 0", "live"})
            EXPECT_EQ(service.Do(command, unknown), -1) << command;
        EXPECT_FALSE(service->PlayTime(unknown));
        EXPECT_EQ(service->SetVideoPosition(unknown, {0, 0, 1, 1}), -1);
    }
    EXPECT_EQ(service->SetVideoPosition(2, {-1, 2, 0, -4}), 0);
    const Json::Value players = service->PlayersJson();
    ASSERT_EQ(players.size(), 101U);
    EXPECT_EQ(Text(players[1]["rect"]), R"({"height":-4,"width":0,"x":-1,"y":2})");

    // The client is gone: so are its players, and what they would have reported.
    service.Register(1);
    service.Reports();
    service.Do("play", 1);
    EXPECT_EQ(service->DropRegistrations(), 1U);
    service.Advance(5s);
    EXPECT_EQ(service.Reports(), "");
    EXPECT_EQ(service->Create({"film"}), 1);
}

}  // namespace
