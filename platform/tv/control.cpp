// SPDX-License-Identifier: Apache-2.0
#include "tv/control.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/calls.h"
#include "core/clock.h"
#include "core/delivery.h"
#include "core/form.h"
#include "core/json_node.h"
#include "core/nearest.h"
#include "tv/schedule.h"
#include "tv/tv.h"

namespace tv {
namespace {

/// Verbs that concern the page's instance are the host's.
constexpr const char* kHostVerbs[] = {"close", "open"};
constexpr double kMaxSpeed = 100'000;

VerbAction SetClock(JsonObject& fields)
{
    const JsonNode date = fields.Get("date");
    std::int64_t time = 0;
    if (!FromJson(date.json(), time) || time < 0 || time > kLastDate)
        date.Fail("must be a whole number of milliseconds since 1970, up to the year 9999");
    fields.End();
    return [=]() -> VerbResults {
        TheClock().SetDate(Clock::Time(time));
        return {};
    };
}

VerbAction Advance(JsonObject& fields)
{
    const auto by = Clock::Time(fields.Get("ms").AtLeast(0));
    fields.End();
    return [=] {
        PassTime(by);
        return TimePassed();
    };
}

VerbAction SetSpeed(JsonObject& fields)
{
    const JsonNode factor = fields.Get("factor");
    const double speed = factor.json().isNumeric() ? factor.json().asDouble() : -1;
    if (!(speed >= 0 && speed <= kMaxSpeed))
        factor.Fail("must be a number from 0 to 100000");
    fields.End();
    return [=]() -> VerbResults {
        TheClock().SetSpeed(speed);
        return {};
    };
}

VerbAction ScheduleVerb(JsonObject& fields)
{
    const auto after = Clock::Time(fields.Get("ms").AtLeast(0));
    const JsonNode node = fields.Get("do");
    fields.End();
    const Json::Value& verb = node.json();
    if (!verb.isObject())
        node.Fail("must be a verb");
    for (const char* const refused : {"advance", "at", "close", "open"}) {
        if (verb["tv"] == refused)
            node.Fail("can't be \"" + std::string(refused) + '"');
    }
    VerbAction action;
    try {
        action = ReadVerb(verb);
    } catch (const VerbError& error) {
        throw JsonMistake(std::string("\"do\": ") + error.what());
    }
    return [=]() -> VerbResults {
        TheSchedule().Add(after, verb, action);
        return {};
    };
}

const AnyCall& ReadCall(JsonObject& fields)
{
    const std::string name = fields.Get("call").As<std::string>();
    const AnyCall* const call = TheCalls().Find(name);
    if (call == nullptr)
        fields.node().Fail("there is no platform call " + Quoted(name) +
                           DidYouMean(name, TheCalls().Names()));
    return *call;
}

VerbAction SetAnswer(JsonObject& fields)
{
    const AnyCall& call = ReadCall(fields);
    Answer answer;
    if (const auto result = fields.Find("result"))
        answer.result = result->json();
    if (const auto out = fields.Find("out")) {
        answer.out = out->json();
        if (!answer.out.isArray())
            out->Fail("must be an array");
    }
    if (const auto args = fields.Find("args")) {
        answer.args = args->json();
        if (!answer.args.isArray())
            args->Fail("must be an array");
    }
    if (const auto times = fields.Find("times"))
        answer.times = times->AtLeast(1);
    if (const auto delay = fields.Find("delay"))
        answer.delay = std::chrono::milliseconds(delay->AtLeast(0));
    fields.Read("works", answer.works);
    fields.End();
    if (const std::optional<std::string> mistake = call.Mistake(answer))
        fields.node().Fail(*mistake);
    return [&call, answer = std::move(answer)]() -> VerbResults {
        TheCalls().SetAnswer(call, answer);
        return {};
    };
}

VerbAction Restore(JsonObject& fields)
{
    const AnyCall* const call = fields.Find("call") ? &ReadCall(fields) : nullptr;
    fields.End();
    return [=]() -> VerbResults {
        if (call != nullptr)
            TheCalls().Restore(*call);
        else
            TheCalls().RestoreAll();
        return {};
    };
}

/// Those of the TV itself and those of its services.
const std::map<std::string, Verb>& Verbs()
{
    static const std::map<std::string, Verb> verbs = [] {
        std::vector<Verb> list{
            {"advance", Advance}, {"answer", SetAnswer}, {"at", ScheduleVerb},
            {"clock", SetClock},  {"restore", Restore},  {"speed", SetSpeed},
        };
        for (const Service* const service : Services()) {
            for (const Verb& verb : service->verbs())
                list.push_back(verb);
        }
        std::map<std::string, Verb> by_name;
        for (const Verb& verb : list)
            by_name.emplace(verb.name, verb);
        return by_name;
    }();
    return verbs;
}

std::vector<std::string> VerbNames()
{
    std::vector<std::string> names(std::begin(kHostVerbs), std::end(kHostVerbs));
    for (const auto& [name, verb] : Verbs())
        names.push_back(name);
    return names;
}

/// What `act` gives; a mistake that it finds is a VerbError.
template <typename Act>
auto ForVerb(const std::string& name, Act act)
{
    try {
        return act();
    } catch (const JsonMistake& mistake) {
        throw VerbError("verb \"" + name + "\": " + mistake.what());
    }
}

/// The fields of `verb`, which its name is not one of.
JsonObject FieldsOf(const Json::Value& verb)
{
    JsonObject fields(JsonNode(verb, JsonPlaces::Name));
    fields.Find("tv");
    return fields;
}

}  // namespace

VerbAction ReadVerb(const Json::Value& verb)
{
    if (!verb["tv"].isString())
        throw VerbError("\"tv\" must name a verb");
    const std::string name = verb["tv"].asString();
    const auto found = Verbs().find(name);
    if (found == Verbs().end())
        throw VerbError("there is no verb " + Quoted(name) + DidYouMean(name, VerbNames()));
    VerbAction action = ForVerb(name, [&] {
        JsonObject fields = FieldsOf(verb);
        return found->second.read(fields);
    });
    return [name, action = std::move(action)] { return ForVerb(name, action); };
}

VerbResults CarryOut(const Json::Value& verb)
{
    return ReadVerb(verb)();
}

void RefuseFields(const Json::Value& verb)
{
    ForVerb(verb["tv"].asString(), [&] { FieldsOf(verb).End(); });
}

Clock::Time PassTime(Clock::Time by, const std::function<bool()>& goes_on)
{
    return TheClock().Advance(by, [&] {
        TheDeliveries().Release();
        return !goes_on || goes_on();
    });
}

VerbResults TimePassed()
{
    return {{"position", static_cast<Json::Int64>(TheClock().Now().count())}};
}

}  // namespace tv
