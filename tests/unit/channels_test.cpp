#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/page.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

using test::J;
using test::Text;
using Lines = std::vector<std::string>;
using Members = std::map<std::string, std::string>;  // from key to the JSON text of its value

std::string Hex(const std::u16string& units)
{
    std::string hex;
    for (const char16_t unit : units) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "%04x", static_cast<unsigned>(unit));
        hex += digits;
    }
    return hex;
}

Json::Value Raw(const std::u16string& units)
{
    Json::Value raw;
    raw["hex"] = Hex(units);
    return raw;
}

std::u16string Repeat(std::size_t count, char16_t unit)
{
    return std::u16string(count, unit);
}

/// A string as the record's writer writes it: ASCII.
std::string Quoted(const std::u16string& units)
{
    std::string text = "\"";
    for (const char16_t unit : units) {
        if (unit < 0x80)
            text += static_cast<char>(unit);
        else
            text += "\\u" + Hex(std::u16string(1, unit));
    }
    return text + '"';
}

/// An object as the record's writer writes it.
std::string Styled(const Members& members)
{
    std::string text = "{\n";
    std::size_t left = members.size();
    for (const auto& [key, value] : members)
        text += "   \"" + key + "\" : " + value + (--left > 0 ? ",\n" : "\n");
    return text + "}\n";
}

/// The record of a service without any field.
Members EmptyRecord()
{
    Members record{{"channelName", "\"\""}, {"frequency", "-1"}, {"tuneMode", "-1"}, {"type", "-1"}};
    for (const char* key : {"lock", "major", "minor", "originalNetworkId", "programNumber", "ptc", "sourceId",
                            "transportStreamId"})
        record[key] = "65535";
    for (const char* key : {"serviceId", "serviceid"})
        record[key] = "\"18446744073709551615\"";
    return record;
}

Members With(Members members, const Members& replaced)
{
    for (const auto& [key, value] : replaced)
        members[key] = value;
    return members;
}

class Channels : public testing::Test {
  protected:
    Channels() { tv::Tv::Get().Load(tv::SampleTv()); }
    ~Channels() override { tv::Tv::Get().Load(tv::SampleTv()); }

