// SPDX-License-Identifier: Apache-2.0
// A library of an SDK that a plug-in may have been linked with, or not.
#ifdef NOVELTY_USED
void Novelty(int);
[[gnu::used, gnu::visibility("hidden")]] void UseNovelty()
{
    Novelty(1);
}
#else
__attribute__((visibility("default"))) void Novelty(int) {}
#endif
