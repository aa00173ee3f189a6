// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/clock.h"
#include "core/delivery.h"
#include "core/json_text.h"
#include "core/mutex.h"
#include "core/nearest.h"
#include "core/reply_once.h"

namespace {

using Reply = tv::ReplyOnce<std::string>;

TEST(Core, ARequestIsAnsweredOnceAlsoWhenItIsDropped)
{
    std::vector<std::string> answers;
    const auto request = [&] {
        return Reply([&](const std::string& answer) { answers.push_back(answer); }, "dropped");
    };
    const auto taken = [&] { return std::exchange(answers, {}); };
    {
        Reply reply = request();
        EXPECT_TRUE(reply);
        reply("first");
        EXPECT_FALSE(reply);
        reply("second");
    }
    EXPECT_EQ(taken(), std::vector<std::string>{"first"});
    {
        Reply reply = request();
        const Reply moved = std::exchange(reply, Reply());
        reply("from where it was");
        EXPECT_TRUE(taken().empty());
    }
    EXPECT_EQ(taken(), std::vector<std::string>{"dropped"});
    Reply reply = request();
    reply = request();
    EXPECT_EQ(taken(), std::vector<std::string>{"dropped"});
    reply = Reply();
    EXPECT_EQ(taken(), std::vector<std::string>{"dropped"});
}

std::string MistakeIn(std::string_view text)
{
    try {
        tv::ParseJson(text, 64);
    } catch (const tv::JsonError& error) {
        return error.what();
    }
    return "";
}

TEST(Core, JsonIsStrict)
{
    using namespace std::string_view_literals;
    for (const std::string_view text : std::vector<std::string_view>{
             "0", "-0", "-0.5e+10", "1E5", "[10,0.25,1e-2]", " \t\r\n{\"a\\u0000\\\"01\" : [ ] }", "\"\\\\\"",
             "\"\u007f\xC3\xA9 \xF0\x9F\xA6\x8A +1 01 NaN\"", "123456789012345678901234567890"})
        EXPECT_EQ(MistakeIn(text), "") << text;
    for (const auto& [text, mistake] : std::vector<std::pair<std::string_view, std::string>>{
             {"01", "Line 1, Column 1: '01' is not a number."},
             {"[1,\r\n -01]", "Line 2, Column 2: '-01' is not a number."},
             {"{\"a\":1.}", "Line 1, Column 6: '1.' is not a number."},
             {"+1", "Line 1, Column 1: '+1' is not a number."},
             {"-", "Line 1, Column 1: '-' is not a number."},
             {"1e", ""},
             {"1e400", "Line 1, Column 1: '1e400' is not a number."},
             {"NaN", ""},
             {"[1,]", ""},
             {"1 // one", ""},
             {"1 2", ""},
             {"\"\\x\"", ""},
             {"{}\0x"sv, "Line 1, Column 3: a NUL is none of JSON's characters"},
             {"\"a\nb\"", "Line 1, Column 3: a control character in a string must be escaped"},
             {"\"\0\""sv, "Line 1, Column 2: a control character in a string must be escaped"},
             {"\xEF\xBB\xBF{}", "Line 1, Column 1: a byte order mark is none of JSON's characters"},
         })
        EXPECT_EQ(MistakeIn(text).rfind("not JSON: " + mistake, 0), 0U) << text << ": " << MistakeIn(text);
    for (const std::string_view text : std::vector<std::string_view>{
             "\"\xC0\x80\"", "\"\xE0\x9F\xBF\"", "\"\xED\xA0\x80\"", "\"\xF0\x8F\xBF\xBF\"",
             "\"\xF4\x90\x80\x80\"", "\"\\\xFF\"", "\"\xE2\x82\"", "01\xFF", "\"\xC3"})
        EXPECT_EQ(MistakeIn(text), "not UTF-8") << text;
    EXPECT_EQ(tv::WriteJson(tv::ParseJson(R"([-0,0,-0.0,"-0",{"\ud800":-0,"b":10,"b":-0}])", 64)),
              "[-0.0,0,-0.0,\"-0\",{\"b\":-0.0,\"\uFFFD\":-0.0}]");
    const std::string nines(100'000, '9');
    EXPECT_LT(MistakeIn("0" + nines).size(), 300U);
    EXPECT_LT(MistakeIn(nines).size(), 300U);
}

#ifndef NDEBUG
void Take(tv::LockLevel first, tv::LockLevel second)
{
    tv::Mutex one(first);
    tv::Mutex other(second);
    const tv::MutexLock holds(one);
    const tv::MutexLock takes(other);
}

TEST(CoreDeathTest, LocksAreTakenInTheirOrder)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    using tv::LockLevel;
    Take(LockLevel::Service, LockLevel::Clock);
    Take(LockLevel::Journal, LockLevel::Leaf);
    EXPECT_DEATH(Take(LockLevel::Clock, LockLevel::Service),
                 "a lock of the level Service is taken under one of the level Clock");
    EXPECT_DEATH(
        {
            tv::Mutex mutex(LockLevel::Service);
            const tv::MutexLock holds(mutex);
            tv::DeliveryThread("waited for").Drain();
        },
        "another thread is waited for under a lock of the level Service");
    EXPECT_DEATH(Take(LockLevel::Leaf, LockLevel::Leaf), "taken under one of the level Leaf");
}
#endif

TEST(Core, AWrongNameFindsTheOneThatWasMeant)
{
    const std::vector<std::string> known{"at",      "key",     "event",   "answer",
                                         "advance", "restore", "BmsPlay", "FIGuide::GetProgramList"};
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"EVENT", "event"},
        {"evnet", "event"},
        {"even", "event"},
        {"events", "event"},
        {"xnswrr", "answer"},
        {"anwsre", "answer"},
        {"kye", "key"},
        {"GetProgramlist", "FIGuide::GetProgramList"},
        {"FIGuid:GetProgrmList", "FIGuide::GetProgramList"},
    };
    for (const auto& [name, meant] : cases)
        EXPECT_EQ(tv::Nearest(name, known), meant) << name;
    for (const std::string& none :
         {std::string("awnsrx"), std::string("ta"), std::string("dance"), std::string(),
          std::string("FGuid:GetProgrmLis"), std::string(1'000'000, 'e')})
        EXPECT_EQ(tv::Nearest(none, known), std::nullopt) << none.substr(0, 40);
    EXPECT_EQ(tv::Nearest("pley", {"plea", "play", "pley1"}), "plea");
    EXPECT_EQ(tv::DidYouMean("evnet", known), "; did you mean \"event\"?");
    EXPECT_EQ(tv::DidYouMean("tune", known), "");
}

