// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/elf_file.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>

namespace host {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "files are read in this machine's byte order");

struct Types32 {
    static constexpr int kBits = 32;
    using Header = Elf32_Ehdr;
    using Segment = Elf32_Phdr;
    using Section = Elf32_Shdr;
    using Dynamic = Elf32_Dyn;
    using Symbol = Elf32_Sym;
};

struct Types64 {
    static constexpr int kBits = 64;
    using Header = Elf64_Ehdr;
    using Segment = Elf64_Phdr;
    using Section = Elf64_Shdr;
    using Dynamic = Elf64_Dyn;
    using Symbol = Elf64_Sym;
};

[[noreturn]] void Damaged(const std::string& what)
{
    throw ElfError("it is damaged: " + what);
}

/// Bytes that are read within their bounds.
class Bytes {
  public:
    explicit Bytes(std::string_view bytes) : bytes_(bytes) {}
    std::size_t size() const { return bytes_.size(); }

    /// `what` says in plain words what is read there.
    std::string_view Part(std::uint64_t offset, std::uint64_t size, const char* what) const
    {
        if (offset > bytes_.size() || size > bytes_.size() - offset)
            Damaged(std::string(what) + " lies outside the file, which has " + std::to_string(bytes_.size()) +
                    " bytes and may be cut off");
        return bytes_.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
    }

    template <class Record>
    Record Read(std::uint64_t offset, const char* what) const
    {
        Record record{};
        std::memcpy(&record, Part(offset, sizeof record, what).data(), sizeof record);
        return record;
    }

    template <class Record>
    std::vector<Record> ReadAll(std::uint64_t offset, std::uint64_t count, const char* what) const
    {
        if (count > bytes_.size() / sizeof(Record))
            Damaged(std::string(what) + " is larger than the file");
        std::vector<Record> records(static_cast<std::size_t>(count));
        const std::string_view part = Part(offset, count * sizeof(Record), what);
        if (!records.empty())
            std::memcpy(records.data(), part.data(), part.size());
        return records;
    }

  private:
    const std::string_view bytes_;
};

/// The text that begins at `offset` of a table of texts.
std::string_view TextAt(std::string_view texts, std::uint64_t offset)
{
    if (offset >= texts.size())
        Damaged("a name lies outside its table of names");
    const std::string_view rest = texts.substr(static_cast<std::size_t>(offset));
    const std::size_t end = rest.find('\0');
    if (end == std::string_view::npos)
        Damaged("a name in its table of names does not end");
    return rest.substr(0, end);
}

std::vector<std::string_view> SplitFolders(std::string_view folders)
{
    std::vector<std::string_view> split;
    while (!folders.empty()) {
        const std::size_t end = std::min(folders.find(':'), folders.size());
        if (end != 0)
            split.push_back(folders.substr(0, end));
        folders.remove_prefix(std::min(end + 1, folders.size()));
    }
    return split;
}

template <class Types>
class Reader {
  public:
    explicit Reader(std::string_view bytes)
        : bytes_(bytes), header_(bytes_.Read<typename Types::Header>(0, "its header"))
    {}

    ElfFile Read()
    {
        file_.bits = Types::kBits;
        file_.machine = header_.e_machine;
        file_.machine_flags = header_.e_flags;
        switch (header_.e_type) {
            case ET_REL:
                file_.kind = ElfFile::Kind::Object;
                break;
            case ET_EXEC:
                file_.kind = ElfFile::Kind::Program;
                break;
            case ET_DYN:
                file_.kind = ElfFile::Kind::SharedObject;
                break;
            default:
                file_.kind = ElfFile::Kind::Other;
        }
        CheckEntrySize(header_.e_phnum, header_.e_phentsize, sizeof(typename Types::Segment));
        CheckEntrySize(header_.e_shnum, header_.e_shentsize, sizeof(typename Types::Section));
        segments_ =
            bytes_.ReadAll<typename Types::Segment>(header_.e_phoff, header_.e_phnum, "its list of segments");
        sections_ =
            bytes_.ReadAll<typename Types::Section>(header_.e_shoff, header_.e_shnum, "its list of sections");
        for (const auto& segment : segments_) {
            if (segment.p_type == PT_LOAD)
                bytes_.Part(segment.p_offset, segment.p_filesz, "a part of it that is loaded");
        }
        for (const auto& segment : segments_) {
            if (segment.p_type == PT_DYNAMIC)
                ReadDynamic(segment);
        }
        ReadOwnNames();
        return std::move(file_);
    }

  private:
    static void CheckEntrySize(unsigned count, std::size_t size, std::size_t expected)
    {
        if (count != 0 && size != expected)
            Damaged("its lists have entries of another size than such files have");
    }

