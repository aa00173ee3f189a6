// SPDX-License-Identifier: Apache-2.0
#include "BmsAdaptor.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "BmsLog.h"
#include "ZeLumoTrace.h"

namespace {

constexpr int kInvalidValues = 26;
constexpr char kMimeType[] = "application/dash+xml";
constexpr long long kMillisecondsPerSecond = 1000;

/// The two answers to a command; true, as its handler returns. They log on behalf of that handler.
bool AnswerSuccess(pp::Var& reply, const pp::Var& data, const char* function, int line)
{
    pp::VarDictionary answer;
    answer.Set("code", 0);
    answer.Set("data", data);
    reply = answer;
    BMS_LOG_RESULT(function, line, "PP_STATUS_SUCCESS");
    return true;
}

bool AnswerInvalidValues(pp::Var& reply, const char* function, int line)
{
    pp::VarDictionary answer;
    answer.Set("code", kInvalidValues);
    answer.Set("errorName", "InvalidValuesError");
    answer.Set("errorMessage", "Parameter is invalid");
    answer.Set("data", false);
    reply = answer;
    BMS_LOG_RESULT(function, line, "PP_INVALID_VALUES_ERR");
    return true;
}

/// A number that may be left out or be of any type: what is none is 0, and a double loses its fraction. A
/// debug build of Pepper stops where a value is asked for that the var doesn't have.
int Number(const pp::VarDictionary& request, const char* key)
{
    const pp::Var value = request.Get(key);
    return value.is_number() ? value.AsInt() : 0;
}

std::int32_t Saturate(long long value)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

}  // namespace

// clang-format off
const BMSAdaptor::Row BMSAdaptor::kCommandTable[] = {
    {"Init",              &BMSAdaptor::InitializeBMS},
    {"Play",              &BMSAdaptor::PlayBMS},
    {"Pause",             &BMSAdaptor::PauseBMS},
    {"Resume",            &BMSAdaptor::ResumeBMS},
    {"JumpForward",       &BMSAdaptor::JumpForwardBMS},
    {"JumpBackward",      &BMSAdaptor::JumpBackwradBMS},
    {"Seek",              &BMSAdaptor::SeekBMS},
    {"Stop",              &BMSAdaptor::StopBMS},
    {"PasueLive",         &BMSAdaptor::PauseLiveBMS},
    {"ResumeLive",        &BMSAdaptor::ResumeLiveBMS},
    {"SetDisplayRect",    &BMSAdaptor::SetDisplayRectBMS},
    {"GetPlayerWindowID", &BMSAdaptor::GetPlayerWindowIDBMS},
};
// clang-format on

BMSAdaptor::BMSAdaptor()
{
    BMS_LOG_ERROR("BMSAdaptor::BMSAdaptor()");
    m_eventHandler.Init();
}

bool BMSAdaptor::HandleBlockingMessageImp(const pp::Var& message, pp::Var& reply)
{
    BMS_LOG_ERROR("BMSAdaptor::HandleBlockingMessageImp is called");
    if (!message.is_dictionary()) {
        BMS_LOG_ERROR("Incoming message is invalid");
        return false;
    }
    pp::VarDictionary request(message);
    const pp::Var commandVar = request.Get("command");
    if (!commandVar.is_string()) {
        BMS_LOG_ERROR("Parameter command is invalid");
        return false;
    }
    const std::string command = commandVar.AsString();
    BMS_LOG_ERROR("BMSAdaptor::HandleBlockingMessageImp -command:[%s]", command.c_str());
    ZELUMO_TRACE(command);
    for (const Row& row : kCommandTable) {
        if (row.command == command)
            return (this->*row.handler)(request, reply);
    }
    BMS_LOG_ERROR("BMSAdaptor::HandleBlockingMessageImp -BMS doesn't care about:[%s]", command.c_str());
    return false;
}

