#include "consumer/modules.h"
#include "consumer/whole_write.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/memory_form.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "port/whole_read.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using GenTL::internal::GenTLException;

/// What reading and writing have in common.
struct MemoryOptions
{
    std::string module = "remote";
    std::string address;
    std::string form{MemoryForms().front().name};
};

struct ReadOptions : MemoryOptions
{
    std::optional<size_t> count; ///< of bytes, or of numbers
};

struct WriteOptions : MemoryOptions
{
    std::vector<std::string> values;
};

constexpr size_t usualBytes = 16;
constexpr size_t largestMemory = size_t{1} << 20U;

/// Runs a step that reads what the user typed; what it cannot read is wrong usage.
template <typename Step>
auto Parsed(const std::string &argument, Step step)
{
    try
    {
        return step();
    }
    catch (const std::runtime_error &error)
    {
        throw CLI::ValidationError(argument, error.what());
    }
}

uint64_t AddressIn(const MemoryOptions &memory)
{
    return Parsed("address", [&] { return ParseUnsigned(memory.address); });
}

/// Runs an access to a port, and adds to its failure what failed.
template <typename Access>
void RunAccess(const char *verb, const MemoryOptions &memory, uint64_t address, size_t size, Access access)
{
    try
    {
        access();
    }
    catch (const GenTLException &exception)
    {
        throw std::runtime_error(fmt::format("Cannot {} {} bytes at {:#x} of {}: {} ({})", verb, size,
                                             address, memory.module, exception.what(), exception.Code()));
    }
}

void PrintMemoryJson(const MemoryOptions &memory, uint64_t address, const std::vector<uint8_t> &bytes)
{
    const auto &form = MemoryFormNamed(memory.form);
    Json json{
        {"module", memory.module}, {"address", fmt::format("{:#x}", address)}, {"bytes", HexText(bytes)}};
    if (form.numberSize != 0)
    {
        json["numbers"] = NumbersIn(bytes, form);
    }
    PrintJson(json);
}

int ReadMemory(const CommonOptions &options, const ReadOptions &memory)
{
    const auto &form = MemoryFormNamed(memory.form);
    const auto address = AddressIn(memory);
    const bool isBytes = form.numberSize == 0;
    std::vector<uint8_t> bytes(memory.count.value_or(isBytes ? usualBytes : 1) *
                               (isBytes ? 1 : form.numberSize));
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const auto port = modules.PortOf(memory.module);
    RunAccess("read", memory, address, bytes.size(),
              [&] { GenTL::internal::ReadAllRegisters(*port, address, bytes.data(), bytes.size()); });
    if (options.json)
    {
        PrintMemoryJson(memory, address, bytes);
    }
    else
    {
        PrintText(MemoryText(address, bytes, form));
    }
    return success;
}

int WriteMemory(const CommonOptions &options, const WriteOptions &memory)
{
    const auto address = AddressIn(memory);
    const auto bytes =
        Parsed("values", [&] { return MemoryBytes(memory.values, MemoryFormNamed(memory.form)); });
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const auto port = modules.PortOf(memory.module);
    RunAccess("write", memory, address, bytes.size(), [&] { WriteAllRegisters(*port, address, bytes); });
    if (options.json)
    {
        PrintMemoryJson(memory, address, bytes);
    }
    else
    {
        Print("Wrote {} bytes at {:#x} of {}: {}\n", bytes.size(), address, memory.module, HexText(bytes));
    }
    return success;
}

void AddMemoryOptions(CLI::App &command, MemoryOptions &memory)
{
    std::vector<std::string> forms;
    std::ranges::transform(MemoryForms(), std::back_inserter(forms),
                           [](const MemoryForm &form) { return std::string(form.name); });
    command.add_option("address", memory.address, "First address, decimal or hexadecimal with 0x")
        ->type_name("ADDRESS")
        ->required();
    AddModule(command, memory.module, ModuleNames(), "Module to address");
    command
        .add_option("--as", memory.form,
                    "Bytes, or unsigned numbers of 32 or 64 bits: le has the low byte first, be the high one")
        ->check(CLI::IsMember(forms))
        ->capture_default_str();
}

} // namespace

void DeclareRead(Commands &commands)
{
    const auto memory = std::make_shared<ReadOptions>();
    auto &command =
        commands.Add("read", "Read the memory of a module by address",
                     [memory](const CommonOptions &options) { return ReadMemory(options, *memory); });
    AddMemoryOptions(command, *memory);
    command
        .add_option("-n,--count", memory->count,
                    "How many bytes or numbers to read; default: 16 bytes, or one number")
        ->check(Within<size_t>(1, largestMemory));
    command.footer("  gentlctl read 0x1118 -d OVRA-M5\n"
                   "  gentlctl read 0x1118 -d OVRA-M5 --as le32 -n 2");
}

void DeclareWrite(Commands &commands)
{
    const auto memory = std::make_shared<WriteOptions>();
    auto &command =
        commands.Add("write", "Write the memory of a module by address",
                     [memory](const CommonOptions &options) { return WriteMemory(options, *memory); });
    AddMemoryOptions(command, *memory);
    command
        .add_option("values", memory->values,
                    "Bytes in hexadecimal digits, as in 80020000 or 80 02 00 00; with --as, numbers")
        ->type_name("VALUE")
        ->required();
    command.footer(
        "All bytes are written at once. They are not read back: not every register can be read.\n\n"
        "  gentlctl write 0x1118 80 02 00 00 -d OVRA-M5\n"
        "  gentlctl write 0x1118 --as le32 640 -d OVRA-M5");
}

} // namespace gentlctl
