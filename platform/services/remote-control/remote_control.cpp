// SPDX-License-Identifier: Apache-2.0
#include "services/remote-control/remote_control.h"

#include <algorithm>
#include <utility>

#include "core/nearest.h"

namespace tv {
namespace {

// clang-format off
const std::vector<RemoteKey>& Keys()
{
    static const std::vector<RemoteKey>& keys = *new std::vector<RemoteKey>{
        {"0", "Digit0", 48}, {"1", "Digit1", 49}, {"2", "Digit2", 50}, {"3", "Digit3", 51}, {"4", "Digit4", 52},
        {"5", "Digit5", 53}, {"6", "Digit6", 54}, {"7", "Digit7", 55}, {"8", "Digit8", 56}, {"9", "Digit9", 57},
        {"ArrowLeft",  "ArrowLeft",  37},
        {"ArrowUp",    "ArrowUp",    38},
        {"ArrowRight", "ArrowRight", 39},
        {"ArrowDown",  "ArrowDown",  40},
        {"Enter",      "Enter",      13},
        {"GoBack",     "",          461},
        {"Exit",       "",           27},
        {"Escape",     "Escape",     27},
        {"Backspace",  "Backspace",   8},
        {"PageUp",     "PageUp",     33},
        {"PageDown",   "PageDown",   34},
        {"Home",       "Home",       36},
        {"BrowserHome", "BrowserHome", 172},
        {"ContextMenu", "ContextMenu", 93},
        {"ChannelUp",   "",          427},
        {"ChannelDown", "",          428},
        {"AudioVolumeUp",   "AudioVolumeUp",   447},
        {"AudioVolumeDown", "AudioVolumeDown", 448},
        {"AudioVolumeMute", "AudioVolumeMute", 449},
        {"ColorF0Red",    "",        403},
        {"ColorF1Green",  "",        404},
        {"ColorF2Yellow", "",        405},
        {"ColorF3Blue",   "",        406},
        {"MediaPlay",          "",                   415},
        {"MediaPause",         "",                    19},
        {"MediaPlayPause",     "MediaPlayPause",     179},
        {"MediaStop",          "MediaStop",          413},
        {"MediaRecord",        "",                   416},
        {"MediaRewind",        "",                   412},
        {"MediaFastForward",   "",                   417},
        {"MediaTrackPrevious", "MediaTrackPrevious", 424},
        {"MediaTrackNext",     "MediaTrackNext",     425},
        {"Info",      "",            457},
        {"Guide",     "",            458},
        {"Teletext",  "",            459},
        {"Subtitle",  "",            460},
        {"Help",      "Help",        156},
        {"Settings",  "",            462},
        {"TVInput",   "",            464},
        {"Power",     "Power",       409},
    };
    return keys;
}
// clang-format on

VerbAction PressKey(JsonObject& fields)
{
    const JsonNode key = fields.Get("key");
    const std::string name = key.As<std::string>();
    fields.End();
    const std::vector<std::string> names = RemoteControl::Names();
    if (std::find(names.begin(), names.end(), name) == names.end())
        key.Fail("must be a key of the remote, and there is none called " + Quoted(name) +
                 DidYouMean(name, names));
    return [=]() -> VerbResults {
        RemoteControl::Get().Press(name);
        return {};
    };
}

}  // namespace

void RemoteControlConfig::Read(JsonObject& file)
{
    const auto member = file.Find("keys");
    if (!member)
        return;
    key_codes.clear();
    file.ReadObject("keys", [this](JsonObject& keys) {
        for (const RemoteKey& key : Keys()) {
            if (const auto code = keys.Find(key.key))
                key_codes[key.key] = static_cast<int>(code->Whole(0, 0xFFFF));
        }
    });
}

RemoteControl& RemoteControl::Get()
{
    static RemoteControl& service = *new RemoteControl;
    return service;
}

void RemoteControl::Load(const RemoteControlConfig& config)
{
    const MutexLock lock(mutex_);
    key_codes_ = config.key_codes;
}

std::vector<std::string> RemoteControl::Names()
{
    std::vector<std::string> names;
    for (const RemoteKey& key : Keys())
        names.push_back(key.key);
    return names;
}

void RemoteControl::SetOnKey(OnKey on_key)
{
    const MutexLock lock(mutex_);
    on_key_ = std::move(on_key);
}

bool RemoteControl::Press(const std::string& name)
{
    const auto found =
        std::find_if(Keys().begin(), Keys().end(), [&](const RemoteKey& key) { return key.key == name; });
    if (found == Keys().end())
        return false;
    RemoteKey key = *found;
    // Held while it is told, so that nobody is told any more once SetOnKey has returned.
    const MutexLock lock(mutex_);
    if (const auto own = key_codes_.find(name); own != key_codes_.end())
        key.key_code = own->second;
    if (on_key_)
        on_key_(key);
    return true;
}

std::vector<Verb> RemoteControl::verbs() const
{
    return {{"key", PressKey}};
}

}  // namespace tv
