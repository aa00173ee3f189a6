#include <gtest/gtest.h>

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
    Json::Value Record()
    {
        return J(page_.Await(R"({"command":"GetCurrentChannelInfo"})")["data"].asString());
    }
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
        {"A", "A"},
        {"\u05D0\u05D5\u05E8", "\u05D0\u05D5\u05E8"},
        {J(R"({"hex":""})"), ""},
        // Up to a zero unit; a byte that is no unit is left out.
        {J(R"({"hex":"006f006e00000074"})"), "on"},
        {J(R"({"hex":"00000074"})"), ""},
        {J(R"({"hex":"004100"})"), "A"},
        {J(R"({"hex":"41"})"), ""},
        // So many units are read, and so many bytes have room.
        {Repeat(256, "a") + "bc", Repeat(256, "a") + "b"},
        {Repeat(257, "a"), Repeat(257, "a")},
        {Repeat(100000, "a"), Repeat(257, "a")},
        {Repeat(256, two), Repeat(256, two)},
        {Repeat(257, two), Repeat(256, two), 7},
        {Repeat(5000, two), Repeat(256, two), 7},
        {Repeat(171, three), Repeat(171, three)},
        {Repeat(172, three), Repeat(171, three), 7},
        {Repeat(300, three), Repeat(171, three), 7},
        {Repeat(255, "a") + three + three + "zz", Repeat(255, "a") + three + three},
        // Surrogates, a pair and a lone one.
        {"fox \U0001F98A den", "fox ", 84},
        {J(R"({"hex":"dc00"})"), "", 84},
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
        {"{\"a\":1", "{}"},
        {"null", "{}"},
        {R"({"lock":1,"hd":true})", R"({"lock":1,"hd":true})"},
        {R"({"a":null,"b":"","":0,"Z":-1.5})", R"({"a":null,"b":"","":0,"Z":-1.5})"},
        {R"({"list":[1,2],"object":{"x":1}})", R"({"list":[1,2],"object":{"x":1}})"},
        {R"({"a":1,"a":2})", R"({"a":2})"},
        {R"({"id":18446744073709551615})", R"({"id":18446744073709551615})"},
        // Behind a zero nothing counts.
        {std::string("{\"a\":1}\0{\"b\":2}", 15), R"({"a":1})"},
        {std::string("\0{\"b\":2}", 8), "{}"},
        {std::string("{\"t\":\"x\0y\"}", 11), "{}"},
        {J(R"({"hex":"007b002200610022003a0031007d00"})"), R"({"a":1})"},
    };
    // A high surrogate takes the unit behind it along, into one character or into nothing.
    for (const auto& [units, text] : std::map<std::string, std::string>{{"d83dde00", "\U0001F600"},
                                                                        {"dbffdfff", "\U0010FFFF"},
                                                                        {"d8000041", ""},
                                                                        {"d83dd83dde00", ""},
                                                                        {"d83de0000041", "A"},
                                                                        {"dc000041", "A"},
                                                                        {"d7ffe000", "\uD7FF\uE000"}})
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
    for (const std::string extra : {"[1]", "5", "true"}) {
        ShowService(With(J(kWhole), J("{\"110\":\"" + extra + "\"}")));
        EXPECT_EQ(Text(page_.Await(R"({"command":"GetCurrentChannelInfo"})")), R"({"code":0,"data":""})");
        const std::string log = "0/6 t_GetChannelInfo: Exception Handled by t_GetChannelInfo ";
        EXPECT_EQ(TakeLog().back().substr(0, log.size()), log) << extra;
    }
}

TEST_F(Channels, TheCurrentChannelIsAskedForInTheTvsMode)
{
    const std::string mode = R"({"antennaMode":4,"serviceMode":-9})";
    Answer("IServiceNavigation::GetTvMode", 1, J('[' + mode + ']'));
    for (const auto& [out, id, major] : std::vector<std::array<std::string, 3>>{
             {R"({"12":"18446744073709551614","13":5})", "18446744073709551614", "5"},
             {"null", "18446744073709551615", "65535"}}) {
        SCOPED_TRACE(out);
        page_.Answer(R"("IServiceNavigation::GetCurrentService","out":[)" + out + ']');
        calls_.Take();
        TakeLog();
        EXPECT_EQ(page_.Await(R"({"command":"GetCurrentChannelInfo"})")["code"], 0);
        const Lines calls = calls_.Take();
        ASSERT_EQ(calls.size(), 3U);
        EXPECT_EQ(calls[0], "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]");
        EXPECT_EQ(calls[2], "IServiceNavigation::GetCurrentService [" + mode +
                                R"(,{"fetch":[12,16,41,15,18,1,2,6,37,4,13,14,22,110]}] -> 1 out [)" + out +
                                ']');
        EXPECT_EQ(TakeLog(), (Lines{"0/3 t_GetCurrentChannel: SERVICE_ID = " + id,
                                    "0/3 t_GetCurrentChannel: MAJOR = " + major}));
    }
}

