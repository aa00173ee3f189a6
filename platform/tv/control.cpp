#include "tv/control.h"

#include <map>
#include <string>
#include <utility>

#include "core/calls.h"
#include "core/clock.h"
#include "core/delivery.h"
#include "core/form.h"
#include "core/json_node.h"
#include "tv/tv.h"

namespace tv {
namespace {

VerbResults SetClock(JsonObject& fields)
{
    const JsonNode date = fields.Get("date");
    std::int64_t time = 0;
    if (!FromJson(date.json(), time) || time < 0 || time > kLastDate)
        date.Fail("must be a whole number of milliseconds since 1970, up to the year 9999");
    fields.End();
    TheClock().SetDate(Clock::Time(time));
    return {};
}

VerbResults Advance(JsonObject& fields)
{
    const auto by = Clock::Time(fields.Get("ms").AtLeast(0));
    fields.End();
    // What an alarm sets off is delivered before the next one, so that the order is that of playing time.
    TheClock().Advance(by, [] { TheDeliveries().Release(); });
    return {{"position", static_cast<Json::Int64>(TheClock().Now().count())}};
}

const AnyCall& ReadCall(JsonObject& fields)
{
    const std::string name = fields.Get("call").As<std::string>();
    const AnyCall* const call = TheCalls().Find(name);
    if (call == nullptr)
        fields.node().Fail("there is no platform call \"" + name + "\"");
    return *call;
}

VerbResults SetAnswer(JsonObject& fields)
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
    fields.End();
    if (const std::optional<std::string> mistake = call.Mistake(answer))
        fields.node().Fail(*mistake);
    TheCalls().SetAnswer(call, std::move(answer));
    return {};
}

VerbResults Restore(JsonObject& fields)
{
    const AnyCall* const call = fields.Find("call") ? &ReadCall(fields) : nullptr;
    fields.End();
    if (call != nullptr)
        TheCalls().Restore(*call);
    else
        TheCalls().RestoreAll();
    return {};
}

/// Those of the TV itself and those of its services.
const std::map<std::string, Verb>& Verbs()
{
    static const std::map<std::string, Verb> verbs = [] {
        std::vector<Verb> list{
            {"advance", Advance},
            {"answer", SetAnswer},
            {"clock", SetClock},
            {"restore", Restore},
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

/// Reads the fields of `verb` by `read(JsonObject&)`; what is wrong with them is a VerbError.
template <typename Read>
VerbResults WithFields(const Json::Value& verb, Read read)
{
    try {
        JsonObject fields(JsonNode(verb, JsonPlaces::Name));
        fields.Find("tv");
        return read(fields);
    } catch (const JsonMistake& mistake) {
        throw VerbError("verb \"" + verb["tv"].asString() + "\": " + mistake.what());
    }
}

}  // namespace

VerbResults CarryOut(const Json::Value& verb)
{
    if (!verb["tv"].isString())
        throw VerbError("\"tv\" must name a verb");
    const auto found = Verbs().find(verb["tv"].asString());
    if (found == Verbs().end())
        throw VerbError("there is no verb \"" + verb["tv"].asString() + "\"");
    return WithFields(verb, found->second.carry_out);
}

void RefuseFields(const Json::Value& verb)
{
    WithFields(verb, [](const JsonObject& fields) -> VerbResults {
        fields.End();
        return {};
    });
}

}  // namespace tv
