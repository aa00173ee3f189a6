#pragma once

#include <string>

#include "player-service/bms.h"

/// Receives a player event: its type, two texts and the user datum that it was registered with.
using BmsEventCallback = void (*)(int type, std::string param1, std::string param2, void* userData);