TEST_F(Channels, QueriesStopAtTheFirstFailure)
{
    const std::string create = "TVServiceAPI::CreateServiceNavigation";
    const std::string mode = "IServiceNavigation::GetTvMode";
    const std::string query = "IServiceNavigation::GetCurrentService";
    const std::string criteria = "TCNavigationModeHelper::GetNavigationCriteria";
    const std::string source = "TVServiceAPI::CreateSourceControl";
    const std::string value = "ISourceControl::GetSourceValue";
    const std::string flag = "ISourceControl::GetSourceFlag";
    const std::string tune = "IServiceNavigation::TuneService";
    const std::string tune_source = "ISourceControl::TuneService";
    const auto expect = [&](const std::string& request, const std::string& failing, const std::string& answer,
                            const Lines& calls, const Lines& log) {
        SCOPED_TRACE(request + ' ' + failing + ' ' + answer);
        Answer(flag, 1, J(calls.back() == tune_source ? "[1]" : "[0]"));
        page_.Answer('"' + failing + R"(","result":)" + answer);
        calls_.Take();
        TakeLog();
        EXPECT_EQ(page_.Await(R"({"command":")" + request + R"(","Serviceid":"1002"})")["code"], 28);
        EXPECT_EQ(calls_.TakeNames(), calls);
        EXPECT_EQ(TakeLog(), log);
        page_.Do(R"({"tv":"restore"})");
        EXPECT_EQ(CurrentId(), "1001");
    };
    const Lines failed{"0/6 t_GetCurrentChannel: Fail to get current service data\n"};
    expect("GetCurrentChannelInfo", create, "1", {create}, {});
    expect("GetCurrentChannelInfo", mode, "0", {create, mode}, {});
    expect("GetCurrentChannelInfo", query, R"(0,"out":[{"12":"5"}])", {create, mode, query}, failed);
    expect("GetCurrentChannelInfo", query, "-1", {create, mode, query}, failed);
    const std::string begins = "0/6 GetZELumoServices: GetZELumoServices begins";
    const std::string no_criteria = "0/6 GetZELumoServices: Get navigation criteria failed";
    expect("GetZELumoServices", create, "1", {create}, {begins});
    expect("GetZELumoServices", mode, "0", {create, mode}, {begins});
    expect("GetZELumoServices", criteria, "false", {create, mode, criteria}, {begins, no_criteria});
    const Lines tuning{"0/6 SetServiceByServiceid: SetServiceByServiceid begins"};
    expect("SetServiceByServiceid", source, "0", {source, create}, tuning);
    expect("SetServiceByServiceid", create, "0", {source, create}, tuning);
    expect("SetServiceByServiceid", tune, "0", {source, create, value, flag, tune}, tuning);
    expect("SetServiceByServiceid", tune_source, "0", {source, create, value, flag, tune_source}, tuning);
}

TEST_F(Channels, TheListIsWrittenInTheTvsOrder)
{
    struct Case {
        int result;
        const char* services;
        const char* listed;  ///< null: failure
    };
    for (const Case& c : {
             Case{0, "[]", "null"},
             Case{0, "[{}]", R"([{"id":18446744073709551615,"major":65535,"minor":65535}])"},
             Case{2, R"([{"12":"9","13":9,"14":1},{"12":"9007199254740993","13":0,"16":"name"},{"12":"3"}])",
                  R"([{"id":9,"major":9,"minor":1},{"id":9007199254740993,"major":0,"minor":65535},)"
                  R"({"id":3,"major":65535,"minor":65535}])"},
             Case{-1, "[]", nullptr},
             // Records are the caller's on failure too: nothing may leak.
             Case{-5, R"([{"12":"1","16":"a long enough name"},{"12":"2","16":"another such name"}])",
                  nullptr},
         }) {
        SCOPED_TRACE(c.services);
        Json::Value out;
        out.append(J(c.services));
        Answer("IServiceNavigation::GetServiceList", c.result, out);
        Answer("IServiceNavigation::GetTvMode", 1, J(R"([{"antennaMode":-1,"serviceMode":8}])"));
        calls_.Take();
        TakeLog();
        const Json::Value reply = page_.Await(R"({"command":"GetZELumoServices"})");
        EXPECT_EQ(reply["code"], c.listed == nullptr ? 28 : 0);
        if (c.listed != nullptr) {
            EXPECT_EQ(Text(J(reply["data"].asString())),
                      std::string(R"({"ListName":"ZELumoServices","TCServiceData":)") + c.listed + "}");
        }
        EXPECT_EQ(TakeLog(),
                  (Lines{"0/6 GetZELumoServices: GetZELumoServices begins",
                         "0/6 GetZELumoServices: nTCTVMode.antennaMode = -1, nTCTVMode.serviceMode = 8 !",
                         "0/6 GetZELumoServices: GetServiceList svc_list.size = " +
                             std::to_string(J(c.services).size()) + ", "}));
        const Lines calls = calls_.Take();
        ASSERT_EQ(calls.size(), 4U);
        EXPECT_EQ(calls[2], R"(TCNavigationModeHelper::GetNavigationCriteria [16,"0"] -> true)");
        EXPECT_EQ(calls[3],
                  R"(IServiceNavigation::GetServiceList [{"fetch":[12,13,14],"mode":16,"value":"0"},)"
                  R"({"antennaMode":-1,"serviceMode":8},0,0] -> )" +
                      std::to_string(c.result) + " out [" + c.services + ']');
    }
}