    void Answer(const std::string& call, const Json::Value& result, const Json::Value& out)
    {
        Json::Value verb;
        verb["tv"] = "answer";
        verb["call"] = call;
        verb["result"] = result;
        verb["out"] = out;
        page_.Do(Text(verb));
    }
    void ShowService(const Json::Value& service)
    {
        Json::Value out;
        out.append(service);
        Answer("IServiceNavigation::GetCurrentService", 1, out);
    }
    std::string Record() { return page_.Await(R"({"command":"GetCurrentChannelInfo"})")["data"].asString(); }
    std::string CurrentId() { return tv::Tv::Get().tv_service().CurrentJson()["serviceId"].asString(); }
    /// The log lines of the plug-in, without the dispatcher's.
    Lines TakeLog()
    {
        Lines lines;
        for (const std::string& line : log_.Take()) {
            if (line.find(" zelumo-pepper ") != std::string::npos &&
                line.find("HandleBlockingMessageImpl") == std::string::npos)
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
    const Members whole{{"channelName", "\"News\""},
                        {"frequency", "474000"},
                        {"lock", "1"},
                        {"major", "5"},
                        {"minor", "7"},
                        {"originalNetworkId", "8800"},
                        {"programNumber", "101"},
                        {"ptc", "21"},
                        {"serviceId", "\"9007199254740993\""},
                        {"serviceid", "\"9007199254740993\""},
                        {"sourceId", "201"},
                        {"transportStreamId", "300"},
                        {"tuneMode", "2"},
                        {"type", "3"}};
    const std::map<std::string, Lines> keys{
        {"12", {"serviceId", "serviceid"}},
        {"1", {"type"}},
        {"13", {"major"}},
        {"14", {"minor"}},
        {"2", {"ptc"}},
        {"22", {"lock"}},
        {"15", {"programNumber"}},
        {"37", {"sourceId"}},
        {"41", {"originalNetworkId"}},
        {"18", {"transportStreamId"}},
        {"16", {"channelName"}},
        {"4", {"frequency"}},
        {"6", {"tuneMode"}},
    };
    ShowService(J("{}"));
    EXPECT_EQ(Record(), Styled(EmptyRecord()));
    ShowService(J(kWhole));
    EXPECT_EQ(Record(), Styled(whole));
    for (const auto& [field, fed] : keys) {
        Json::Value service = J(kWhole);
        service.removeMember(field);
        Members expected = whole;
        for (const std::string& key : fed)
            expected[key] = EmptyRecord()[key];
        ShowService(service);
        EXPECT_EQ(Record(), Styled(expected)) << field;
    }
    // The ends of the ranges.
    ShowService(J(R"({"12":"18446744073709551614","1":-2147483648,"4":2147483647,"6":0,"13":0,"14":65535})"));
    EXPECT_EQ(Record(), Styled(With(EmptyRecord(), {{"serviceId", "\"18446744073709551614\""},
                                                    {"serviceid", "\"18446744073709551614\""},
                                                    {"type", "-2147483648"},
                                                    {"frequency", "2147483647"},
                                                    {"tuneMode", "0"},
                                                    {"major", "0"}})));
}

TEST_F(Channels, NamesAreReadUpToTheirBounds)
{
    const std::string too_long = "0/3 ucs2utf8: iconv failed: 7";
    const std::string illegal = "0/3 ucs2utf8: iconv failed: 84";
    struct Case {
        const char* about;
        Json::Value name;
        std::u16string read;
        Lines log;
    };
    const std::vector<Case> cases{
        {"empty", Raw(u""), u"", {}},
        {"one byte", Raw(u"A"), u"A", {}},
        {"two bytes", Raw(u"caf\u00E9"), u"caf\u00E9", {}},
        {"three bytes", Raw(u"\u7EB8\u706F"), u"\u7EB8\u706F", {}},
        {"right to left", Raw(u"\u05D0\u05D5\u05E8"), u"\u05D0\u05D5\u05E8", {}},
        {"up to a zero unit", Raw(std::u16string(u"one\0two", 7)), u"one", {}},
        {"a zero unit at once", Raw(std::u16string(u"\0two", 4)), u"", {}},
        {"an odd byte at the end", J(R"({"hex":"004100"})"), u"A", {}},
        {"an odd byte alone", J(R"({"hex":"41"})"), u"", {}},
        {"the last units read", Raw(Repeat(256, u'a') + u"bc"), Repeat(256, u'a') + u"b", {}},
        {"as long as is read", Raw(Repeat(257, u'a')), Repeat(257, u'a'), {}},
        {"longer by far", Raw(Repeat(100000, u'a')), Repeat(257, u'a'), {}},
        {"two bytes that fit", Raw(Repeat(256, u'\u00E9')), Repeat(256, u'\u00E9'), {}},
        {"two bytes, one too many", Raw(Repeat(257, u'\u00E9')), Repeat(256, u'\u00E9'), {too_long}},
        {"two bytes, far too many", Raw(Repeat(5000, u'\u00E9')), Repeat(256, u'\u00E9'), {too_long}},
        {"three bytes that fit", Raw(Repeat(171, u'\u7EB8')), Repeat(171, u'\u7EB8'), {}},
        {"three bytes, one too many", Raw(Repeat(172, u'\u7EB8')), Repeat(171, u'\u7EB8'), {too_long}},
        {"three bytes, far too many", Raw(Repeat(300, u'\u7EB8')), Repeat(171, u'\u7EB8'), {too_long}},
        {"mixed around the end",
         Raw(Repeat(255, u'a') + Repeat(2, u'\u7EB8') + u"zz"),
         Repeat(255, u'a') + Repeat(2, u'\u7EB8'),
         {}},
        {"a pair of surrogates", Raw(u"fox \U0001F98A den"), u"fox ", {illegal}},
        {"a lone surrogate", Raw(u"\xDC00"), u"", {illegal}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.about);
        Json::Value service;
        service["16"] = c.name;
        ShowService(service);
        TakeLog();
        EXPECT_EQ(Record(), Styled(With(EmptyRecord(), {{"channelName", Quoted(c.read)}})));
        Lines log = TakeLog();
        ASSERT_GE(log.size(), 2U);  // those of the query come first
        EXPECT_EQ(Lines(log.begin() + 2, log.end()), c.log);
    }
}

TEST_F(Channels, ExtraMembersAreMerged)
{
    struct Case {
        Json::Value extra;
        Members changed;
    };
    std::vector<Case> cases{
        {"", {}},
        {"no JSON", {}},
        {"{\"a\":1", {}},
        {"{a:1}", {}},
        {" ", {}},
        {"null", {}},
        {"{}", {}},
        {R"({"lock":1,"hd":true})", {{"lock", "1"}, {"hd", "true"}}},
        {R"({"a":null,"b":"","":0,"Z":-1.5})", {{"a", "null"}, {"b", "\"\""}, {"", "0"}, {"Z", "-1.5"}}},
        {R"({"list":[1,2],"object":{"x":1}})",
         {{"list", "[ 1, 2 ]"}, {"object", "{\n      \"x\" : 1\n   }"}}},
        {R"({"a":1,"a":2})", {{"a", "2"}}},
        {R"({"id":18446744073709551615})", {{"id", "18446744073709551615"}}},
        {R"({"t":"\u00e9\n\u0001"})", {{"t", "\"\\u00e9\\n\\u0001\""}}},
        {Raw(u"{\"t\":\"\u00E9\u7EB8\"}"), {{"t", "\"\\u00e9\\u7eb8\""}}},
        // Behind a zero nothing counts.
        {Raw(std::u16string(u"{\"a\":1}\0{\"b\":2}", 15)), {{"a", "1"}}},
        {Raw(std::u16string(u"\0{\"b\":2}", 8)), {}},
        {Raw(std::u16string(u"{\"t\":\"x\0y\"}", 11)), {}},
        // A pair is one character; what is no pair is left out, a high surrogate with the unit behind it.
        {Raw(u"{\"t\":\"\U0001F98A\"}"), {{"t", "\"\\ud83e\\udd8a\""}}},
        {Raw(u"{\"t\":\"\xD83E"
             u"Ab\"}"),
         {{"t", "\"b\""}}},
        {Raw(u"{\"t\":\"\xDD8A"
             u"Ab\"}"),
         {{"t", "\"Ab\""}}},
        {Raw(u"{\"t\":\"\xD83E\xD83E\xDD8A"
             u"b\"}"),
         {{"t", "\"b\""}}},
        {Raw(u"{\"t\":\"\xD83E\"}"), {}},  // the quote is gone
        {Raw(u"{\"t\":1}\xD83E"), {{"t", "1"}}},
        {Raw(u"\xD83E"), {}},
        {J(R"({"hex":"7b"})"), {}},
        {J(R"({"hex":"007b002200610022003a0031007d00"})"), {{"a", "1"}}},
    };
    for (const auto& [key, value] : EmptyRecord()) {
        cases.push_back({"{\"" + key + "\":\"other\"}", {{key, "\"other\""}}});
        cases.push_back({"{\"" + key + "\":null}", {{key, "null"}}});
    }
    for (const Case& c : cases) {
        Json::Value service;
        service["110"] = c.extra;
        ShowService(service);
        EXPECT_EQ(Record(), Styled(With(EmptyRecord(), c.changed))) << Text(c.extra);
    }
}

TEST_F(Channels, ExtraTextThatIsNoObjectLeavesNoRecord)
{
    for (const std::string& extra : {std::string("[1]"), std::string("[]"), std::string("5"),
                                     std::string("\"text\""), std::string("true"), std::string(2000, '[')}) {
        Json::Value service = J(kWhole);
        service["110"] = extra;
        ShowService(service);
        TakeLog();
        EXPECT_EQ(Text(page_.Await(R"({"command":"GetCurrentChannelInfo"})")), R"({"code":0,"data":""})")
            << extra;
        const std::string last = TakeLog().back();
        EXPECT_EQ(last.find("0/6 t_GetChannelInfo: Exception Handled by t_GetChannelInfo "), 0U) << last;
    }
}

TEST_F(Channels, CurrentChannelStepByStep)
{
    const std::string navigation = "TVServiceAPI::CreateServiceNavigation [1,0] -> ";
    const std::string mode =
        R"(IServiceNavigation::GetTvMode [] -> 1 out [{"antennaMode":4,"serviceMode":-9}])";
    const std::string query = R"(IServiceNavigation::GetCurrentService [{"antennaMode":4,"serviceMode":-9},)"
                              R"({"fetch":[12,16,41,15,18,1,2,6,37,4,13,14,22,110]}] -> )";
    struct Case {
        const char* call;
        const char* answer;
        Lines calls;
        Lines log;
    };
    const std::vector<Case> cases{
        {"TVServiceAPI::CreateServiceNavigation", R"("result":1)", {navigation + "1 out [null]"}, {}},
        {"IServiceNavigation::GetTvMode",
         R"("result":0,"out":[{"antennaMode":4,"serviceMode":-9}])",
         {navigation + "1 out [true]",
          R"(IServiceNavigation::GetTvMode [] -> 0 out [{"antennaMode":4,"serviceMode":-9}])"},
         {}},
        {"IServiceNavigation::GetCurrentService",
         R"("result":0,"out":[{"12":"5"}])",
         {navigation + "1 out [true]", mode, query + R"(0 out [{"12":"5"}])"},
         {"0/6 t_GetCurrentChannel: Fail to get current service data\n"}},
        {"IServiceNavigation::GetCurrentService",
         R"("result":-1)",
         {navigation + "1 out [true]", mode, query + "-1 out [null]"},
         {"0/6 t_GetCurrentChannel: Fail to get current service data\n"}},
        {"IServiceNavigation::GetCurrentService",
         R"("result":2,"out":[{"12":"18446744073709551614","13":5}])",
         {navigation + "1 out [true]", mode, query + R"(2 out [{"12":"18446744073709551614","13":5}])"},
         {"0/3 t_GetCurrentChannel: SERVICE_ID = 18446744073709551614",
          "0/3 t_GetCurrentChannel: MAJOR = 5"}},
        {"IServiceNavigation::GetCurrentService",
         R"("out":[null])",
         {navigation + "1 out [true]", mode, query + "1 out [null]"},
         {"0/3 t_GetCurrentChannel: SERVICE_ID = 18446744073709551615",
          "0/3 t_GetCurrentChannel: MAJOR = 65535"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.call) + ' ' + c.answer);
        Answer("IServiceNavigation::GetTvMode", 1, J(R"([{"antennaMode":4,"serviceMode":-9}])"));
        page_.Do(std::string(R"({"tv":"answer","call":")") + c.call + "\"," + c.answer + "}");
        calls_.Take();
        TakeLog();
        const Json::Value reply = page_.Await(R"({"command":"GetCurrentChannelInfo"})");
        EXPECT_EQ(reply["code"], c.log.size() == 2 ? 0 : 28);
        EXPECT_EQ(calls_.Take(), c.calls);
        EXPECT_EQ(TakeLog(), c.log);
        page_.Do(R"({"tv":"restore"})");
    }
}

TEST_F(Channels, TheListIsWrittenInTheTvsOrder)
{
    const auto element = [](const char* id, int major, int minor) {
        return "      {\n         \"id\" : " + std::string(id) +
               ",\n         \"major\" : " + std::to_string(major) +
               ",\n         \"minor\" : " + std::to_string(minor) + "\n      }";
    };
    const auto list = [](const std::string& services) {
        return "{\n   \"ListName\" : \"ZELumoServices\",\n   \"TCServiceData\" : " + services + "\n}\n";
    };
    struct Case {
        int result;
        const char* services;
        std::string text;  // empty: failure
    };
    for (const Case& c : {
             Case{0, "[]", list("null")},
             Case{0, "[{}]", list("[\n" + element("18446744073709551615", 65535, 65535) + "\n   ]")},
             Case{2, R"([{"12":"9","13":9,"14":1},{"12":"9007199254740993","13":0,"16":"name"},{"12":"3"}])",
                  list("[\n" + element("9", 9, 1) + ",\n" + element("9007199254740993", 0, 65535) + ",\n" +
                       element("3", 65535, 65535) + "\n   ]")},
             Case{-1, "[]", ""},
             // Records are the caller's on failure too: nothing may leak.
             Case{-5, R"([{"12":"1","16":"a long enough name"},{"12":"2","16":"another such name"}])", ""},
         }) {
        SCOPED_TRACE(c.services);
        Json::Value out;
        out.append(J(c.services));
        Answer("IServiceNavigation::GetServiceList", c.result, out);
        TakeLog();
        const Json::Value reply = page_.Await(R"({"command":"GetZELumoServices"})");
        EXPECT_EQ(reply["code"], c.text.empty() ? 28 : 0);
        EXPECT_EQ(reply["data"], c.text.empty() ? Json::Value() : Json::Value(c.text));
        EXPECT_EQ(TakeLog(),
                  (Lines{"0/6 GetZELumoServices: GetZELumoServices begins",
                         "0/6 GetZELumoServices: nTCTVMode.antennaMode = 1, nTCTVMode.serviceMode = 1 !",
                         "0/6 GetZELumoServices: GetServiceList svc_list.size = " +
                             std::to_string(J(c.services).size()) + ", "}));
    }
    page_.Do(R"({"tv":"answer","call":"IServiceNavigation::GetServiceList"})");
    EXPECT_EQ(page_.Await(R"({"command":"GetZELumoServices"})")["data"], list("null"));
}

TEST_F(Channels, TheListStopsAtTheFirstFailure)
{
    const std::string begins = "0/6 GetZELumoServices: GetZELumoServices begins";
    struct Case {
        const char* answer;
        std::size_t calls;
        Lines log;
    };
    for (const Case& c : {
             Case{
                 R"({"tv":"answer","call":"TVServiceAPI::CreateServiceNavigation","result":1})", 1, {begins}},
             Case{R"({"tv":"answer","call":"IServiceNavigation::GetTvMode","result":0})", 2, {begins}},
             Case{R"({"tv":"answer","call":"TCNavigationModeHelper::GetNavigationCriteria","result":false})",
                  3,
                  {begins, "0/6 GetZELumoServices: Get navigation criteria failed"}},
         }) {
        page_.Do(c.answer);
        calls_.Take();
        TakeLog();
        EXPECT_EQ(page_.Await(R"({"command":"GetZELumoServices"})")["code"], 28) << c.answer;
        EXPECT_EQ(calls_.Take().size(), c.calls) << c.answer;
        EXPECT_EQ(TakeLog(), c.log) << c.answer;
        page_.Do(R"({"tv":"restore"})");
    }
    page_.Do(
        R"({"tv":"answer","call":"IServiceNavigation::GetTvMode","out":[{"antennaMode":-1,"serviceMode":8}]})");
    calls_.Take();
    page_.Await(R"({"command":"GetZELumoServices"})");
    const Lines calls = calls_.Take();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[2], R"(TCNavigationModeHelper::GetNavigationCriteria [16,"0"] -> true)");
    EXPECT_EQ(
        calls[3].find(R"(IServiceNavigation::GetServiceList [{"fetch":[12,13,14],"mode":16,"value":"0"},)"
                      R"({"antennaMode":-1,"serviceMode":8},0,0] -> 0 out [[{"12":"1001","13":1,"14":0},)"),
        0U)
        << calls[3];
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
            const Lines calls = calls_.Take();
            ASSERT_EQ(calls.size(), 5U);
            EXPECT_EQ(calls[0], "TVServiceAPI::CreateSourceControl [1,0] -> 1 out [true]");
            EXPECT_EQ(calls[1], "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]");
            EXPECT_EQ(calls[2].find("ISourceControl::GetSourceValue [] -> "), 0U);
            EXPECT_EQ(calls[3].find("ISourceControl::GetSourceFlag [] -> "), 0U);
            EXPECT_EQ(calls[4], navigates ? by_navigation : by_source);
        }
    }
}