    /// Where what is loaded at an address stands in the file.
    std::uint64_t OffsetOf(std::uint64_t address, const char* what) const
    {
        for (const auto& segment : segments_) {
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr < segment.p_filesz)
                return segment.p_offset + (address - segment.p_vaddr);
        }
        Damaged(std::string(what) + " lies in none of the parts that are loaded");
    }

    void ReadDynamic(const typename Types::Segment& segment)
    {
        if (file_.is_dynamic)
            Damaged("it says twice how it is to be linked");
        file_.is_dynamic = true;
        const auto entries = bytes_.ReadAll<typename Types::Dynamic>(
            segment.p_offset, segment.p_filesz / sizeof(typename Types::Dynamic),
            "what it says of how it is to be linked");
        const auto end = std::find_if(entries.begin(), entries.end(),
                                      [](const auto& entry) { return entry.d_tag == DT_NULL; });
        const auto find = [&](std::int64_t tag) -> std::optional<std::uint64_t> {
            const auto found =
                std::find_if(entries.begin(), end, [&](const auto& entry) { return entry.d_tag == tag; });
            return found == end ? std::nullopt : std::optional<std::uint64_t>(found->d_un.d_val);
        };
        if (const auto texts = find(DT_STRTAB))
            texts_ = bytes_.Part(OffsetOf(*texts, "its table of names"), find(DT_STRSZ).value_or(0),
                                 "its table of names");
        for (auto entry = entries.begin(); entry != end; ++entry) {
            if (entry->d_tag == DT_NEEDED)
                file_.needed.push_back(TextAt(texts_, entry->d_un.d_val));
        }
        if (const auto name = find(DT_SONAME))
            file_.soname = TextAt(texts_, *name);
        if (const auto folders = find(DT_RPATH))
            file_.rpath = SplitFolders(TextAt(texts_, *folders));
        if (const auto folders = find(DT_RUNPATH))
            file_.runpath = SplitFolders(TextAt(texts_, *folders));
        const std::uint64_t flags = find(DT_FLAGS).value_or(0);
        const std::uint64_t flags_1 = find(DT_FLAGS_1).value_or(0);
        file_.text_relocations = find(DT_TEXTREL) || (flags & DF_TEXTREL) != 0;
        file_.binds_now = find(DT_BIND_NOW) || (flags & DF_BIND_NOW) != 0 || (flags_1 & DF_1_NOW) != 0;
        if ((flags_1 & DF_1_PIE) != 0)
            file_.kind = ElfFile::Kind::Program;
        file_.load_hooks = find(DT_INIT_ARRAYSZ).value_or(0) != 0;
        file_.unload_hooks = find(DT_FINI_ARRAYSZ).value_or(0) != 0;
        if (const auto symbols = find(DT_SYMTAB))
            ReadSymbols(*symbols, find(DT_HASH), find(DT_GNU_HASH));
    }

    void ReadSymbols(std::uint64_t address, std::optional<std::uint64_t> hash,
                     std::optional<std::uint64_t> gnu_hash)
    {
        constexpr char kSymbols[] = "its table of symbols";
        const std::uint64_t count = CountSymbols(address, hash, gnu_hash);
        const auto symbols =
            bytes_.ReadAll<typename Types::Symbol>(OffsetOf(address, kSymbols), count, kSymbols);
        for (const auto& symbol : symbols) {
            const unsigned binding = symbol.st_info >> 4U;
            const unsigned type = symbol.st_info & 15U;
            const unsigned visibility = symbol.st_other & 3U;
            const bool defined = symbol.st_shndx != SHN_UNDEF;
            if (binding == STB_LOCAL || type == STT_SECTION || type == STT_FILE || symbol.st_name == 0 ||
                (defined && (visibility == STV_HIDDEN || visibility == STV_INTERNAL)))
                continue;
            file_.symbols.push_back({TextAt(texts_, symbol.st_name), defined, binding == STB_WEAK});
        }
    }

    /// The table itself does not say it: a section does, or a table for looking names up.
    std::uint64_t CountSymbols(std::uint64_t address, std::optional<std::uint64_t> hash,
                               std::optional<std::uint64_t> gnu_hash) const
    {
        for (const auto& section : sections_) {
            if (section.sh_type == SHT_DYNSYM && section.sh_addr == address)
                return section.sh_size / sizeof(typename Types::Symbol);
        }
        constexpr char kHash[] = "its table for looking names up";
        if (hash)
            return bytes_.Read<std::array<std::uint32_t, 2>>(OffsetOf(*hash, kHash), kHash)[1];
        if (!gnu_hash)
            return 0;
        const std::uint64_t offset = OffsetOf(*gnu_hash, kHash);
        const auto [bucket_count, first, bloom_count, shift] =
            bytes_.Read<std::array<std::uint32_t, 4>>(offset, kHash);
        // cppcheck-suppress redundantAssignment ; reads a template's arguments as assignments
        const std::uint64_t buckets_at = offset + 16 + std::uint64_t{bloom_count} * (Types::kBits / 8);
        const auto buckets = bytes_.ReadAll<std::uint32_t>(buckets_at, bucket_count, kHash);
        // cppcheck-suppress redundantAssignment ; likewise
        const std::uint64_t chains_at = buckets_at + std::uint64_t{bucket_count} * 4;
        std::uint64_t last = buckets.empty() ? 0 : *std::max_element(buckets.begin(), buckets.end());
        if (last < first)
            return first;
        // The last chain ends with an odd number.
        while (bytes_.Read<std::uint32_t>(chains_at + (last - first) * 4, kHash) % 2 == 0)
            ++last;
        return last + 1;
    }

    void ReadOwnNames()
    {
        constexpr char kSymbols[] = "its table of all symbols";
        for (const auto& section : sections_) {
            if (section.sh_type != SHT_SYMTAB)
                continue;
            if (section.sh_link >= sections_.size())
                Damaged("its table of all symbols has no names");
            const auto& texts_section = sections_[section.sh_link];
            const std::string_view texts =
                bytes_.Part(texts_section.sh_offset, texts_section.sh_size, "the names of all symbols");
            for (const auto& symbol : bytes_.ReadAll<typename Types::Symbol>(
                     section.sh_offset, section.sh_size / sizeof(typename Types::Symbol), kSymbols)) {
                const unsigned type = symbol.st_info & 15U;
                if (symbol.st_shndx != SHN_UNDEF && (type == STT_FUNC || type == STT_OBJECT))
                    file_.own_names.push_back(TextAt(texts, symbol.st_name));
            }
            return;  // there is but one
        }
    }

    const Bytes bytes_;
    const typename Types::Header header_;
    std::vector<typename Types::Segment> segments_;
    std::vector<typename Types::Section> sections_;
    std::string_view texts_;
    ElfFile file_;
};

