// SPDX-License-Identifier: Apache-2.0
#include "plugin-support/PPBaseMessageHandler.h"

#include "ppapi/cpp/var_dictionary.h"

namespace {

pp::VarDictionary PostedLayout(const std::string& command, int code, const pp::Var& data,
                               const std::string& errorName, const std::string& errorMessage)
{
    pp::VarDictionary message;
    message.Set("command", command);
    message.Set("code", code);
    message.Set("errorName", errorName);
    message.Set("errorMessage", errorMessage);
    message.Set("data", data);
    return message;
}

}  // namespace

PPBaseMessageHandler::~PPBaseMessageHandler() = default;

void PPBaseMessageHandler::HandleMessage(pp::InstanceHandle instance, const pp::Var& message)
{
    HandleMessageImpl(instance, message);
}

pp::Var PPBaseMessageHandler::HandleBlockingMessage(pp::InstanceHandle instance, const pp::Var& message)
{
    return HandleBlockingMessageImpl(instance, message);
}

void PPBaseMessageHandler::WasUnregistered(pp::InstanceHandle) {}

// NOLINTBEGIN(performance-unnecessary-value-param): the signatures are fixed.

pp::Var PPBaseMessageHandler::createMessage(int code, pp::Var data, std::string errorName,
                                            std::string errorMessage)
{
    pp::VarDictionary reply;
    reply.Set("code", code);
    if (!errorName.empty())
        reply.Set("errorName", errorName);
    if (!errorMessage.empty())
        reply.Set("errorMessage", errorMessage);
    reply.Set("data", data);
    return reply;
}

void PPBaseMessageHandler::responseData(pp::Instance instance, std::string command, int code, pp::Var data,
                                        std::string errorName, std::string errorMessage)
{
    instance.PostMessage(PostedLayout(command, code, data, errorName, errorMessage));
}

void PPBaseMessageHandler::sendData(pp::Instance instance, std::string name, int code, pp::Var data,
                                    std::string errorName, std::string errorMessage)
{
    instance.PostMessage(PostedLayout(name, code, data, errorName, errorMessage));
}

// NOLINTEND(performance-unnecessary-value-param)
