// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Values of the TV service. Enumerations name the values that the plug-in uses; their type may hold any
/// other.

enum EProfile : int { EPROFILE_TV = 1 };

enum ENavigationMode : int {
    ENAVIGATION_MODE_ALL = 11,     ///< every channel of the line-up
    ENAVIGATION_MODE_ZELUMO = 16,  ///< the streaming service's channels
};

enum ESortMode : int { ESORT_MODE_CHANNEL_NUMBER = 0 };

enum ESignalType : int { ESIGNAL_UNMUTE_BY_PINCODE = 177 };

/// What came with a signal.
struct TSSignalData {
    int param1 = 0;
    int param2 = 0;
};

struct TSTvMode {
    int antennaMode = -1;
    int serviceMode = -1;
};
