// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <regex>

#include "core/calls.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"

namespace {

using test::J;
using test::Lines;
using test::Text;

/// The description of the page's interface, from which typings, documents and forms are made.
const Json::Value& Description()
{
    static const Json::Value description = J(test::ReadFile(ZELUMO_PAGE_API));
    return description;
}

bool HasType(const Json::Value& value, const std::string& type)
{
    return (type == "string" && value.isString()) || (type == "integer" && value.isInt()) ||
           (type == "boolean" && value.isBool()) || (type == "null" && value.isNull()) ||
           (type == "object" && value.isObject());
}

/// What the page gets, of an answer that is described with its occasion.
Json::Value AnswerOf(Json::Value described)
{
    described.removeMember("when");
    described.removeMember("example");
    return described;
}

/// The error reply that a command's description gives for that occasion, or null.
Json::Value ErrorReply(const Json::Value& command, const std::string& when)
{
    for (const Json::Value& error : command["errors"]) {
        if (error["when"] == when)
            return AnswerOf(error);
    }
    return Json::Value();
}

/// A command's success is of the shape that its description gives.
void ExpectShape(const Json::Value& reply, const Json::Value& data)
{
    SCOPED_TRACE(Text(reply));
    EXPECT_EQ(reply["code"], 0);
    EXPECT_EQ(reply.getMemberNames(), (std::vector<std::string>{"code", "data"}));
    EXPECT_TRUE(HasType(reply["data"], data["type"].asString()));
    const Json::Value& values = data["values"];
    EXPECT_TRUE(values.empty() || std::find(values.begin(), values.end(), reply["data"]) != values.end());
    if (data["type"] == "object") {
        EXPECT_EQ(reply["data"].size(), data["fields"].size());
        for (const Json::Value& field : data["fields"])
            EXPECT_TRUE(HasType(reply["data"][field["name"].asString()], field["type"].asString()))
                << Text(field);
    }
    if (!data["text"].asString().empty()) {
        EXPECT_NO_THROW(J(reply["data"].asString()));
    }
}

/// What a call gives when it works is what a scripted answer without a result gives.
void ExpectUsual(const std::string& call)
{
    const Json::Value usual = tv::TheCalls().Find(call.substr(0, call.find(' ')))->UsualResult();
    const std::string gives = call.substr(call.find(" -> ") + 4);
    if (!usual.isString()) {
        EXPECT_EQ(gives.substr(0, gives.find(' ')), Text(usual)) << call;
    }
}

/// Whether the reply is the command's failure; where it has none, data that say that nothing was done.
bool Failed(const Json::Value& command, const Json::Value& reply)
{
    const Json::Value failure = ErrorReply(command, "operation");
    return reply == (failure.isNull() ? J(R"({"code":0,"data":false})") : failure);
}

TEST(PageApi, EveryCommandAnswersAndCallsAsDescribed)
{
    std::map<std::string, Json::Value> failures;
    for (const Json::Value& call : Description()["calls"])
        failures[call["name"].asString()] = call["failure"];
    EXPECT_EQ(failures.size(), tv::TheCalls().Names().size());
    for (const std::string& name : tv::TheCalls().Names())
        EXPECT_EQ(failures.count(name), 1U) << name;

    test::Page page;
    test::Calls calls;
    EXPECT_EQ(Description()["commands"].size(), 49U);
    for (const Json::Value& command : Description()["commands"]) {
        // A page that has a player, and has asked for nothing else.
        const auto try_it = [&](const Json::Value& failing) {
            page.Do(R"({"tv":"restore"})");
            page.Close();
            page.Open();
            if (command["kind"] == "player" && command["name"] != "Init") {
                page.Await(R"({"command":"Init","url":"http://sample.tv/film.mpd","timeOffset":0})");
                page.Await(R"({"command":"Play"})");
            }
            for (const Json::Value& call : failing)
                page.Answer(Text(call) + R"(,"result":)" + Text(failures.at(call.asString())[0]));
            calls.Take();
            const Json::Value reply = page.AwaitValue(command["example"]);
            page.TakeMessages();
            return reply;
        };
        SCOPED_TRACE(command["name"].asString());
        EXPECT_EQ(command["example"]["command"], command["name"]);
        const Json::Value reply = try_it(Json::arrayValue);
        ExpectShape(reply, command["data"]);
        std::vector<std::string> expected;
        for (const Json::Value& call : command["calls"])
            expected.push_back(call.asString());
        std::vector<std::string> made;
        for (const std::string& call : calls.Take()) {
            made.push_back(call.substr(0, call.find(' ')));
            // There is nothing yet to unregister.
            if (reply["data"] != false && command["name"] != "UnRegisterEvent")
                ExpectUsual(call);
        }
        EXPECT_EQ(made, expected);

        // What decides is the last call whose failure, alone, is the command's.
        EXPECT_TRUE(command["decidedBy"].empty() || Failed(command, try_it(command["decidedBy"])));
        if (command["name"] == "PasueLive")  // always answers false
            continue;
        for (auto call = expected.rbegin(); call != expected.rend(); ++call) {
            const bool decides = std::find(command["decidedBy"].begin(), command["decidedBy"].end(),
                                           Json::Value(*call)) != command["decidedBy"].end();
            Json::Value alone(Json::arrayValue);
            alone.append(*call);
            EXPECT_EQ(Failed(command, try_it(alone)), decides) << *call;
            if (decides)
                break;
        }
    }
    page.Do(R"({"tv":"restore"})");
    page.Close();
    ExpectUsual(calls.TakeHolding({"ISignalSubscriber::Unsubscribe"}).at(0));
}

TEST(PageApi, CallsTakeAnswersAsDescribed)
{
    const std::regex out_argument(R"([{\[].*[}\]]|[^, ][^,]*)");
    for (const Json::Value& described : Description()["calls"]) {
        SCOPED_TRACE(Text(described));
        const tv::AnyCall& call = *tv::TheCalls().Find(described["name"].asString());
        const std::string out = described["out"].asString();
        const auto count = std::distance(std::sregex_iterator(out.begin(), out.end(), out_argument), {});
        Json::Value written(Json::arrayValue);
        written.resize(static_cast<Json::ArrayIndex>(count));
        EXPECT_EQ(call.Mistake({{}, written}), std::nullopt);
        written.append(Json::Value());
        EXPECT_NE(call.Mistake({{}, written}), std::nullopt);
        EXPECT_EQ(call.Mistake({call.UsualResult(), {}}), std::nullopt);
        for (const Json::Value& failure : described["failure"]) {
            EXPECT_EQ(call.Mistake({failure, {}}), std::nullopt);
            EXPECT_NE(failure, call.UsualResult());
        }
    }
}

/// A value, and the number that stands for it where a command takes whatever comes.
struct Value {
    const char* json;  ///< null: none at all
    int number;
};

constexpr Value kValues[] = {
    {nullptr, 0}, {"null", 0}, {"true", 0},  {"7", 7},   {"-2.9", -2},     {"1e12", 2147483647},   {"-0", 0},
    {"-0.0", 0},  {"\"\"", 0}, {"\"7\"", 0}, {"[7]", 0}, {"{\"a\":7}", 0}, {"-1e12", -2147483648},
};

/// The plug-in with a Pepper that stops where a var is asked for what it hasn't.
class Parameters : public testing::Test {
  protected:
    Parameters()
    {
        // Each command gives the same again, however often.
        page_.Answer(R"("BmsCreatePlayer","result":-1)");
        page_.Answer(R"("BmsGetPlayTime","out":[1000])");
    }
    ~Parameters() override { page_.TakeMessages(); }

    /// The platform calls and the reply.
    Lines Outcome(const Json::Value& message)
    {
        SCOPED_TRACE(Text(message));
        Json::Value reply;
        EXPECT_NO_THROW(reply = page_.AwaitValue(message));
        EXPECT_TRUE(reply["code"].isInt()) << Text(reply);
        Lines lines = calls_.Take();
        lines.push_back(Text(reply));
        logged_ = log_.Take();
        EXPECT_NO_THROW(page_.Post(message));
        EXPECT_TRUE(calls_.Take().empty() && log_.Take().empty()) << "posted, it reaches no service";
        return lines;
    }
    /// Of a command's example with that in it; null: without it.
    Lines With(const Json::Value& command, const std::string& key, const char* json)
    {
        Json::Value message = command["example"];
        message.removeMember(key);
        if (json != nullptr)
            message[key] = J(json);
        return Outcome(message);
    }
    void Try(const Json::Value& command, const Json::Value& parameter, const Value& value)
    {
        const std::string key = parameter["name"].asString();
        const std::string json = value.json != nullptr ? value.json : "none";
        SCOPED_TRACE(command["name"].asString() + ' ' + key + ' ' + json);
        const Lines got = With(command, key, value.json);
        const bool refused = got == Lines{Text(ErrorReply(command, "parameters"))};
        if (refused && command["kind"] == "dispatcher") {
            EXPECT_EQ(logged_.back().find("Parameter command is invalid") != std::string::npos,
                      command["name"] != "SetServiceByServiceid");
        }
        if (json == "none") {
            EXPECT_EQ(refused, parameter["required"].asBool());
        } else if (parameter["type"] == "integer" && !parameter["typeChecked"].asBool()) {
            EXPECT_EQ(got, With(command, key, std::to_string(value.number).c_str()));
        }
        if (json == "[7]") {
            EXPECT_EQ(refused, parameter["typeChecked"].asBool());
        }
        if (json == "\"\"") {
            EXPECT_TRUE(refused || !parameter["nonEmpty"].asBool());
        }
    }

  private:
    test::Page page_{test::Page::Deliveries::Stepped, ZELUMO_ASKING_PLUGIN};
    test::Calls calls_;
    test::Log log_;
    Lines logged_;
};

TEST_F(Parameters, AreRequiredAndCheckedAsDescribed)
{
    for (const Value& value : kValues) {
        Outcome(value.json != nullptr ? J(value.json) : Json::Value());
        for (const Json::Value& command : Description()["commands"]) {
            With(command, "command", value.json);
            for (const Json::Value& parameter : command["parameters"])
                Try(command, parameter, value);
        }
    }
}

TEST(PageApi, MalformedAndPostedMessagesAreAnsweredAsDescribed)
{
    test::Page page;
    for (const Json::Value& error : Description()["requestErrors"])
        EXPECT_EQ(page.AwaitValue(error["example"]), AnswerOf(error));
    for (const Json::Value& refusal : Description()["postedAnswers"]) {
        page.Post(refusal["example"]);
        EXPECT_EQ(page.TakeMessages(), std::vector<Json::Value>{AnswerOf(refusal)});
    }
}

TEST(PageApi, EventsAreToldAsDescribed)
{
    test::Page page;
    const auto told = [&page] {
        const std::vector<Json::Value> messages = page.TakeMessages();
        EXPECT_EQ(messages.size(), 1U);
        return messages.empty() ? Json::Value() : messages[0];
    };
    for (const Json::Value& event : Description()["events"]) {
        SCOPED_TRACE(Text(event));
        page.Await(R"({"command":"RegisterEvent","event":)" + Text(event["event"]) + "}");
        page.Do(R"({"tv":"event","event":)" + Text(event["event"]) + "}");
        const Json::Value message = told();
        EXPECT_EQ(message["command"], event["command"]);
        EXPECT_EQ(message["data"].size(), event["fields"].size());
        for (const Json::Value& field : event["fields"])
            EXPECT_TRUE(message["data"].isMember(field["name"].asString())) << Text(field);
    }
    for (const Json::Value& type : Description()["playerEvents"]["types"]) {
        SCOPED_TRACE(Text(type));
        page.Do(R"({"tv":"report","player":101,"value1":5,"value2":6,"type":)" + Text(type["type"]) + "}");
        const Json::Value message = told();
        EXPECT_EQ(message["event"], Description()["playerEvents"]["event"]);
        EXPECT_EQ(message["type"], type["type"]);
        EXPECT_EQ(message["param1"].asString().empty(), type["param1"].asString().empty());
        EXPECT_EQ(message["param2"].asString().empty(), type["param2"].asString().empty());
    }
}

}  // namespace
