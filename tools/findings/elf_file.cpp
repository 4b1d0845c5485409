#include "findings/elf_file.h"

#include <elf.h>
#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

#include <memory>
#include <string_view>

namespace gentlctl
{
namespace
{

/// Closes a file at the end of its scope.
class FileCloser
{
public:
    explicit FileCloser(int file) : m_file(file) {}
    FileCloser(const FileCloser &) = delete;
    FileCloser &operator=(const FileCloser &) = delete;
    ~FileCloser() { close(m_file); }

private:
    int m_file;
};

struct ElfCloser
{
    void operator()(Elf *elf) const { elf_end(elf); }
};

#if defined(__aarch64__)
constexpr int ownMachine = EM_AARCH64;
#else
constexpr int ownMachine = EM_X86_64;
#endif

std::string MachineName(int machine)
{
    switch (machine)
    {
    case EM_X86_64:
        return "x86-64";
    case EM_386:
        return "x86";
    case EM_AARCH64:
        return "AArch64";
    case EM_ARM:
        return "ARM";
    default:
        return "machine " + std::to_string(machine);
    }
}

size_t EntriesIn(const Elf_Data *data, const GElf_Shdr &header)
{
    return data != nullptr && header.sh_entsize != 0 ? header.sh_size / header.sh_entsize : 0;
}

void AddExports(Elf *elf, Elf_Scn *section, const GElf_Shdr &header, std::vector<std::string> &exports)
{
    auto *const data = elf_getdata(section, nullptr);
    const auto count = static_cast<int>(EntriesIn(data, header));
    GElf_Sym symbol{};
    for (int i = 0; i < count && gelf_getsym(data, i, &symbol) != nullptr; ++i)
    {
        const auto *const name = elf_strptr(elf, header.sh_link, symbol.st_name);
        if (symbol.st_shndx != SHN_UNDEF && name != nullptr && *name != '\0')
        {
            exports.emplace_back(name);
        }
    }
}

void ReadRunPath(Elf *elf, Elf_Scn *section, const GElf_Shdr &header, std::string &runPath)
{
    auto *const data = elf_getdata(section, nullptr);
    const auto count = static_cast<int>(EntriesIn(data, header));
    GElf_Dyn entry{};
    for (int i = 0; i < count && runPath.empty() && gelf_getdyn(data, i, &entry) != nullptr; ++i)
    {
        const bool isPath = entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH;
        const auto *const text = isPath ? elf_strptr(elf, header.sh_link, entry.d_un.d_val) : nullptr;
        runPath = text != nullptr ? text : "";
    }
}

} // namespace

std::optional<ElfFile> ReadElfFile(const std::filesystem::path &file)
{
    elf_version(EV_CURRENT);
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
    {
        return std::nullopt;
    }
    const FileCloser closer(descriptor);
    const std::unique_ptr<Elf, ElfCloser> elf(elf_begin(descriptor, ELF_C_READ, nullptr));
    GElf_Ehdr header{};
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF || gelf_getehdr(elf.get(), &header) == nullptr)
    {
        return std::nullopt;
    }
    ElfFile result;
    result.bits = gelf_getclass(elf.get()) == ELFCLASS64 ? 64 : 32;
    result.machine = MachineName(header.e_machine);
    result.isOfThisMachine = result.bits == 64 && header.e_machine == ownMachine;
    for (auto *section = elf_nextscn(elf.get(), nullptr); section != nullptr;
         section = elf_nextscn(elf.get(), section))
    {
        GElf_Shdr sectionHeader{};
        if (gelf_getshdr(section, &sectionHeader) == nullptr)
        {
            continue;
        }
        if (sectionHeader.sh_type == SHT_DYNSYM)
        {
            AddExports(elf.get(), section, sectionHeader, result.exports);
        }
        else if (sectionHeader.sh_type == SHT_DYNAMIC)
        {
            ReadRunPath(elf.get(), section, sectionHeader, result.runPath);
        }
    }
    return result;
}

} // namespace gentlctl
