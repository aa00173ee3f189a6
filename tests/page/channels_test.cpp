// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>

#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

std::string Repeat(int count, const std::string& text)
{
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

/// The record of a service without any field.
const char* const kEmptyRecord =
    R"({"serviceid":"18446744073709551615","serviceId":"18446744073709551615","channelName":"","type":-1,)"
    R"("frequency":-1,"tuneMode":-1,"major":65535,"minor":65535,"ptc":65535,"lock":65535,)"
    R"("programNumber":65535,"sourceId":65535,"originalNetworkId":65535,"transportStreamId":65535})";

/// `members` with those of `replacing` in their place.
Json::Value With(Json::Value members, const Json::Value& replacing)
{
    for (const std::string& key : replacing.getMemberNames())
        members[key] = replacing[key];
    return members;
}

class Channels : public testing::Test {
  protected:
    Channels() { tv::LoadTv(tv::SampleTv()); }
    ~Channels() override { tv::LoadTv(tv::SampleTv()); }

    /// A request and its reply; `members` are those behind the command: `,"Serviceid":"7"`.
    Json::Value Ask(const std::string& command, const std::string& members = "")
    {
        return page_.Await(R"({"command":")" + command + '"' + members + "}");
    }
    void Answer(const std::string& call, const Json::Value& result, const Json::Value& out)
    {
        page_.Answer('"' + call + R"(","result":)" + Text(result) + R"(,"out":)" + Text(out));
    }
    void ShowService(const Json::Value& service)
    {
        Json::Value out;
        out.append(service);
        Answer("IServiceNavigation::GetCurrentService", 1, out);
    }
    Json::Value Record() { return J(Ask("GetCurrentChannelInfo")["data"].asString()); }
    Json::Value List() { return J(Ask("GetZELumoServices")["data"].asString()); }
    /// What a call was asked, without what it gave.
    static std::string Asked(const std::string& call) { return call.substr(0, call.find(" -> ")); }
    std::string CurrentId() { return tv::TvService::Get().CurrentJson()["serviceId"].asString(); }
    /// The log lines of the plug-in, without the dispatcher's.
    Lines TakeLog()
    {
        Lines lines;
        for (const std::string& line : log_.TakeHolding({" zelumo-pepper "})) {
            if (line.find("HandleBlockingMessageImpl") == std::string::npos)
                lines.push_back(line.substr(0, 3) + line.substr(line.find(' ', 4)));
        }
        return lines;
    }

    test::Page page_;
    test::Log log_;
    test::Calls calls_;
};

const char* const kWhole =
    R"({"12":"9007199254740993","1":3,"13":5,"14":7,"2":21,"22":1,"15":101,"37":201,"41":8800,"18":300,)"
    R"("16":"News","4":474000,"6":2})";

TEST_F(Channels, TheRecordGivesEachFieldOrItsDefault)
{
    const Json::Value empty = J(kEmptyRecord);
    const Json::Value whole =
        J(R"({"serviceid":"9007199254740993","serviceId":"9007199254740993","channelName":"News","type":3,
              "frequency":474000,"tuneMode":2,"major":5,"minor":7,"ptc":21,"lock":1,"programNumber":101,
              "sourceId":201,"originalNetworkId":8800,"transportStreamId":300})");
    const Json::Value keys = J(R"({"12":["serviceId","serviceid"],"1":["type"],"13":["major"],"14":["minor"],
        "2":["ptc"],"22":["lock"],"15":["programNumber"],"37":["sourceId"],"41":["originalNetworkId"],
        "18":["transportStreamId"],"16":["channelName"],"4":["frequency"],"6":["tuneMode"]})");
    ShowService(J("{}"));
    EXPECT_EQ(Record(), empty);
    for (const std::string& field : keys.getMemberNames()) {
        Json::Value service = J(kWhole);
        service.removeMember(field);
        Json::Value expected = whole;
        for (const Json::Value& key : keys[field])
            expected[key.asString()] = empty[key.asString()];
        ShowService(service);
        EXPECT_EQ(Record(), expected) << field;
    }
    // The ends of the ranges.
    ShowService(J(R"({"12":"18446744073709551614","1":-2147483648,"4":2147483647,"6":0,"13":0,"14":65535})"));
    EXPECT_EQ(Record(), With(empty, J(R"({"serviceId":"18446744073709551614","type":-2147483648,
        "serviceid":"18446744073709551614","frequency":2147483647,"tuneMode":0,"major":0})")));
}

