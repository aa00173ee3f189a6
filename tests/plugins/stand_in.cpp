// SPDX-License-Identifier: Apache-2.0
// What a stand-in leaves behind where it is linked into a plug-in, and what Pepper's C++ layer does.
#include "player-service/bms.h"

namespace tv {

struct PlayerService {
    __attribute__((noinline)) static int Play(int player);
};
int PlayerService::Play(int player)
{
    return player;
}

}  // namespace tv

int BmsPlay(int player)
{
    return tv::PlayerService::Play(player);
}

// NOLINTBEGIN(readability-identifier-naming): the name is fixed
extern "C" __attribute__((visibility("default"))) int PPP_InitializeModule();
int PPP_InitializeModule()
{
    return 0;
}
// NOLINTEND(readability-identifier-naming)
