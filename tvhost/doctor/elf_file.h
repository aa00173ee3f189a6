// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A file is no ELF file, or a damaged one; what() says which, as the end of a sentence: "it is a script".
class ElfError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A symbol that other libraries see, or that is looked for in them.
struct ElfSymbol {
    std::string_view name;  ///< as the compiler names it
    bool defined;
    bool weak;  ///< undefined: it may stay so
};

/// What an ELF file tells a loader. Its texts lie in the bytes that it was read from, which outlive it.
struct ElfFile {
    enum class Kind { Object, Program, SharedObject, Other };

    Kind kind = Kind::Other;
    int bits = 0;                     ///< 32 or 64
    unsigned machine = 0;             ///< EM_…
    std::uint32_t machine_flags = 0;  ///< e_flags
    bool is_dynamic = false;          ///< what follows was there to be read
    std::string_view soname;
    std::vector<std::string_view> needed;
    std::vector<std::string_view> rpath;  ///< the folders, $ORIGIN as it stands
    std::vector<std::string_view> runpath;
    std::vector<ElfSymbol> symbols;
    std::vector<std::string_view> own_names;  ///< of what it defines, hidden or not; none in a stripped file
    bool load_hooks = false;                  ///< there is a list of functions to call when it is loaded
    bool unload_hooks = false;
    bool text_relocations = false;
    bool binds_now = false;  ///< it asks itself that every symbol is resolved when it is loaded
};

/// Reads 32- and 64-bit little-endian files of any machine. Nothing in the bytes is trusted: whatever they
/// hold, they are read within their bounds, and in a time that their number limits. Throws ElfError.
ElfFile ReadElf(std::string_view bytes);

/// "x86-64", "i386", "arm64", "armhf" (floats in registers), "armel" (not so), "arm" (untold), "machine 8".
std::string ArchitectureOf(const ElfFile& file);

/// The bytes of a file. They must not be cut off by somebody while they are read.
class MappedFile {
  public:
    /// Throws std::system_error, also for what is no regular file.
    explicit MappedFile(const std::filesystem::path& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    std::string_view bytes() const { return {static_cast<const char*>(data_), size_}; }

  private:
    void* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace host
