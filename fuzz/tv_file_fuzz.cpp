// SPDX-License-Identifier: Apache-2.0
#include <cstdint>

#include "tv/tv.h"
#include "tv/tv_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        tv::LoadTv(tv::ParseTv({reinterpret_cast<const char*>(data), size}, tv::SampleTv()));
    } catch (const tv::TvFileError&) {
        return -1;
    }
    return 0;
}
