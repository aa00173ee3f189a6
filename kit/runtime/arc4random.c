// SPDX-License-Identifier: Apache-2.0
/* Stands in for a function of glibc 2.36, so that the C++ runtime beside the program is content with 2.35. */
#include <stdint.h>
#include <stdlib.h>
#include <sys/random.h>

__attribute__((visibility("hidden"))) uint32_t arc4random(void)
{
    uint32_t number;
    if (getrandom(&number, sizeof number, 0) != sizeof number)
        abort();
    return number;
}