TEST_F(Channels, NamesAreReadUpToTheirBounds)
{
    const std::string two = "\u00E9";
    const std::string three = "\u7EB8";
    struct Case {
        Json::Value name;
        std::string read;
        int error = 0;  ///< of the conversion
    };
    const std::vector<Case> cases{
        {J(R"({"hex":""})"), ""},
        // Up to a zero unit; a byte that is no unit is left out.
        {J(R"({"hex":"006f006e00000074"})"), "on"},
        {J(R"({"hex":"004100"})"), "A"},
        {J(R"({"hex":"41"})"), ""},
        // So many units are read, and so many bytes have room.
        {Repeat(256, "a") + "bc", Repeat(256, "a") + "b"},
        {Repeat(5000, two), Repeat(256, two), 7},
        {Repeat(172, three), Repeat(171, three), 7},
        {"fox \U0001F98A den", "fox ", 84},  // no surrogates
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Text(c.name));
        ShowService(J("{\"16\":" + Text(c.name) + "}"));
        TakeLog();
        EXPECT_EQ(Record()["channelName"], c.read);
        Lines log = TakeLog();
        ASSERT_GE(log.size(), 2U);  // those of the query come first
        EXPECT_EQ(Lines(log.begin() + 2, log.end()),
                  c.error == 0 ? Lines() : Lines{"0/3 ucs2utf8: iconv failed: " + std::to_string(c.error)});
    }
}

TEST_F(Channels, ExtraMembersAreMerged)
{
    std::vector<std::pair<Json::Value, std::string>> cases{
        {"", "{}"},
        {"no JSON", "{}"},
        {"null", "{}"},
        {R"({"a":null,"b":"","":0,"Z":-1.5})", R"({"a":null,"b":"","":0,"Z":-1.5})"},
        {R"({"a":1,"a":2})", R"({"a":2})"},
        // Behind a zero nothing counts.
        {std::string("{\"a\":1}\0{\"b\":2}", 15), R"({"a":1})"},
        {J(R"({"hex":"007b002200610022003a0031007d00"})"), R"({"a":1})"},
    };
    // A high surrogate takes the unit behind it along, into one character or into nothing.
    for (const auto& [units, text] :
         std::map<std::string, std::string>{{"d83dde00", "\U0001F600"}, {"d8000041", ""}, {"dc000041", "A"}})
        cases.emplace_back(J(R"({"hex":"007b0022006b0022003a0022)" + units + R"(0022007d"})"),
                           R"({"k":")" + text + "\"}");
    for (const std::string& key : J(kEmptyRecord).getMemberNames()) {
        for (const std::string value : {"\"other\"", "null"})
            cases.emplace_back("{\"" + key + "\":" + value + "}", "{\"" + key + "\":" + value + "}");
    }
    for (const auto& [extra, changed] : cases) {
        ShowService(J("{\"110\":" + Text(extra) + "}"));
        EXPECT_EQ(Record(), With(J(kEmptyRecord), J(changed))) << Text(extra);
    }
    // JSON that is no object leaves no record at all.
    for (const std::string extra : {"[1]", "5"}) {
        ShowService(With(J(kWhole), J("{\"110\":\"" + extra + "\"}")));
        EXPECT_EQ(Text(Ask("GetCurrentChannelInfo")), R"({"code":0,"data":""})");
        const std::string log = "0/6 t_GetChannelInfo: Exception Handled by t_GetChannelInfo ";
        EXPECT_EQ(TakeLog().back().substr(0, log.size()), log) << extra;
    }
}

