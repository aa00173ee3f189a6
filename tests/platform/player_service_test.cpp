#include <gtest/gtest.h>

#include <map>

#include "tests/support/page.h"
#include "tv/tv.h"

namespace {

using namespace std::chrono_literals;
using test::Text;
using tv::StreamFault;

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

    tv::PlayerService& operator*() { return service_; }
    tv::PlayerService* operator->() { return &service_; }

    void Register(int id)
    {
        EXPECT_EQ(service_.SetCallback(id, OnReport, this), 0);
        registered_.push_back(id);
    }
    /// A player that has a client, its first report taken.
    int Create(const char* url, int offset = 0)
    {
        const int id = service_.Create(url, offset).value();
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
            return service_.Seek(id, value);
        using Command = int (tv::PlayerService::*)(int);
        const std::map<std::string, Command> commands{{"play", &tv::PlayerService::Play},
                                                      {"pause", &tv::PlayerService::Pause},
                                                      {"resume", &tv::PlayerService::Resume},
                                                      {"stop", &tv::PlayerService::Stop},
                                                      {"live", &tv::PlayerService::ResumeLive}};
        return (service_.*commands.at(command))(id);
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

TEST(PlayerService, PlaysAStreamToItsEnd)
{
    Service service;
    Walk(service, service.Create("http://a/short.mpd"),
         {
             {"seek 1000", false, "", "created 0/30000"},
             {"live", false, "", "created 0/30000"},
             {"pass 5000", true, "", "created 0/30000"},
             {"play", true, "131 131(100) 144", "playing 0/30000"},
             {"play", false, "", "playing 0/30000"},
             {"resume", false, "", "playing 0/30000"},
             {"pass 999", true, "", "playing 999/30000"},
             // Refused, a seek disturbs nothing.
             {"seek -1", true, "37", "playing 999/30000"},
             {"seek 30001", true, "37", "playing 999/30000"},
             {"pass 1", true, "137(1000,30000)", "playing 1000/30000"},
             {"pass 1500", true, "137(2000,30000)", "playing 2500/30000"},
             // Paused, half a second is left until the next position; it stays left.
             {"pause", true, "33", "paused 2500/30000"},
             {"pause", false, "", "paused 2500/30000"},
             {"play", false, "", "paused 2500/30000"},
             {"pass 60000", true, "", "paused 2500/30000"},
             {"resume", true, "34", "playing 2500/30000"},
             {"pass 499", true, "", "playing 2999/30000"},
             {"pass 1", true, "137(3000,30000)", "playing 3000/30000"},
             {"seek 28600", true, "131 131(100) 35(28600,30000)", "playing 28600/30000"},
             {"pass 1400", true, "137(29600,30000) 97", "ended 30000/30000"},
             {"pause", false, "", "ended 30000/30000"},
             // From the end a seek goes on playing, and Play begins again.
             {"seek 29000", true, "131 131(100) 35(29000,30000)", "playing 29000/30000"},
             {"pause", true, "33", "paused 29000/30000"},
             {"seek 30000", true, "131 131(100) 35(30000,30000)", "paused 30000/30000"},
             {"resume", true, "34", "playing 30000/30000"},
             {"pass 0", true, "97", "ended 30000/30000"},
             {"play", true, "131 131(100) 144", "playing 0/30000"},
             {"stop", true, "36", "stopped 0/30000"},
             {"stop", false, "", "stopped 0/30000"},
             {"play", true, "131 131(100) 144", "playing 0/30000"},
         });
}

TEST(PlayerService, BuffersAtTheStartAndAfterASeek)
{
    Service service;
    service->Load({{{"slow", 60s, false, 2s, StreamFault::None}}});
    Walk(service, service.Create("slow", 10),
         {
             {"play", true, "131", "buffering 10000/60000"},
             {"pass 1999", true, "", "buffering 10000/60000"},
             {"pass 1", true, "131(100) 144", "playing 10000/60000"},
             {"seek 20000", true, "131", "buffering 20000/60000"},
             // A second seek before the first is done begins the buffering anew, and one seek completes.
             {"pass 1500", true, "", "buffering 20000/60000"},
             {"seek 30000", true, "131", "buffering 30000/60000"},
             {"pass 1500", true, "", "buffering 30000/60000"},
             {"pass 500", true, "131(100) 35(30000,60000)", "playing 30000/60000"},
             // What is asked for meanwhile holds when it is done.
             {"seek 40000", true, "131", "buffering 40000/60000"},
             {"resume", false, "", "buffering 40000/60000"},
             {"pause", true, "33", "buffering 40000/60000"},
             {"pass 2000", true, "131(100) 35(40000,60000)", "paused 40000/60000"},
             {"seek 50000", true, "131", "buffering 50000/60000"},
             {"resume", true, "34", "buffering 50000/60000"},
             {"pass 3000", true, "131(100) 35(50000,60000) 137(51000,60000)", "playing 51000/60000"},
             // Stopped while it buffers: nothing comes of it any more.
             {"seek 20000", true, "131", "buffering 20000/60000"},
             {"stop", true, "36", "stopped 0/60000"},
             {"pass 5000", true, "", "stopped 0/60000"},
             // A seek before the start is complete: the begin is reported first.
             {"play", true, "131", "buffering 0/60000"},
             {"seek 5000", true, "131", "buffering 5000/60000"},
             {"pass 2000", true, "131(100) 144 35(5000,60000)", "playing 5000/60000"},
         });
}

TEST(PlayerService, LiveStreamsGrowAndHaveAnEdge)
{
    Service service;
    service->Load({{{"now*", 60s, true, 0ms, StreamFault::None}}});
    Walk(service, service.Create("now"),
         {
             {"pass 5000", true, "", "created 65000/65000"},
             {"live", false, "", "created 65000/65000"},
             {"play", true, "131 131(100) 144", "playing 65000/65000"},
             {"pass 1000", true, "137(66000,66000)", "playing 66000/66000"},
             {"pause", true, "33", "paused 66000/66000"},
             {"pass 10000", true, "", "paused 66000/76000"},
             {"resume", true, "34", "playing 66000/76000"},
             {"pass 1000", true, "137(67000,77000)", "playing 67000/77000"},
             {"seek 77001", true, "37", "playing 67000/77000"},
             {"seek 0", true, "131 131(100) 35(0,77000)", "playing 0/77000"},
             {"live", true, "131 131(100) 35(77000,77000)", "playing 77000/77000"},
             {"pause", true, "33", "paused 77000/77000"},
             {"pass 3000", true, "", "paused 77000/80000"},
             {"live", true, "34 131 131(100) 35(80000,80000)", "playing 80000/80000"},
             {"stop", true, "36", "stopped 0/80000"},
             {"live", false, "", "stopped 0/80000"},
             {"play", true, "131 131(100) 144", "playing 80000/80000"},
         });
    // With an offset it starts there; buffering does not keep a player from the edge.
    Service other;
    other->Load({{{"slow", 60s, true, 2s, StreamFault::None}}});
    Walk(other, other.Create("slow", 7),
         {
             {"play", true, "131", "buffering 7000/60000"},
             {"pass 2000", true, "131(100) 144", "playing 7000/62000"},
             {"live", true, "131", "buffering 62000/62000"},
             {"pass 2000", true, "131(100) 35(64000,64000)", "playing 64000/64000"},
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
             Case{"http://a/film.mpd", 0, "32", "created 0/600000"},
             Case{"film", 5, "32", "created 5000/600000"},
             Case{"film", 2147483647, "32", "created 600000/600000"},
             Case{"http://a/live/7", 0, "32", "created 600000/600000"},
             Case{"http://a/missing.mpd", 0, "134", "failed 0/0"},
             Case{"http://a/broken.mpd", 0, "98", "failed 0/0"},
             Case{"http://a/Film", 0, "32", "created 0/3600000"},
             Case{"set streams", 0, "32", "created 0/3600000"},
             Case{"ab", 0, "32", "created 0/1000"},
             Case{"a--b", 0, "32", "created 0/1000"},
             Case{"x", 0, "32", "created 0/2000"},
             Case{"a.c.e", 0, "134", "failed 0/0"},
             Case{"a.e.c", 0, "32", "created 0/3600000"},
         }) {
        SCOPED_TRACE(c.url);
        if (c.url == std::string("set streams"))
            service->Load({{{"a*b", 1s, false, 0ms, StreamFault::None},
                            {"x", 2s, false, 0ms, StreamFault::None},
                            {"a*c*e", 0s, false, 0ms, StreamFault::Missing}}});
        const int id = service->Create(c.url, c.offset).value();
        EXPECT_EQ(service.Reports(), "");
        service.Register(id);
        EXPECT_EQ(service.Reports(), c.first);
        const bool failed = std::string(c.first) != "32";
        service.Advance(failed ? 1s : 0s);
        EXPECT_EQ(service.State(id), c.state);
        EXPECT_EQ(service->PlayTime(id).has_value(), !failed);
        EXPECT_EQ(service->Play(id), failed ? -1 : 0);
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
    EXPECT_EQ(service->Create("missing", 0), second + 1);
    EXPECT_EQ(service.Reports(), "134");

    // Two players side by side, in the order of playing time.
    for (const char* command : {"play", "pass 400"})
        service.Do(command, first);
    service.Do("play", second);
    service.Reports();
    service.Advance(1s);
    EXPECT_EQ(service.Reports(), "137(1000,30000) 137(1000,600000)");

    // A report that is queued when its registration goes is not delivered.
    service.Do("stop", first);
    for (const int result : {0, -1})
        EXPECT_EQ(service->UnsetCallback(first, &service), result);
    service.Do("play", first);
    EXPECT_EQ(service.Reports(), "");
    EXPECT_EQ(service->SetCallback(first, nullptr, &service), -1);
}

TEST(PlayerService, KeepsPlayersApart)
{
    Service service;
    for (const char* nothing : {static_cast<const char*>(nullptr), ""})
        EXPECT_FALSE(service->Create(nothing, 0));
    for (int id = 1; id <= 102; id += id == 100 ? 2 : 1)
        EXPECT_EQ(service->Create("film", 0), id);
    for (const int unknown : {-1, 0, 101, 103}) {
        SCOPED_TRACE(unknown);
        for (const char* command : {"play", "pause", "resume", "stop", "seek 0", "live"})
            EXPECT_EQ(service.Do(command, unknown), -1) << command;
        EXPECT_FALSE(service->PlayTime(unknown));
        EXPECT_EQ(service->SetVideoPosition(unknown, 0, 0, 1, 1), -1);
    }
    EXPECT_EQ(service->SetVideoPosition(2, -1, 2, 0, -4), 0);
    const Json::Value players = service->PlayersJson();
    ASSERT_EQ(players.size(), 101U);
    EXPECT_EQ(
        Text(players[0]),
        R"({"duration":600000,"id":1,"live":false,"position":0,"rect":null,"state":"created","url":"film"})");
    EXPECT_EQ(Text(players[1]["rect"]), R"({"height":-4,"width":0,"x":-1,"y":2})");

    // The client is gone: so are its players, and what they would have reported.
    service.Register(1);
    service.Reports();
    service.Do("play", 1);
    EXPECT_EQ(service->DropRegistrations(), 1U);
    service.Advance(5s);
    EXPECT_EQ(service.Reports(), "");
    EXPECT_EQ(service->Create("film", 0), 1);
}

}  // namespace