void BMSAdaptor::SetCallBack(BmsPlayerId id)
{
    BMS_LOG_ERROR("BMSAdaptor::SetCallBack is called -id:[%d]", id);
    ZELUMO_TRACE(id);
    m_eventHandler.SetCallback(id);
}

void BMSAdaptor::RegisterSendEvent(BmsPlayerId id, BmsEventCallback callback, void* userData)
{
    BMS_LOG_ERROR("[BMSAdaptor::RegisterSendEvent] is called -id:[%d]", id);
    ZELUMO_TRACE(id);
    m_eventHandler.RegisterSendEventCallback(id, callback, userData);
}

void BMSAdaptor::Destory(BmsPlayerId id)
{
    BMS_LOG_ERROR("BMSAdaptor::Destory is called -id:[%d]", id);
    ZELUMO_TRACE(id);
    m_eventHandler.UnSetCallback(id);
}

bool BMSAdaptor::InitializeBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] start command");
    const pp::Var urlVar = request.Get("url");
    if (!urlVar.is_string() || !request.HasKey("timeOffset"))
        return AnswerInvalidValues(reply, BMS_HERE);
    const std::string url = urlVar.AsString();
    const int timeOffset = Number(request, "timeOffset");
    int playerType = 0;
    if (request.HasKey("playerType")) {
        playerType = Number(request, "playerType");
        BMS_LOG_DEBUG("[%s]playerType %d", __func__, playerType);
    }
    BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] m_url: %s, timeOffset: %u, bProgram : %d", url.c_str(),
                  static_cast<unsigned>(timeOffset), playerType);
    ZELUMO_TRACE(url, timeOffset, playerType);
    if (url.empty())
        return AnswerInvalidValues(reply, BMS_HERE);

    _BmsDrmInfo drm;
    const pp::Var drmType = request.Get("drmType");
    const pp::Var drmData = request.Get("drmData");
    if (drmType.is_string() && drmData.is_string()) {
        drm = {drmType.AsString(), "SetProperties", drmData.AsString()};
        BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] drmType: %s, drmOp: %s, drmData : %s", drm.drmType.c_str(),
                      drm.drmOp.c_str(), drm.drmData.c_str());
    }
    BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] BmsCreatePlayer START ");
    const bool bResult =
        BmsCreatePlayer(url.c_str(), kMimeType, timeOffset, playerType, drm, &m_playerId) == 0;
    BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] SetCallback bResult : %d, playerId : %d ", bResult,
                  m_playerId);
    ZELUMO_TRACE(bResult, m_playerId);
    if (!bResult) {
        BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] SetCallback fail");
        return AnswerInvalidValues(reply, BMS_HERE);
    }
    m_eventHandler.SetCallback(m_playerId);
    BMS_LOG_ERROR("[BMSAdaptor::InitializeBMS] SetCallback done");
    return AnswerSuccess(reply, true, BMS_HERE);
}

bool BMSAdaptor::PlayBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_DEBUG("[BMSAdaptor::PlayBMS] start command");
    return AnswerSuccess(reply, BmsPlay(m_playerId) == 0, BMS_HERE);
}

bool BMSAdaptor::PauseBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_DEBUG("[BMSAdaptor::PauseBMS] start command");
    return AnswerSuccess(reply, BmsPause(m_playerId) == 0, BMS_HERE);
}

bool BMSAdaptor::ResumeBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_DEBUG("[BMSAdaptor::ResumeBMS] start command");
    return AnswerSuccess(reply, BmsResume(m_playerId) == 0, BMS_HERE);
}

bool BMSAdaptor::SeekRelative(long long offset)
{
    // The service writes nothing when it fails, so a position that no player has tells whether it did. Not
    // an end of the range: those a service may well write.
    constexpr std::int32_t kUnwritten = -1'985'229'329;
    std::int32_t position = kUnwritten;
    BmsGetPlayTime(m_playerId, &position);
    if (position == kUnwritten)
        return false;
    return BmsSeek(m_playerId, Saturate(position + offset)) == 0;
}