TEST_F(Channels, TheCurrentChannelIsAskedForInTheTvsMode)
{
    const std::string mode = R"({"antennaMode":4,"serviceMode":-9})";
    Answer("IServiceNavigation::GetTvMode", 1, J('[' + mode + ']'));
    for (const auto& [out, logged] : std::map<std::string, std::array<std::string, 2>>{
             {R"({"12":"18446744073709551614","13":5})", {"18446744073709551614", "5"}},
             {"null", {"18446744073709551615", "65535"}}}) {
        SCOPED_TRACE(out);
        page_.Answer(R"("IServiceNavigation::GetCurrentService","out":[)" + out + ']');
        calls_.Take();
        TakeLog();
        EXPECT_EQ(Ask("GetCurrentChannelInfo")["code"], 0);
        EXPECT_EQ(
            calls_.Take(),
            (Lines{"TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]",
                   "IServiceNavigation::GetTvMode [] -> 1 out [" + mode + ']',
                   "IServiceNavigation::GetCurrentService [" + mode +
                       R"(,{"fetch":[12,16,41,15,18,1,2,6,37,4,13,14,22,110]}] -> 1 out [)" + out + ']'}));
        EXPECT_EQ(TakeLog(), (Lines{"0/3 t_GetCurrentChannel: SERVICE_ID = " + logged[0],
                                    "0/3 t_GetCurrentChannel: MAJOR = " + logged[1]}));
    }
}

TEST_F(Channels, QueriesStopAtTheFirstFailure)
{
    const Lines queried{"TVServiceAPI::CreateServiceNavigation", "IServiceNavigation::GetTvMode"};
    const Lines tuning{"TVServiceAPI::CreateSourceControl", queried[0], "ISourceControl::GetSourceValue",
                       "ISourceControl::GetSourceFlag"};
    const std::string query = "IServiceNavigation::GetCurrentService";
    const std::string criteria = "TCNavigationModeHelper::GetNavigationCriteria";
    const auto expect = [&](const std::string& request, const Lines& made, std::size_t count,
                            const std::string& failing, const std::string& answer, const Lines& log) {
        SCOPED_TRACE(request + ' ' + failing + ' ' + answer);
        Answer("ISourceControl::GetSourceFlag", 1,
               J(failing == "ISourceControl::TuneService" ? "[1]" : "[0]"));
        page_.Answer('"' + failing + R"(","result":)" + answer);
        calls_.Take();
        TakeLog();
        EXPECT_EQ(Ask(request, R"(,"Serviceid":"1002")")["code"], 28);
        Lines calls(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(count));
        if (std::find(calls.begin(), calls.end(), failing) == calls.end())
            calls.push_back(failing);
        EXPECT_EQ(calls_.TakeNames(), calls);
        EXPECT_EQ(TakeLog(), log);
        page_.Do(R"({"tv":"restore"})");
        EXPECT_EQ(CurrentId(), "1001");
    };
    const Lines failed{"0/6 t_GetCurrentChannel: Fail to get current service data\n"};
    expect("GetCurrentChannelInfo", queried, 0, queried[0], "1", {});
    expect("GetCurrentChannelInfo", queried, 1, queried[1], "0", {});
    expect("GetCurrentChannelInfo", queried, 2, query, R"(0,"out":[{"12":"5"}])", failed);
    expect("GetCurrentChannelInfo", queried, 2, query, "-1", failed);
    const std::string begins = "0/6 GetZELumoServices: GetZELumoServices begins";
    expect("GetZELumoServices", queried, 0, queried[0], "1", {begins});
    expect("GetZELumoServices", queried, 1, queried[1], "0", {begins});
    expect("GetZELumoServices", queried, 2, criteria, "false",
           {begins, "0/6 GetZELumoServices: Get navigation criteria failed"});
    const Lines begun{"0/6 SetServiceByServiceid: SetServiceByServiceid begins"};
    for (const std::string& creating : {tuning[0], tuning[1]})
        expect("SetServiceByServiceid", tuning, 2, creating, "0", begun);
    for (const std::string tune : {"IServiceNavigation::TuneService", "ISourceControl::TuneService"})
        expect("SetServiceByServiceid", tuning, 4, tune, "0", begun);
}

