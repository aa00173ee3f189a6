// SPDX-License-Identifier: Apache-2.0
#include <cstdint>

#include "tvhost/doctor/elf_file.h"

/// What is read lies in the input, which a sanitizer watches.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const host::ElfFile file = host::ReadElf({reinterpret_cast<const char*>(data), size});
        std::size_t letters = file.soname.size();
        for (const host::ElfSymbol& symbol : file.symbols)
            letters += std::string(symbol.name).size();
        for (const std::string_view name : file.own_names)
            letters += std::string(name).size();
        return letters == 1 ? -1 : 0;
    } catch (const host::ElfError&) {
        return 0;
    }
}