bool BMSAdaptor::JumpForwardBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::JumpForwardBMS] start command");
    if (!request.HasKey("sec"))
        return AnswerInvalidValues(reply, BMS_HERE);
    const int sec = Number(request, "sec");
    BMS_LOG_ERROR("[MSAdaptor::JumpForwardBMS] sec:[%d]", sec);
    return AnswerSuccess(reply, SeekRelative(sec * kMillisecondsPerSecond), BMS_HERE);
}

bool BMSAdaptor::JumpBackwradBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::JumpBackwradBMS] start command");
    if (!request.HasKey("sec"))
        return AnswerInvalidValues(reply, BMS_HERE);
    const int sec = Number(request, "sec");
    BMS_LOG_ERROR("[BMSAdaptor::JumpBackwradBMS] sec: %d", sec);
    return AnswerSuccess(reply, SeekRelative(-(sec * kMillisecondsPerSecond)), BMS_HERE);
}

bool BMSAdaptor::SeekBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::SeekBMS] start command");
    if (!request.HasKey("sec"))
        return AnswerInvalidValues(reply, BMS_HERE);
    const int sec = Number(request, "sec");
    BMS_LOG_ERROR("[BMSAdaptor::SeekBMS] sec: %d", sec);
    return AnswerSuccess(reply, BmsSeek(m_playerId, Saturate(sec * kMillisecondsPerSecond)) == 0, BMS_HERE);
}

bool BMSAdaptor::StopBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::StopBMS] start command");
    return AnswerSuccess(reply, BmsStop(m_playerId) == 0, BMS_HERE);
}

bool BMSAdaptor::PauseLiveBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::PauseLiveBMS] start command");
    return AnswerSuccess(reply, false, BMS_HERE);
}

bool BMSAdaptor::ResumeLiveBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::ResumeLiveBMS] start command");
    const pp::Var reasonVar = request.Get("reason");
    if (reasonVar.is_string()) {
        const std::string reason = reasonVar.AsString();
        BMS_LOG_ERROR("[BMSAdaptor::ResumeLiveBMS] m_reason:[%s]", reason.c_str());
        ZELUMO_TRACE(reason);
        if (reason.empty())
            return AnswerInvalidValues(reply, BMS_HERE);
        return AnswerSuccess(reply, BmsResumeLive(m_playerId) == 0, BMS_HERE);
    }
    return AnswerInvalidValues(reply, BMS_HERE);
}

bool BMSAdaptor::SetDisplayRectBMS(pp::VarDictionary& request, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::SetDisplayRectBMS] start command");
    for (const char* key : {"x", "y", "width", "height"}) {
        if (!request.HasKey(key))
            return AnswerInvalidValues(reply, BMS_HERE);
    }
    const int x = Number(request, "x");
    const int y = Number(request, "y");
    const int width = Number(request, "width");
    const int height = Number(request, "height");
    BMS_LOG_ERROR("[BMSAdaptor::SetDisplayRectBMS] x: %d", x);
    BMS_LOG_ERROR("[BMSAdaptor::SetDisplayRectBMS] y: %d", y);
    BMS_LOG_ERROR("[BMSAdaptor::SetDisplayRectBMS] width: %d", width);
    BMS_LOG_ERROR("[BMSAdaptor::SetDisplayRectBMS] height: %d", height);
    ZELUMO_TRACE(x, y, width, height);
    const bool bResult = BmsSetVideoPosition(m_playerId, x, y, width, height) == 0;
    ZELUMO_TRACE(bResult);
    return AnswerSuccess(reply, bResult, BMS_HERE);
}

bool BMSAdaptor::GetPlayerWindowIDBMS(pp::VarDictionary&, pp::Var& reply)
{
    BMS_LOG_ERROR("[BMSAdaptor::GetPlayerWindowIDBMS] start command");
    return AnswerSuccess(reply, 0, BMS_HERE);
}