TEST_F(Channels, TuningFailsAtEachStep)
{
    struct Case {
        const char* answer;
        Lines calls;  // by name
    };
    const Lines up_to_flag{"TVServiceAPI::CreateSourceControl", "TVServiceAPI::CreateServiceNavigation",
                           "ISourceControl::GetSourceValue", "ISourceControl::GetSourceFlag"};
    const Lines both(up_to_flag.begin(), up_to_flag.begin() + 2);
    Lines by_navigation = up_to_flag;
    by_navigation.emplace_back("IServiceNavigation::TuneService");
    for (const Case& c : {
             Case{R"({"tv":"answer","call":"TVServiceAPI::CreateSourceControl","result":0})", both},
             Case{R"({"tv":"answer","call":"TVServiceAPI::CreateServiceNavigation","result":0})", both},
             Case{R"({"tv":"answer","call":"IServiceNavigation::TuneService","result":0})", by_navigation},
             Case{R"({"tv":"answer","call":"IServiceNavigation::TuneService","result":-3})", by_navigation},
         }) {
        SCOPED_TRACE(c.answer);
        page_.Do(c.answer);
        calls_.Take();
        TakeLog();
        EXPECT_EQ(
            Text(page_.Await(R"({"command":"SetServiceByServiceid","Serviceid":"1002"})")),
            R"({"code":28,"data":null,"errorMessage":"SetChannelByServiceid failed","errorName":"ServiceNotAvailableError"})");
        Lines names;
        for (const std::string& call : calls_.Take())
            names.push_back(call.substr(0, call.find(' ')));
        EXPECT_EQ(names, c.calls);
        EXPECT_EQ(TakeLog(), (Lines{"0/6 SetServiceByServiceid: SetServiceByServiceid begins"}));
        page_.Do(R"({"tv":"restore"})");
        EXPECT_EQ(CurrentId(), "1001");
    }
}