TEST_F(Channels, TheListIsWrittenInTheTvsOrder)
{
    struct Case {
        std::string result;
        std::string services;
        const char* listed;  ///< null: failure
    };
    Answer("IServiceNavigation::GetTvMode", 1, J(R"([{"antennaMode":-1,"serviceMode":8}])"));
    for (const Case& c : {
             Case{"0", "[]", "null"},
             Case{"0", "[{}]", R"([{"id":18446744073709551615,"major":65535,"minor":65535}])"},
             Case{"2", R"([{"12":"9","13":9,"14":1},{"12":"9007199254740993","13":0,"16":"name"}])",
                  R"([{"id":9,"major":9,"minor":1},{"id":9007199254740993,"major":0,"minor":65535}])"},
             // Records are the caller's on failure too: nothing may leak.
             Case{"-5", R"([{"12":"1","16":"a long enough name"},{"12":"2","16":"another such name"}])",
                  nullptr},
         }) {
        SCOPED_TRACE(c.services);
        page_.Answer(R"("IServiceNavigation::GetServiceList","result":)" + c.result + R"(,"out":[)" +
                     c.services + ']');
        calls_.Take();
        TakeLog();
        if (c.listed == nullptr) {
            EXPECT_EQ(Ask("GetZELumoServices")["code"], 28);
        } else {
            EXPECT_EQ(Text(List()),
                      std::string(R"({"ListName":"ZELumoServices","TCServiceData":)") + c.listed + "}");
        }
        const std::string log = "0/6 GetZELumoServices: ";
        EXPECT_EQ(
            TakeLog(),
            (Lines{log + "GetZELumoServices begins",
                   log + "nTCTVMode.antennaMode = -1, nTCTVMode.serviceMode = 8 !",
                   log + "GetServiceList svc_list.size = " + std::to_string(J(c.services).size()) + ", "}));
        const Lines calls = calls_.Take();
        EXPECT_EQ(Lines(calls.begin() + 2, calls.end()),
                  (Lines{R"(TCNavigationModeHelper::GetNavigationCriteria [16,"0"] -> true)",
                         R"(IServiceNavigation::GetServiceList [{"fetch":[12,13,14],"mode":16,"value":"0"},)"
                         R"({"antennaMode":-1,"serviceMode":8},0,0] -> )" +
                             c.result + " out [" + c.services + ']'}));
    }
}

TEST_F(Channels, TuningGoesByValueAndFlag)
{
    const std::string by_navigation = R"(IServiceNavigation::TuneService ["1002",0,0,"app"] -> 1)";
    const std::string by_source = R"(ISourceControl::TuneService [0,"1002","app"] -> 1)";
    for (const std::string value : {"null", "-1", "0", "1", "-2147483648"}) {
        for (const std::string flag : {"null", "-1", "0", "1", "2"}) {
            SCOPED_TRACE(value + ' ' + flag);
            const bool navigates = value != "null" && value != "-1" && flag == "0";
            // The results of the two questions count for nothing.
            Answer("ISourceControl::GetSourceValue", navigates ? 0 : 1, J('[' + value + ']'));
            Answer("ISourceControl::GetSourceFlag", navigates ? -1 : 1, J('[' + flag + ']'));
            calls_.Take();
            Ask("SetServiceByServiceid", R"(,"Serviceid":"1002","Appid":"app")");
            EXPECT_EQ(calls_.TakeHolding({"::Create", "::TuneService"}),
                      (Lines{"TVServiceAPI::CreateSourceControl [1,0] -> 1 out [true]",
                             "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]",
                             navigates ? by_navigation : by_source}));
        }
    }
}

TEST_F(Channels, ServiceIdsAreReadFromText)
{
    const std::string all = "18446744073709551615";
    // A text in JSON, and how it is read in any base and as decimal digits.
    for (const auto& [text, any_base, decimal] : std::vector<std::array<std::string, 3>>{
             {R"("0x1F")", "31", "0"},
             {R"("017")", "15", "17"},
             {R"("  12abc")", "12", "12"},
             {R"("12\u000034")", "12", "12"},
             {R"("99999999999999999999999")", all, all},
             {R"("-1")", all, all},
         }) {
        SCOPED_TRACE(text);
        Ask("SetServiceByServiceid", R"(,"Appid":5,"Serviceid":)" + text);
        EXPECT_EQ(Asked(calls_.Take().back()),
                  R"(IServiceNavigation::TuneService [")" + any_base + R"(",0,0,""])");
        const std::string extract = "ExtractServiceInformationsFromServiceId";
        Ask(extract, R"(,"serviceId":)" + text);
        EXPECT_EQ(Asked(calls_.Take().back()), "FIVirtualChannelsAPI::" + extract + " [\"" + decimal + "\"]");
    }
}