TEST_F(Channels, TuningGoesByValueAndFlag)
{
    const std::string by_navigation = R"(IServiceNavigation::TuneService ["1002",0,0,"app"] -> 1)";
    const std::string by_source = R"(ISourceControl::TuneService [0,"1002","app"] -> 1)";
    for (const char* value : {"null", "-1", "0", "1", "-2147483648"}) {
        for (const char* flag : {"null", "-1", "0", "1", "2"}) {
            SCOPED_TRACE(std::string(value) + ' ' + flag);
            const bool unset = value == std::string("null") || value == std::string("-1");
            const bool navigates = !unset && flag == std::string("0");
            // The results of the two questions count for nothing.
            Answer("ISourceControl::GetSourceValue", navigates ? 0 : 1, J('[' + std::string(value) + ']'));
            Answer("ISourceControl::GetSourceFlag", navigates ? -1 : 1, J('[' + std::string(flag) + ']'));
            calls_.Take();
            page_.Await(R"({"command":"SetServiceByServiceid","Serviceid":"1002","Appid":"app"})");
            const Lines calls = calls_.TakeHolding({"::Create", "::TuneService"});
            EXPECT_EQ(calls, (Lines{"TVServiceAPI::CreateSourceControl [1,0] -> 1 out [true]",
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
             {R"("1002")", "1002", "1002"},
             {R"("0x1F")", "31", "0"},
             {R"("017")", "15", "17"},
             {R"("09")", "0", "9"},
             {R"("  12abc")", "12", "12"},
             {R"("abc")", "0", "0"},
             {R"("12\u000034")", "12", "12"},
             {R"("99999999999999999999999")", all, all},
             {R"("-1")", all, all},
             {R"("0xFFFFFFFFFFFFFFFF")", all, "0"},
         }) {
        SCOPED_TRACE(text);
        calls_.Take();
        page_.Await(R"({"command":"SetServiceByServiceid","Appid":5,"Serviceid":)" + text + "}");
        const std::string tune = calls_.Take().back();
        EXPECT_EQ(tune.substr(0, tune.find(" -> ")),
                  "IServiceNavigation::TuneService [\"" + any_base + R"(",0,0,""])");
        page_.Await(R"({"command":"ExtractServiceInformationsFromServiceId","serviceId":)" + text + "}");
        const std::string describe = calls_.Take().back();
        EXPECT_EQ(describe.substr(0, describe.find(" -> ")),
                  "FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId [\"" + decimal + "\"]");
    }
}

TEST_F(Channels, NextAndPreviousAskTheNavigation)
{
    const std::string created = "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]";
    const std::string criteria = "TCNavigationModeHelper::GetNavigationCriteria [11,0] -> ";
    const std::string whole = R"( [{"fetch":[],"mode":11,"sort":0}] -> )";
    for (const std::string operation : {"SetNextService", "SetPreviousService"}) {
        const std::string call = "IServiceNavigation::" + operation;
        const std::string log =
            (operation == "SetNextService" ? "SetNextService: " : "SetPrevService: ") + operation;
        const auto expect = [&](const std::string& answer, bool result, const Lines& calls,
                                const Lines& logged) {
            SCOPED_TRACE(answer);
            page_.Answer(answer);
            calls_.Take();
            TakeLog();
            const Json::Value reply = page_.Await(R"({"command":")" + operation + "\"}");
            EXPECT_EQ(Text(reply), std::string(R"({"code":0,"data":)") + (result ? "true}" : "false}"));
            EXPECT_EQ(calls_.Take(), calls);
            EXPECT_EQ(TakeLog(), logged);
            page_.Do(R"({"tv":"restore"})");
        };
        expect('"' + call + R"(","result":1)", true, {created, criteria + "true", call + whole + '1'},
               {"0/3 " + log + " success"});
        expect('"' + call + R"(","result":0)", false, {created, criteria + "true", call + whole + '0'},
               {"0/6 " + log + " Failed"});
        expect(R"("TCNavigationModeHelper::GetNavigationCriteria","result":false)", true,
               {created, criteria + "false", call + R"( [{"fetch":[]}] -> 1)"}, {"0/3 " + log + " success"});
        expect(R"("TVServiceAPI::CreateServiceNavigation","result":1)", false,
               {"TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [null]"}, {});
    }
}

