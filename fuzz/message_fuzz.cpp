// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <random>
#include <sstream>

#include "fuzz/session.h"

namespace {

/// The commands of the page's interface.
const Json::Value& Commands()
{
    static const Json::Value commands = [] {
        std::ifstream file(ZELUMO_PAGE_API);
        std::ostringstream text;
        text << file.rdbuf();
        return host::ParseJson(text.str(), 200)["commands"];
    }();
    return commands;
}

/// A request of the page's interface with some of its parameters changed: the bytes say which and how.
Json::Value RequestFrom(const std::uint8_t* data, std::size_t size)
{
    const Json::Value& command = Commands()[data[0] % Commands().size()];
    Json::Value request = command["example"];
    std::size_t at = 1;
    for (const Json::Value& parameter : command["parameters"]) {
        if (at >= size)
            break;
        Json::Value& value = request[parameter["name"].asString()];
        const std::uint8_t how = data[at++];
        const std::size_t length = std::min<std::size_t>(how >> 3, size - at);
        const std::string bytes(reinterpret_cast<const char*>(data) + at, length);
        switch (how & 7) {
            case 0:
                value = bytes;
                break;
            case 1:
                value = Json::Int(std::hash<std::string>()(bytes));
                break;
            case 2:
                value = 1.5;
                break;
            case 3:
                value = true;
                break;
            case 4:
                value = Json::Value();
                break;
            case 5:
                value[bytes] = bytes;
                break;
            case 6:
                request.removeMember(parameter["name"].asString());
                break;
            default:
                break;
        }
        at += length;
    }
    return request;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    Json::Value line;
    try {
        // Half of the inputs are JSON text as it is, half are made from the grammar.
        const char* const kind = (data[0] & 1) == 0 ? "await" : "post";
        line[kind] = (data[0] & 2) == 0 ? host::ParseJson({reinterpret_cast<const char*>(data) + 1, size - 1},
                                                          host::kMaxMessageDepth)
                                        : RequestFrom(data, size);
        fuzz::TheSession().CarryOut(line);
    } catch (const host::JsonError&) {
        return -1;
    } catch (const Json::Exception&) {
        return -1;  // the grammar put a member into what is no object
    }
    return 0;
}