TEST_F(Channels, ServiceIdsAreReadFromText)
{
    struct Case {
        const char* text;  // as JSON
        const char* any_base;
        const char* decimal;
    };
    for (const Case& c : {
             Case{R"("1002")", "1002", "1002"},
             Case{R"("0x1F")", "31", "0"},
             Case{R"("0X1f")", "31", "0"},
             Case{R"("017")", "15", "17"},
             Case{R"("09")", "0", "9"},
             Case{R"("  12")", "12", "12"},
             Case{R"("+12")", "12", "12"},
             Case{R"("12abc")", "12", "12"},
             Case{R"("abc")", "0", "0"},
             Case{R"("")", "0", "0"},
             Case{R"("0x")", "0", "0"},
             Case{R"("12\u000034")", "12", "12"},
             Case{R"("9007199254740993")", "9007199254740993", "9007199254740993"},
             Case{R"("18446744073709551615")", "18446744073709551615", "18446744073709551615"},
             Case{R"("99999999999999999999999")", "18446744073709551615", "18446744073709551615"},
             Case{R"("-1")", "18446744073709551615", "18446744073709551615"},
             Case{R"("0xFFFFFFFFFFFFFFFF")", "18446744073709551615", "0"},
         }) {
        calls_.Take();
        page_.Await(std::string(R"({"command":"SetServiceByServiceid","Appid":5,"Serviceid":)") + c.text +
                    "}");
        const std::string tune = calls_.Take().back();
        EXPECT_EQ(tune.substr(0, tune.find(" -> ")),
                  std::string("IServiceNavigation::TuneService [\"") + c.any_base + R"(",0,0,""])")
            << c.text;
        page_.Await(std::string(R"({"command":"ExtractServiceInformationsFromServiceId","serviceId":)") +
                    c.text + "}");
        const std::string describe = calls_.Take().back();
        EXPECT_EQ(describe.substr(0, describe.find(" -> ")),
                  std::string("FIVirtualChannelsAPI::ExtractServiceInformationsFromServiceId [\"") +
                      c.decimal + "\"]")
            << c.text;
    }
}

