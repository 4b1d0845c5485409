#pragma once

#include "recording/recording_reader.h"
#include "simulator/recordings/recorded_files.h"
#include "simulator/recordings/recorded_memory.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace GenTL::simulator
{

/// The registers of a recorded camera: its memory with its description, its commands, and its files. The
/// owner serialises the calls.
class RecordedRegisters
{
public:
    /// @param execute gets the name of a command that the consumer executes
    /// @throws Error GC_ERR_IO: a register reaches beyond the last address.
    RecordedRegisters(const recording::DeviceRecord &device,
                      std::function<void(const std::string &command)> execute);

    /// @throws Error GC_ERR_INVALID_ADDRESS: a byte of the request was not recorded.
    void Read(uint64_t address, std::span<uint8_t> out) const { m_memory.Read(address, out); }
    /// Throws as Read.
    /// @throws Error GC_ERR_ACCESS_DENIED: the write would change the layout of frames.
    void Write(uint64_t address, std::span<const uint8_t> in);

private:
    bool Executes(uint64_t address, std::span<const uint8_t> in);
    bool IsWholeCommand(const recording::CommandPlace &command, uint64_t address,
                        std::span<const uint8_t> in) const;
    void RequireSameLayout(uint64_t address, std::span<const uint8_t> in) const;

    const recording::Registers &m_registers;
    const std::function<void(const std::string &)> m_execute;
    RecordedMemory m_memory;
    RecordedFiles m_files;
};

} // namespace GenTL::simulator
