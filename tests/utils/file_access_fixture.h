#pragma once

#include "utils/file_access.h"

#include "support/failure.h"
#include "support/fake_file_device.h"
#include "support/log_capture.h"
#include "support/registers_only_port.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

namespace GenTL::internal::utils
{

/// The registers of a file device, and a note of each access to them.
class FilePort final : public RegistersOnlyPort
{
public:
    explicit FilePort(FakeFileDevice &device) : m_device(device) {}

    std::vector<std::string> accesses;
    /// Called ahead of each access, which is the last one of `accesses`; may throw.
    std::function<void()> onAccess = [] {};

    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override
    {
        accesses.push_back(fmt::format("read {:X}+{}", iAddress, *piSize));
        onAccess();
        m_device.Read(iAddress, pBuffer, piSize);
    }
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override
    {
        uint32_t value = 0;
        std::memcpy(&value, pBuffer, std::min(*piSize, sizeof value));
        accesses.push_back(fmt::format("write {:X} = {}", iAddress, value));
        onAccess();
        m_device.Write(iAddress, pBuffer, piSize);
    }

private:
    FakeFileDevice &m_device;
};

/// A device with a file of 10 bytes, which it transfers 4 at a time.
class FileAccessTest : public testing::Test
{
protected:
    FileAccessTest()
    {
        device.file.resize(10);
        std::iota(device.file.begin(), device.file.end(), uint8_t{1});
    }

    void Describe(const std::string &nodes)
    {
        parser.emplace("<RegisterDescription>" + nodes + "</RegisterDescription>");
    }

    FileAccess Access() { return {port, *parser}; }
    std::vector<uint8_t> Read(std::string_view name = "LensCalibrationData")
    {
        return Access().ReadFile(name);
    }

    FakeFileDevice device;
    FilePort port{device};
    std::optional<nodemap::NodeMapParser> parser{
        std::in_place, "<RegisterDescription>" + FakeFileDevice::Nodes() + "</RegisterDescription>"};
};

} // namespace GenTL::internal::utils