/// What a file that is none of ours looks like.
std::string OtherKind(std::string_view bytes)
{
    constexpr std::array<std::pair<std::string_view, const char*>, 6> kBeginnings{{
        {"!<arch>\n", "it is a static library"},
        {"!<thin>\n", "it is a static library"},
        {"#!", "it is a script"},
        {"INPUT", "it is a text for the linker, which names the library"},
        {"GROUP", "it is a text for the linker, which names the library"},
        {"/* GNU ld script", "it is a text for the linker, which names the library"},
    }};
    if (bytes.empty())
        return "it is empty";
    for (const auto& [beginning, kind] : kBeginnings) {
        if (bytes.substr(0, beginning.size()) == beginning)
            return kind;
    }
    return "it is no ELF file";
}

}  // namespace

ElfFile ReadElf(std::string_view bytes)
{
    if (bytes.substr(0, SELFMAG) != ELFMAG)
        throw ElfError(OtherKind(bytes));
    if (bytes.size() < EI_NIDENT)
        Damaged("it ends in its header");
    if (bytes[EI_DATA] == ELFDATA2MSB)
        throw ElfError("it is for a big-endian machine");
    if (bytes[EI_DATA] != ELFDATA2LSB)
        Damaged("its header does not say in which order its bytes stand");
    if (bytes[EI_CLASS] == ELFCLASS32)
        return Reader<Types32>(bytes).Read();
    if (bytes[EI_CLASS] != ELFCLASS64)
        Damaged("its header says neither 32 nor 64 bits");
    return Reader<Types64>(bytes).Read();
}

std::string ArchitectureOf(const ElfFile& file)
{
    switch (file.machine) {
        case EM_X86_64:
            return file.bits == 64 ? "x86-64" : "x32";
        case EM_386:
            return "i386";
        case EM_AARCH64:
            return file.bits == 64 ? "arm64" : "arm64 with 32-bit pointers";
        case EM_ARM:
            return (file.machine_flags & EF_ARM_ABI_FLOAT_HARD) != 0   ? "armhf"
                   : (file.machine_flags & EF_ARM_ABI_FLOAT_SOFT) != 0 ? "armel"
                                                                       : "arm";
        default:
            return "machine " + std::to_string(file.machine);
    }
}

MappedFile::MappedFile(const std::filesystem::path& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status {};
    int error = descriptor < 0 || fstat(descriptor, &status) != 0 ? errno : 0;
    if (error == 0 && !S_ISREG(status.st_mode))
        error = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    if (error == 0 && status.st_size > 0) {
        size_ = static_cast<std::size_t>(status.st_size);
        data_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (data_ == MAP_FAILED)
            error = errno;
    }
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0)
        throw std::system_error(error, std::generic_category());
}

MappedFile::~MappedFile()
{
    if (size_ != 0)
        munmap(data_, size_);
}

}  // namespace host
