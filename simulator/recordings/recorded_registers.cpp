#include "simulator/recordings/recorded_registers.h"

#include "simulator/error.h"
#include "simulator/recordings/recorded_numbers.h"

#include <algorithm>
#include <utility>

namespace GenTL::simulator
{

RecordedRegisters::RecordedRegisters(const recording::DeviceRecord &device,
                                     std::function<void(const std::string &)> execute)
    : m_registers(device.registers), m_execute(std::move(execute)), m_memory(m_registers),
      m_files(m_registers.fileAccess, m_memory)
{
    if (device.descriptionAddress)
    {
        m_memory.Add({{*device.descriptionAddress, device.description}});
    }
}

void RecordedRegisters::Write(uint64_t address, std::span<const uint8_t> in)
{
    if (!Executes(address, in))
    {
        RequireSameLayout(address, in);
        m_memory.Write(address, in);
    }
}

/// Executes the command if the write is one; returns false otherwise. The register keeps what was recorded,
/// so that the command is done when it is read.
bool RecordedRegisters::Executes(uint64_t address, std::span<const uint8_t> in)
{
    const auto is = [&](const recording::CommandPlace &command)
    { return IsWholeCommand(command, address, in); };
    const auto command = std::ranges::find_if(m_registers.commands, is);
    if (command == m_registers.commands.end())
    {
        return false;
    }
    if (command->place.feature == "FileOperationExecute")
    {
        m_files.Execute();
    }
    m_execute(command->place.feature);
    return true;
}

/// Whether these are the place and the value of the command. Two commands may share a register.
bool RecordedRegisters::IsWholeCommand(const recording::CommandPlace &command, uint64_t address,
                                       std::span<const uint8_t> in) const
{
    const auto &place = command.place;
    return place.address == address && place.length == in.size() &&
           std::ranges::equal(in,
                              BytesOf(static_cast<uint64_t>(command.value), in.size(), place.isBigEndian));
}

void RecordedRegisters::RequireSameLayout(uint64_t address, std::span<const uint8_t> in) const
{
    std::vector<uint8_t> before(in.size());
    m_memory.Read(address, before);
    for (const auto &place : m_registers.layout)
    {
        for (size_t i = 0; i < in.size(); ++i)
        {
            const bool belongs = address + i >= place.address && address + i - place.address < place.length;
            if (belongs && in[i] != before[i])
            {
                throw Error(GC_ERR_ACCESS_DENIED,
                            "{} is as it was recorded and cannot change; record with the other value",
                            place.feature);
            }
        }
    }
}

} // namespace GenTL::simulator