TEST_F(Channels, NextAndPreviousAskTheNavigation)
{
    struct Case {
        const char* command;
        const char* operation;
    };
    for (const Case& c :
         {Case{"SetNextService", "SetNextService"}, Case{"SetPreviousService", "SetPreviousService"}}) {
        const std::string request = std::string(R"({"command":")") + c.command + "\"}";
        const std::string function =
            c.command == std::string("SetNextService") ? "SetNextService: " : "SetPrevService: ";
        const auto expect = [&](bool result, const Lines& calls, const Lines& log) {
            calls_.Take();
            TakeLog();
            EXPECT_EQ(Text(page_.Await(request)),
                      std::string(R"({"code":0,"data":)") + (result ? "true}" : "false}"));
            EXPECT_EQ(calls_.Take(), calls);
            EXPECT_EQ(TakeLog(), log);
            page_.Do(R"({"tv":"restore"})");
        };
        const std::string created = "TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [true]";
        const std::string call = std::string("IServiceNavigation::") + c.operation;
        const Lines success{"0/3 " + function + c.operation + " success"};
        const Lines failure{"0/6 " + function + c.operation + " Failed"};
        expect(true,
               {created, "TCNavigationModeHelper::GetNavigationCriteria [11,0] -> true",
                call + R"( [{"fetch":[],"mode":11,"sort":0}] -> 1)"},
               success);
        page_.Do(R"({"tv":"answer","call":"TCNavigationModeHelper::GetNavigationCriteria","result":false})");
        expect(true,
               {created, "TCNavigationModeHelper::GetNavigationCriteria [11,0] -> false",
                call + R"( [{"fetch":[]}] -> 1)"},
               success);
        page_.Do(R"({"tv":"answer","call":")" + call + R"(","result":0})");
        expect(false,
               {created, "TCNavigationModeHelper::GetNavigationCriteria [11,0] -> true",
                call + R"( [{"fetch":[],"mode":11,"sort":0}] -> 0)"},
               failure);
        page_.Do(R"({"tv":"answer","call":"TVServiceAPI::CreateServiceNavigation","result":1})");
        expect(false, {"TVServiceAPI::CreateServiceNavigation [1,0] -> 1 out [null]"}, {});
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
        EXPECT_EQ(J(Record())["serviceid"], id);
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
        EXPECT_EQ(page_.CountMessages(), 0U);
    }
}

