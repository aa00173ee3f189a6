// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "zelumo-platform/export.h"

/// The TV's media player service. Any thread. 0 is success, another result failure; a command fails for a
/// player that does not exist, or whose state does not allow it. User data are handed back as they are, and
/// not owned.

using BmsPlayerId = int;

/// Content protection of a stream; all three empty: none.
struct _BmsDrmInfo {
    std::string drmType;
    std::string drmOp;
    std::string drmData;
};

/// What a report says. Other values may be reported as well.
enum _BmsEvent : int {
    BMS_EVENT_INIT_COMPLETE = 32,
    BMS_EVENT_PAUSE_COMPLETE = 33,
    BMS_EVENT_RESUME_COMPLETE = 34,
    BMS_EVENT_SEEK_COMPLETE = 35,  ///< value1 position, value2 duration, milliseconds
    BMS_EVENT_STOP_SUCCESS = 36,
    BMS_EVENT_CONTENT_RANGE_OVER = 37,
    BMS_EVENT_END_OF_STREAM = 97,
    BMS_EVENT_ERROR = 98,
    BMS_EVENT_BUFFERING = 131,  ///< value1 percent
    BMS_EVENT_FILE_NOT_FOUND = 134,
    BMS_EVENT_CURRENT_POSITION = 137,  ///< value1 position, value2 duration, milliseconds
    BMS_EVENT_BEGIN_OF_STREAM = 144,
    BMS_EVENT_GET_WINDOW_ID = 200,
    BMS_EVENT_GET_INIT_INFO = 201,
};
using BmsCallbackType = _BmsEvent;

/// The record of a report; its type says what the values are.
struct alignas(8) _BmsCallbackStruct {
    std::int32_t value1 = 0;
    std::int32_t value2 = 0;
    std::uint64_t reserved = 0;
};
using BmsSignalData = _BmsCallbackStruct;
static_assert(sizeof(_BmsCallbackStruct) == 16, "the record's size is fixed");

/// Called on the player service's own thread, one call at a time. `data` is valid during the call.
using BmsCallbackFunction = void (*)(int id, _BmsEvent type, _BmsCallbackStruct& data, void* userData);

/// Makes a player for a stream and writes its id; fails, nothing written, without an address. `timeOffset` is
/// where to begin, in seconds.
ZELUMO_PLATFORM_API int BmsCreatePlayer(const char* url, const char* mimeType, int timeOffset, int playerType,
                                        _BmsDrmInfo drm, BmsPlayerId* id);
ZELUMO_PLATFORM_API int BmsPlay(BmsPlayerId id);
ZELUMO_PLATFORM_API int BmsPause(BmsPlayerId id);
ZELUMO_PLATFORM_API int BmsResume(BmsPlayerId id);
ZELUMO_PLATFORM_API int BmsStop(BmsPlayerId id);
/// Goes to the live edge of a live stream.
ZELUMO_PLATFORM_API int BmsResumeLive(BmsPlayerId id);
/// Position in milliseconds.
ZELUMO_PLATFORM_API int BmsSeek(BmsPlayerId id, std::int32_t position);
/// Writes the play position in milliseconds; nothing is written on failure.
ZELUMO_PLATFORM_API int BmsGetPlayTime(BmsPlayerId id, std::int32_t* position);
/// The rectangle of the screen that shows the picture; in any state.
ZELUMO_PLATFORM_API int BmsSetVideoPosition(BmsPlayerId id, int x, int y, int width, int height);

/// From now on `callback` is called for each report of that player, which need not exist yet. There is one
/// registration per player and user data: a second one replaces the callback. Fails for a null callback.
ZELUMO_PLATFORM_API int BmsSetCallback(BmsPlayerId id, BmsCallbackFunction callback, void* userData);
/// When it has returned, no call for that player and user data is running or will start, unless it was
/// called from inside one. Fails when there was no such registration.
ZELUMO_PLATFORM_API int BmsUnSetCallback(BmsPlayerId id, void* userData);
