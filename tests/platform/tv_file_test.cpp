// SPDX-License-Identifier: Apache-2.0
#include "tv/tv_file.h"

#include <gtest/gtest.h>

#include "tests/support/page.h"

namespace {

using test::Text;

std::string MistakeOf(const std::string& text)
{
    try {
        tv::ParseTv(text, tv::SampleTv());
    } catch (const tv::TvFileError& error) {
        return error.what();
    }
    return "none";
}

TEST(TvFile, MistakesNameTheirPlace)
{
    const std::string deep(100, '[');
    const std::vector<std::pair<std::string, std::string>> cases{
        // clang-format off
        {"{\n \"channels\": [}", "line 2, column 15: Syntax error: value, object or array expected."},
        {R"({"date":1,"date":2})", "line 1, column 11: Duplicate key: 'date'"},
        {"{}\n// none", "line 2, column 1: Extra non-whitespace after JSON value."},
        {deep, "the file: is nested too deeply"},
        {"{\"channels\":[{\"id\":\"1\",\"name\":\"\xC3\"}]}", "the file: is not UTF-8"},
        {"[]", "the file: must be an object"},
        {R"({"chanels":[]})", "chanels: is not known; did you mean \"channels\"?"},
        {R"({"date":-1})", "date: must be a whole number from 0 to 253402300799999"},

        {R"({"channels":[5]})", "channels[0]: must be an object"},
        {R"({"channels":[{}]})", "channels[0].id: is missing"},
        {R"({"channels":[{"id":"18446744073709551616"}]})", "channels[0].id: must be a string of decimal digits, of 64 bits"},
        {R"({"channels":[{"id":"1"},{"id":"2"},{"id":"01"}]})", "channels[2].id: is that of channels[0] as well"},
        {R"({"channels":[{"id":"1","012":"1"}]})", "channels[0].012: is not the number of a field"},
        {R"({"channels":[{"id":"1","200":"x"}]})", "channels[0].200: must be a whole number"},
        {R"({"channels":[{"id":"1"},{"id":"2","name":5}]})", "channels[1].name: must be a string, or {\"hex\": its units in hexadecimal}"},
        {R"({"channels":[{"id":"1","extra":{"hex":"xy"}}]})", "channels[0].extra: must be an object or a string, or {\"hex\": its units in hexadecimal}"},
        {R"({"channels":[{"id":"1","major":65536}]})", "channels[0].major: must be a whole number from 0 to 65535"},
        {R"({"channels":[{"id":"1","logo":"\udc00"}]})", "channels[0].logo: must be whole characters"},
        {R"({"channels":[{"id":"1","genre":"Chess"}]})", "channels[0].genre: no programme has it"},
        {R"({"channels":[{"id":"1","guide":[{"minutes":5}]}]})", "channels[0].guide[0].title: is missing"},
        {R"({"channels":[{"id":"1","guide":[{"title":"A","minutes":0}]}]})", "channels[0].guide[0].minutes: must be a whole number from 1 to 1440"},
        {R"({"channels":[{"id":"1","guide":[{"title":"A","minutes":5,"at":0}]}]})", "channels[0].guide[0].at: is not known"},
        {R"({"current":"77"})", "current: no channel has this id"},
        {R"({"programs":[]})", "programs: must hold at least one programme"},
        {R"({"programs":[{"title":"A"}]})", "channels[0].genre: no programme has it"},

        {R"({"source":{"value":1.5}})", "source.value: must be a whole number of 32 bits"},
        {R"({"settings":{"db/menu":1.5}})", "settings[\"db/menu\"]: must be a string, a whole number of 32 bits, or true or false"},
        {R"({"settings":{"":1}})", "settings[\"\"]: a key must not be empty"},
        {R"({"streams":[{"pattern":"*"},{"pattern":"x","duration":-1}]})", "streams[1].duration: must be a whole number from 0 to 2147483647"},
        {R"({"streams":[{"pattern":"*","fault":"lost"}]})", "streams[0].fault: must be \"missing\" or \"broken\""},
        {R"({"streams":[{"pattern":"*","bufferSteps":101}]})", "streams[0].bufferSteps: must be a whole number from 1 to 100"},
        {R"({"streams":[{"pattern":"*","stalls":[{"atMs":5}]}]})", "streams[0].stalls[0].forMs: is missing"},
        {R"({"streams":[{"pattern":"*","stalls":[{"atMs":5,"forMs":1},{"atMs":5,"forMs":2}]}]})", "streams[0].stalls: must be at different positions"},
        {R"({"streams":[{"pattern":"*","windowMs":5}]})", "streams[0].windowMs: is for live streams only"},
        {R"({"drm":{"a":1}})", "drm.a: must be a string"},
        // clang-format on
    };
    for (const auto& [text, mistake] : cases)
        EXPECT_EQ(MistakeOf(text), mistake) << text;
    for (const std::string section :
         {"tvMode", "source", "contentService", "firstUse", "application", "extension"})
        EXPECT_EQ(MistakeOf("{\"" + section + "\":{\"x\":1}}"), section + ".x: is not known");
    for (const std::string member :
         {R"(channels":[{"id":"1")", R"(programs":[{"title":"A")", R"(streams":[{"pattern":"A")"})
        EXPECT_EQ(MistakeOf("{\"" + member + R"(,"x":1}]})"),
                  member.substr(0, member.find('"')) + "[0].x: is not known");
}

TEST(TvFile, WhatIsLeftOutIsTheBases)
{
    const tv::TvConfig& sample = tv::SampleTv();
    const tv::TvConfig same = tv::ParseTv("{}", sample);
    EXPECT_EQ(same.line_up.channels.size(), sample.line_up.channels.size());
    EXPECT_EQ(same.line_up.current, 1001U);
    EXPECT_EQ(same.settings.values, sample.settings.values);
    EXPECT_EQ(same.date.count(), 1767294000000);
    const tv::TvConfig other = tv::ParseTv(
        R"({"channels":[{"id":"7"}],"date":5,"firstUse":{"instantOn":true},"source":{"flag":3},"settings":{},
            "extension":{"embedderName":"E","extensionInfo":[1,{"a":null}],"privileges":["p","q"],"windowId":-4}})",
        sample);
    EXPECT_EQ(other.line_up.channels.size(), 1U);
    EXPECT_EQ(other.line_up.current, std::nullopt);
    EXPECT_EQ(other.date.count(), 5);
    EXPECT_TRUE(other.content.first_use.first_boot && other.content.first_use.instant_on);
    EXPECT_EQ(other.line_up.source.value, 0);
    EXPECT_EQ(other.line_up.source.flag, 3);
    EXPECT_TRUE(other.settings.values.empty());
    EXPECT_EQ(other.extension.embedder, "E");
    EXPECT_EQ(Text(other.extension.extension_info), R"([1,{"a":null}])");
    EXPECT_EQ(other.extension.privileges, (std::map<std::string, bool>{{"p", true}, {"q", true}}));
    EXPECT_EQ(other.extension.window_id, -4);
}

TEST(TvFile, ChannelFieldsComeByNameOrNumber)
{
    const tv::TvConfig tv = tv::ParseTv(
        R"({"channels":[
            {"12":"18446744073709551615","16":{"hex":"d83e004100"},"110":"{}","200":-7,"13":5},
            {"id":"2","name":"\ud83e\udd8a","extra":{"é":[1]},"major":65535,"tuneMode":-1},
            {"id":"3","extra":{"hex":"0041"}}]})",
        tv::SampleTv());
    ASSERT_EQ(tv.line_up.channels.size(), 3U);
    EXPECT_EQ(tv.line_up.channels[0].id, ~0ULL);
    EXPECT_EQ(tv.line_up.channels[0].name, "");
    EXPECT_EQ(Text(tv::ToJson(tv.line_up.channels[0].service)),
              R"({"110":"{}","12":"18446744073709551615","13":5,"16":{"hex":"d83e004100"},"200":-7})");
    EXPECT_EQ(tv.line_up.channels[1].name, "\xF0\x9F\xA6\x8A");
    EXPECT_EQ(Text(tv::ToJson(tv.line_up.channels[1].service)),
              "{\"110\":\"{\\\"\xC3\xA9\\\":[1]}\",\"12\":\"2\",\"13\":65535,\"16\":\"\xF0\x9F\xA6\x8A\","
              "\"6\":-1}");
    EXPECT_EQ(Text(tv::ToJson(tv.line_up.channels[2].service)), R"({"110":"A","12":"3"})");
}

}  // namespace