TEST_F(Channels, NextAndPreviousAskTheNavigation)
{
    const std::string created = "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]";
    const std::string criteria = "TCNavigationModeHelper::GetNavigationCriteria [11,0] -> ";
    for (const std::string command : {"SetNextService", "SetPreviousService"}) {
        const std::string call = "IServiceNavigation::" + command;
        const std::string whole = call + R"( [{"fetch":[],"mode":11,"sort":0}] -> )";
        const std::string log = (command == "SetNextService" ? command : "SetPrevService") + ": " + command;
        const Lines success{"0/3 " + log + " success"};
        const auto expect = [&](const std::string& answer, const char* result, const Lines& calls,
                                const Lines& logged) {
            SCOPED_TRACE(answer);
            page_.Answer(answer);
            calls_.Take();
            TakeLog();
            EXPECT_EQ(Text(Ask(command)), R"({"code":0,"data":)" + (result + std::string("}")));
            EXPECT_EQ(calls_.Take(), calls);
            EXPECT_EQ(TakeLog(), logged);
            page_.Do(R"({"tv":"restore"})");
        };
        expect('"' + call + R"(","result":1)", "true", {created, criteria + "true", whole + '1'}, success);
        expect('"' + call + R"(","result":0)", "false", {created, criteria + "true", whole + '0'},
               {"0/6 " + log + " Failed"});
        expect(R"("TCNavigationModeHelper::GetNavigationCriteria","result":false)", "true",
               {created, criteria + "false", call + R"( [{"fetch":[]}] -> 1)"}, success);
        expect(R"("TVServiceAPI::CreateServiceNavigation","result":1)", "false",
               {"TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [null]"}, {});
    }
}

TEST_F(Channels, ALineUpIsReadAsFetchedAndWalkedRound)
{
    IServiceNavigation* navigation = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateServiceNavigation(EPROFILE_TV, 0, &navigation), 1);
    tv::LoadTv(tv::ParseTv(R"({"channels":[{"id":"7","name":"A","major":1,"200":-5},{"id":"8"},{"id":"9"}]})",
                           tv::SampleTv()));
    for (const auto& [fetch, fields] : std::map<std::vector<int>, std::string>{
             {{}, "{}"}, {{12}, R"({"12":"7"})"}, {{14, 16, 200, 1, 16}, R"({"16":"A","200":-5})"}}) {
        TCCriteriaHelper criteria;
        for (const int field : fetch)
            criteria.Fetch(field);
        TCServiceData service;
        EXPECT_EQ(navigation->GetCurrentService(TSTvMode(), criteria, service), 1);
        EXPECT_EQ(Text(tv::ToJson(service)), fields);
        // Records are appended to what the caller has.
        std::list<TCServiceData*> list{new TCServiceData};
        EXPECT_EQ(navigation->GetServiceList(criteria, list, TSTvMode(), 0, 0), 0);
        ASSERT_EQ(list.size(), 4U);
        EXPECT_EQ(Text(tv::ToJson(**std::next(list.begin()))), fields);
        for (const TCServiceData* one : list)
            delete one;
    }
    for (const std::string id : {"8", "9", "7"}) {
        EXPECT_EQ(Ask("SetNextService")["data"], true);
        EXPECT_EQ(CurrentId(), id);
    }
    tv::LoadTv(tv::ParseTv(R"({"channels":[]})", tv::SampleTv()));
    EXPECT_EQ(Ask("GetCurrentChannelInfo")["code"], 28);
    EXPECT_EQ(Ask("SetNextService")["data"], false);
    EXPECT_EQ(List()["TCServiceData"], Json::Value());
    EXPECT_TRUE(tv::TvService::Get().CurrentJson().isNull());
}

}  // namespace