TEST_F(Channels, TheLineUpIsWalkedRoundAndTunedInto)
{
    std::vector<std::string> ids;
    const Json::Value list = J(page_.Await(R"({"command":"GetZELumoServices"})")["data"].asString());
    for (const Json::Value& service : list["TCServiceData"])
        ids.push_back(service["id"].asString());
    ASSERT_GE(ids.size(), 24U);
    for (const int event : {90019, 90020, 90023})
        page_.Await(R"({"command":"RegisterEvent","event":)" + std::to_string(event) + "}");

    const auto expect_on = [&](const std::string& id) {
        EXPECT_EQ(Record()["serviceid"], id);
        const std::vector<Json::Value> messages = page_.TakeMessages();
        ASSERT_EQ(messages.size(), 3U);
        EXPECT_EQ(messages[0]["command"], "ITVS_Signal_ZELumo_Control_State_ChLeave");
        EXPECT_EQ(messages[1]["command"], "ITVS_Signal_ZELumo_Control_State_ChLoad");
        EXPECT_EQ(J(messages[1]["data"]["ch_info"].asString())["serviceId"], id);
        EXPECT_EQ(J(messages[1]["data"]["program_info"].asString())["TCServiceId"], id);
        EXPECT_EQ(messages[2]["command"], "ITVS_Signal_ZELumo_Control_State_ChEnter");
    };
    for (std::size_t i = 1; i <= ids.size(); ++i) {
        EXPECT_EQ(page_.Await(R"({"command":"SetNextService"})")["data"], true);
        expect_on(ids[i % ids.size()]);
    }
    EXPECT_EQ(page_.Await(R"({"command":"SetPreviousService"})")["data"], true);
    expect_on(ids.back());
    // By id, by either way, and to the channel that is on already.
    for (const char* flag : {"0", "1"}) {
        Answer("ISourceControl::GetSourceFlag", 1, J('[' + std::string(flag) + ']'));
        for (const std::string& id : {ids[7], ids[7], std::string("18446744073709551614")}) {
            EXPECT_EQ(page_.Await(R"({"command":"SetServiceByServiceid","Serviceid":")" + id + "\"}")["code"],
                      0);
            expect_on(id);
        }
        EXPECT_EQ(page_.Await(R"({"command":"SetServiceByServiceid","Serviceid":"77"})")["code"], 28);
        EXPECT_EQ(CurrentId(), "18446744073709551614");
        EXPECT_EQ(page_.TakeMessages().size(), 0U);
    }
}

TEST_F(Channels, AQueryFillsWhatIsFetchedAndThere)
{
    IServiceNavigation* navigation = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateServiceNavigation(EPROFILE_TV, 0, &navigation), 1);
    IServiceNavigation* other = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateServiceNavigation(static_cast<EProfile>(2), 0, &other), 0);
    EXPECT_EQ(other, nullptr);
    tv::LoadTv(
        tv::ParseTv(R"({"channels":[{"id":"7","name":"A","major":1,"200":-5},{"id":"8"}]})", tv::SampleTv()));
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
        ASSERT_EQ(list.size(), 3U);
        EXPECT_EQ(Text(tv::ToJson(**std::next(list.begin()))), fields);
        for (const TCServiceData* one : list)
            delete one;
    }
    tv::LoadTv(tv::ParseTv(R"({"channels":[]})", tv::SampleTv()));
    EXPECT_EQ(page_.Await(R"({"command":"GetCurrentChannelInfo"})")["code"], 28);
    EXPECT_EQ(page_.Await(R"({"command":"SetNextService"})")["data"], false);
    EXPECT_EQ(J(page_.Await(R"({"command":"GetZELumoServices"})")["data"].asString())["TCServiceData"],
              Json::Value());
    EXPECT_TRUE(tv::TvService::Get().CurrentJson().isNull());
}

}  // namespace
