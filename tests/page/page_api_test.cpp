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

/// The error reply that a command's description gives for that occasion, or null.
Json::Value ErrorReply(const Json::Value& command, const std::string& when)
{
    for (const Json::Value& error : command["errors"]) {
        if (error["when"] != when)
            continue;
        Json::Value reply = error;
        reply.removeMember("when");
        return reply;
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

/// The log's last line when a command for the settings failed.
std::string FailureLog(const Json::Value& command)
{
    const std::string name = command["name"].asString();
    const std::string call = command["decidedBy"][0].asString();
    const std::string text = call == "vconf_notify_key_changed"
                                 ? "failed to " + call + "() with key:" + command["example"]["key"].asString()
                                 : call + " is failed";
    return "0/6 zelumo-pepper " + name + ": [CZeLumoPluginHandler::" + name + "] " + text;
}

TEST(PageApi, EveryCommandAnswersAndCallsAsDescribed)
{
    std::map<std::string, Json::Value> failures;
    for (const Json::Value& call : Description()["calls"])
        failures[call["name"].asString()] = call["failure"];
    std::vector<std::string> known = tv::TheCalls().Names();
    std::sort(known.begin(), known.end());
    std::vector<std::string> described;
    std::transform(failures.begin(), failures.end(), std::back_inserter(described),
                   [](const auto& call) { return call.first; });
    EXPECT_EQ(described, known);

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
        if (!command["decidedBy"].empty()) {
            test::Log log;
            EXPECT_TRUE(Failed(command, try_it(command["decidedBy"])));
            if (command["name"].asString().find("Vconf") != std::string::npos) {
                EXPECT_EQ(log.Take().back(), FailureLog(command));
            }
        }
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

TEST(PageApi, ParametersAreRequiredAndCheckedAsDescribed)
{
    test::Page page;
    for (const Json::Value& command : Description()["commands"]) {
        const auto refuses = [&](const Json::Value& request) {
            test::Calls calls;
            test::Log log;
            if (page.AwaitValue(request) != ErrorReply(command, "parameters"))
                return false;
            EXPECT_EQ(calls.Take(), test::Lines()) << "no service is reached";
            if (command["kind"] == "dispatcher") {
                const bool logged =
                    log.Take().back().find("Parameter command is invalid") != std::string::npos;
                EXPECT_EQ(logged, command["name"] != "SetServiceByServiceid");
            }
            return true;
        };
        for (const Json::Value& parameter : command["parameters"]) {
            const std::string name = parameter["name"].asString();
            SCOPED_TRACE(command["name"].asString() + " " + name);
            Json::Value request = command["example"];
            request.removeMember(name);
            EXPECT_EQ(refuses(request), parameter["required"].asBool());
            request[name] = Json::Value(Json::arrayValue);
            EXPECT_EQ(refuses(request), parameter["typeChecked"].asBool());
            request[name] = "";
            EXPECT_TRUE(refuses(request) || !parameter["nonEmpty"].asBool());
        }
        page.TakeMessages();
    }
}

TEST(PageApi, MalformedAndPostedMessagesAreAnsweredAsDescribed)
{
    test::Page page;
    for (const char* kind : {"requestErrors", "postedAnswers"}) {
        for (Json::Value answer : Description()[kind]) {
            const Json::Value example = answer["example"];
            answer.removeMember("example");
            answer.removeMember("when");
            SCOPED_TRACE(Text(example));
            if (kind == std::string("requestErrors")) {
                EXPECT_EQ(page.AwaitValue(example), answer);
                continue;
            }
            if (example.isObject() && example["command"].isString())
                answer["command"] = example["command"];
            test::Calls calls;
            test::Log log;
            page.Post(example);
            EXPECT_TRUE(calls.Take().empty() && log.Take().empty()) << "no service is reached";
            EXPECT_EQ(page.TakeMessages(), std::vector<Json::Value>{answer});
        }
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
    for (const Json::Value& signal : Description()["signals"]) {
        page.Do(R"({"tv":"signal","signal":)" + Text(signal["signal"]) + "}");
        EXPECT_EQ(told()["command"], signal["command"]);
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

TEST(PageApi, NumbersAreWholeAndNamesHaveNoEndButTheirOwn)
{
    test::Page page;
    for (const auto& [event, code] : std::map<std::string, int>{{"1", 0},
                                                                {"1.0", 0},
                                                                {"1e3", 0},
                                                                {"-2147483648", 0},
                                                                {"2147483648", 26},
                                                                {"1.5", 26},
                                                                {"-0", 26},
                                                                {"-0.0", 26}})
        EXPECT_EQ(page.Await(R"({"command":"UnRegisterEvent","event":)" + event + "}")["code"], code)
            << event;
    test::Log log;
    EXPECT_EQ(page.Await(R"({"command":"GetVersion\u0000"})")["errorMessage"], "Command no recognized");
    EXPECT_EQ(log.Take().back(),
              "0/6 zelumo-pepper HandleBlockingMessageImpl: Can not handler the command!! ");
    EXPECT_EQ(page.Await(R"({"command":"GetVersion","input":[[]]})")["data"], "1.00");
}

}  // namespace