TEST_F(Channels, AQueryFillsWhatIsFetchedAndThere)
{
    IServiceNavigation* navigation = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateServiceNavigation(EPROFILE_TV, 0, &navigation), 1);
    IServiceNavigation* other = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateServiceNavigation(static_cast<EProfile>(2), 0, &other), 0);
    EXPECT_EQ(other, nullptr);
    tv::Tv::Get().Load(
        tv::ParseTv(R"({"channels":[{"id":"7","name":"A","major":1,"200":-5},{"id":"8"}]})", tv::SampleTv()));
    const std::map<std::vector<int>, std::string> cases{
        {{}, "{}"},
        {{12}, R"({"12":"7"})"},
        {{14, 16, 200, 1, 16}, R"({"16":"A","200":-5})"},
    };
    for (const auto& [fetch, fields] : cases) {
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
    tv::Tv::Get().Load(tv::ParseTv(R"({"channels":[]})", tv::SampleTv()));
    EXPECT_EQ(page_.Await(R"({"command":"GetCurrentChannelInfo"})")["code"], 28);
    EXPECT_EQ(page_.Await(R"({"command":"SetNextService"})")["data"], false);
    EXPECT_EQ(J(page_.Await(R"({"command":"GetZELumoServices"})")["data"].asString())["TCServiceData"],
              Json::Value());
    EXPECT_TRUE(tv::Tv::Get().tv_service().CurrentJson().isNull());
}

}  // namespace
