#include "tv/control.h"

#include <algorithm>
#include <map>

#include "tv/tv.h"

namespace tv {

VerbFields::VerbFields(const Json::Value& verb) : verb_(verb), read_{"tv"} {}

void VerbFields::Fail(const std::string& why) const
{
    throw VerbError("verb \"" + verb_["tv"].asString() + "\": " + why);
}

bool VerbFields::Has(const char* name) const
{
    return verb_.isMember(name);
}

const Json::Value& VerbFields::Raw(const char* name)
{
    read_.emplace_back(name);
    return verb_[name];
}

int VerbFields::Int(const char* name)
{
    if (!Has(name))
        Fail(std::string("\"") + name + "\" is missing");
    int value = 0;
    if (!FromJson(Raw(name), value))
        Fail(std::string("\"") + name + "\" must be a whole number of 32 bits");
    return value;
}

int VerbFields::IntOr(const char* name, int otherwise)
{
    return Has(name) ? Int(name) : otherwise;
}

std::string VerbFields::Text(const char* name)
{
    if (!Has(name))
        Fail(std::string("\"") + name + "\" is missing");
    std::string value;
    if (!FromJson(Raw(name), value))
        Fail(std::string("\"") + name + "\" must be a string");
    return value;
}

bool VerbFields::NullUser()
{
    if (!Has("user"))
        return false;
    if (!Raw("user").isNull())
        Fail("\"user\" can only be null");
    return true;
}

void VerbFields::End() const
{
    for (const std::string& name : verb_.getMemberNames()) {
        if (std::find(read_.begin(), read_.end(), name) == read_.end())
            Fail("\"" + name + "\" is not known");
    }
}

namespace {

VerbResults Delivered(const std::vector<int>& results)
{
    Json::Value list(Json::arrayValue);
    for (const int result : results)
        list.append(result);
    return {{"delivered", static_cast<int>(results.size())}, {"results", list}};
}

VerbResults PowerOff(VerbFields& fields)
{
    const int type = fields.Int("type");
    const bool null_user = fields.NullUser();
    fields.End();
    return Delivered(Tv::Get().power().Notify(type, null_user));
}

VerbResults RaiseEvent(VerbFields& fields)
{
    const int event = fields.Int("event");
    const bool null_user = fields.NullUser();
    fields.End();
    return Delivered(Tv::Get().event_proxy().Notify(event, null_user));
}

VerbResults RaiseSignal(VerbFields& fields)
{
    const int signal = fields.Int("signal");
    const bool null_user = fields.NullUser();
    fields.End();
    return Delivered(Tv::Get().signals().Notify(static_cast<ESignalType>(signal), null_user));
}

VerbResults WriteSetting(VerbFields& fields)
{
    const std::string key = fields.Text("key");
    if (key.empty())
        fields.Fail("\"key\" must not be empty");
    SettingValue value;
    if (!FromJson(fields.Raw("value"), value))
        fields.Fail("\"value\" must be a string, a whole number of 32 bits, or true or false");
    const bool null_user = fields.NullUser();
    fields.End();
    const std::optional<std::size_t> told = Tv::Get().settings().SetAndTell(key, value, null_user);
    if (!told)
        fields.Fail("the settings store refuses the write");
    return {{"delivered", static_cast<int>(*told)}};
}

VerbResults SetClock(VerbFields& fields)
{
    constexpr Json::Int64 kLast = 253402300799999;  // the end of the year 9999
    if (!fields.Has("date"))
        fields.Fail("\"date\" is missing");
    const Json::Value& date = fields.Raw("date");
    if (!date.isNumeric() || !date.isInt64() || date.asInt64() < 0 || date.asInt64() > kLast)
        fields.Fail("\"date\" must be a whole number of milliseconds since 1970, up to the year 9999");
    fields.End();
    Tv::Get().clock().SetDate(Clock::Time(date.asInt64()));
    return {};
}

VerbResults ReportPlayer(VerbFields& fields)
{
    const int player = fields.Int("player");
    const int type = fields.Int("type");
    const int value1 = fields.IntOr("value1", 0);
    const int value2 = fields.IntOr("value2", 0);
    const bool null_user = fields.NullUser();
    fields.End();
    const std::size_t delivered = Tv::Get().player().Report(player, type, value1, value2, null_user);
    return {{"delivered", static_cast<Json::UInt>(delivered)}};
}

VerbResults Advance(VerbFields& fields)
{
    const int ms = fields.Int("ms");
    if (ms < 0)
        fields.Fail("\"ms\" must be 0 or more");
    fields.End();
    Tv& tv = Tv::Get();
    // What an alarm sets off is delivered before the next one, so that the order is that of playing time.
    tv.clock().Advance(Clock::Time(ms), [&] { tv.deliveries().Release(); });
    return {{"position", static_cast<Json::Int64>(tv.clock().Now().count())}};
}

const CallInfo& CallNamed(VerbFields& fields)
{
    const std::string name = fields.Text("call");
    const CallInfo* info = Calls::Find(name);
    if (info == nullptr)
        fields.Fail("there is no platform call \"" + name + "\"");
    return *info;
}

VerbResults SetAnswer(VerbFields& fields)
{
    const CallInfo& info = CallNamed(fields);
    Answer answer;
    if (fields.Has("result"))
        answer.result = fields.Raw("result");
    if (fields.Has("out")) {
        answer.out = fields.Raw("out");
        if (!answer.out.isArray())
            fields.Fail("\"out\" must be an array");
    }
    if (fields.Has("times")) {
        answer.times = fields.Int("times");
        if (answer.times < 1)
            fields.Fail("\"times\" must be 1 or more");
    }
    const int delay = fields.IntOr("delay", 0);
    if (delay < 0)
        fields.Fail("\"delay\" must be 0 or more");
    answer.delay = std::chrono::milliseconds(delay);
    fields.End();
    if (const std::optional<std::string> mistake = Calls::Mistake(info, answer))
        fields.Fail(*mistake);
    Tv::Get().calls().SetAnswer(info.id, std::move(answer));
    return {};
}

VerbResults Restore(VerbFields& fields)
{
    const CallInfo* info = fields.Has("call") ? &CallNamed(fields) : nullptr;
    fields.End();
    if (info != nullptr)
        Tv::Get().calls().Restore(info->id);
    else
        Tv::Get().calls().RestoreAll();
    return {};
}

}  // namespace

VerbResults CarryOut(const Json::Value& verb)
{
    using Operation = VerbResults (*)(VerbFields&);
    // clang-format off
    static const std::map<std::string, Operation> verbs{
        {"advance",  Advance},
        {"answer",   SetAnswer},
        {"clock",    SetClock},
        {"event",    RaiseEvent},
        {"poweroff", PowerOff},
        {"report",   ReportPlayer},
        {"restore",  Restore},
        {"setting",  WriteSetting},
        {"signal",   RaiseSignal},
    };
    // clang-format on
    if (!verb["tv"].isString())
        throw VerbError("\"tv\" must name a verb");
    const auto found = verbs.find(verb["tv"].asString());
    if (found == verbs.end())
        throw VerbError("there is no verb \"" + verb["tv"].asString() + "\"");
    VerbFields fields(verb);
    return found->second(fields);
}

}  // namespace tv
