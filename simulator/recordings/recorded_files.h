#pragma once

#include "recording/device_record.h"
#include "simulator/recordings/recorded_memory.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace GenTL::simulator
{

/// Carries out file operations on the recorded files of a camera. A file can be opened for reading. The owner
/// serialises the calls.
class RecordedFiles
{
public:
    /// Both outlive this object.
    RecordedFiles(const recording::FileAccess &access, RecordedMemory &memory)
        : m_access(access), m_memory(memory)
    {
    }

    /// Carries out the operation in FileOperationSelector on the file in FileSelector.
    /// @throws Error GC_ERR_INVALID_ADDRESS: a register of the file access was not recorded.
    void Execute();

private:
    bool CarryOut(std::string_view operation, const recording::DeviceFile &file);
    bool Transfer(const recording::DeviceFile &file);
    const recording::FeaturePlace *PlaceOf(std::string_view feature) const;
    int64_t Number(std::string_view feature) const;
    void SetNumber(std::string_view feature, int64_t value);

    const recording::FileAccess &m_access;
    RecordedMemory &m_memory;
    const recording::DeviceFile *m_open = nullptr;
};

} // namespace GenTL::simulator