TEST(Core, WhatIsQuotedIsCutAtWholeCharacters)
{
    std::string text;
    for (int i = 0; i < 200; ++i)
        text += i % 2 == 0 ? "ä" : "😀";
    EXPECT_EQ(tv::Quoted(text), '"' + text + '"');
    EXPECT_EQ(tv::Shortened(text + "x"), text + "…");
    EXPECT_EQ(tv::Shortened(text + "ä"), text + "…");
    EXPECT_EQ(tv::Shortened(std::string(1000, '\x80')), std::string(800, '\x80') + "…");
}

TEST(Core, DatesAreReadAsTheyAreDocumented)
{
    const std::vector<std::pair<const char*, long long>> cases = {
        {"1970-01-01", 0},
        {"2026-01-01T20:00:00Z", 1767297600000},
        {"2026-01-01T20:00Z", 1767297600000},
        {"2026-01-01T20:00:00+01:00", 1767294000000},
        {"2026-01-01T20:00:00.2509Z", 1767297600250},
        {"2026-01-01T20:00:00.5-00:30", 1767299400500},
        {"2000-02-29", 951782400000},
        {"2024-03-01", 1709251200000},
        {"1969-12-31T23:30:00-00:30", 0},
        {"9999-12-31T23:59:59.999Z", tv::kLastDate},
    };
    for (const auto& [text, date] : cases)
        EXPECT_EQ(tv::ParseDate(text).value_or(std::chrono::milliseconds(-1)).count(), date) << text;
    for (const char* none :
         {"9999-12-31T23:59:59.999-00:01", "1970-01-01T00:00:00+00:01", "2100-02-29", "2026-00-01",
          "2026-13-01", "2026-01-32", "2026-01-00", "2026-1-1", "2026-01-01T20:00:00", "2026-01-01 20:00:00Z",
          "2026-01-01T24:00:00Z", "2026-01-01T20:60:00Z", "2026-01-01T20:00:60Z", "2026-01-01T20:00:00.Z",
          "2026-01-01T20:00:00+0100", "2026-01-01T20:00:00Z ", "12026-01-01", ""})
        EXPECT_EQ(tv::ParseDate(none), std::nullopt) << none;
}

}  // namespace
