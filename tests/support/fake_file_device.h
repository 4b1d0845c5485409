#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// The file features of a remote device. A test can script its answers, including false ones. Records the
/// operations that are executed.
struct FakeFileDevice
{
    static constexpr uint64_t selector = 0x1000;
    static constexpr uint64_t fileSize = 0x1004; ///< 8 bytes
    static constexpr uint64_t operation = 0x100C;
    static constexpr uint64_t openMode = 0x1010;
    static constexpr uint64_t execute = 0x1014;
    static constexpr uint64_t length = 0x1018;
    static constexpr uint64_t offset = 0x101C;
    static constexpr uint64_t status = 0x1020;
    static constexpr uint64_t buffer = 0x2000;
    static constexpr uint64_t bufferSize = 0x1000;

    static constexpr uint32_t openOperation = 10;
    static constexpr uint32_t closeOperation = 11;
    static constexpr uint32_t readOperation = 12;
    static constexpr uint32_t success = 20;
    static constexpr uint32_t failure = 21;

    std::vector<uint8_t> file;
    std::function<int64_t()> toldSize = [this] { return static_cast<int64_t>(file.size()); };
    // Both get the number of reads executed so far and may throw. The first answers a read of the status; the
    // second runs when the buffer is read.
    std::function<uint32_t(int)> statusOf = [](int) { return success; };
    std::function<void(int)> onTransfer = [](int) {};
    size_t bytesPerAnswer = SIZE_MAX; ///< limit for one read of the buffer
    std::vector<std::string> operations;

    /// The nodes of the description, except the node named `without`.
    static std::string Nodes(const std::string &maximum = "<Max>4</Max>", const std::string &without = "",
                             const std::string &fileName = "LensCalibrationData")
    {
        const auto reg = [](std::string_view name, uint64_t address, uint64_t bytes)
        {
            return fmt::format("<IntReg Name=\"{}Reg\"><Address>0x{:X}</Address><Length>{}</Length>"
                               "<AccessMode>RW</AccessMode><pPort>Device</pPort>"
                               "<Endianess>LittleEndian</Endianess></IntReg>",
                               name, address, bytes);
        };
        const auto node = [&](std::string_view element, std::string_view name, uint64_t address,
                              uint64_t bytes, std::string_view children)
        {
            return name == without ? std::string()
                                   : fmt::format("<{0} Name=\"{1}\">{2}<pValue>{1}Reg</pValue></{0}>",
                                                 element, name, children) +
                                         reg(name, address, bytes);
        };
        const auto entry = [](std::string_view name, uint32_t value)
        { return fmt::format("<EnumEntry Name=\"{}\"><Value>{}</Value></EnumEntry>", name, value); };
        auto nodes =
            node("Enumeration", "FileSelector", selector, 4, entry("UserSet", 1) + entry(fileName, 2));
        nodes += node("Integer", "FileSize", fileSize, 8, "");
        nodes += node("Enumeration", "FileOperationSelector", operation, 4,
                      entry("Open", openOperation) + entry("Close", closeOperation) +
                          entry("Read", readOperation));
        nodes += node("Enumeration", "FileOpenMode", openMode, 4, entry("Write", 1) + entry("Read", 2));
        nodes += node("Command", "FileOperationExecute", execute, 4, "");
        nodes += node("Integer", "FileAccessLength", length, 4, maximum);
        nodes += node("Integer", "FileAccessOffset", offset, 4, "");
        nodes += node("Enumeration", "FileOperationStatus", status, 4,
                      entry("Success", success) + entry("Failure", failure));
        if (without != "FileAccessBuffer")
        {
            nodes += fmt::format("<Register Name=\"FileAccessBuffer\"><Address>0x{:X}</Address>"
                                 "<Length>{}</Length><AccessMode>RW</AccessMode></Register>",
                                 buffer, bufferSize);
        }
        return nodes;
    }

    static bool Has(uint64_t address) { return address >= selector && address < buffer + bufferSize; }

    void Read(uint64_t address, void *target, size_t *size)
    {
        const auto answer = [&](const void *bytes, size_t count)
        {
            *size = std::min(*size, count);
            if (*size != 0)
            {
                std::memcpy(target, bytes, *size);
            }
        };
        if (address == buffer)
        {
            onTransfer(m_transfers);
            const size_t first = std::min<size_t>(m_registers[offset], file.size());
            return answer(file.data() + first, std::min({file.size() - first, bytesPerAnswer, *size}));
        }
        if (address == fileSize)
        {
            const auto told = toldSize();
            return answer(&told, sizeof told);
        }
        const uint32_t value = address == status ? statusOf(m_transfers) : m_registers[address];
        answer(&value, sizeof value);
    }

    void Write(uint64_t address, const void *source, size_t *size)
    {
        uint32_t value = 0;
        std::memcpy(&value, source, std::min(*size, sizeof value));
        m_registers[address] = value;
        if (address == execute)
        {
            operations.push_back(Operation(value));
        }
    }

    /// The value last written to a register.
    uint32_t Register(uint64_t address) { return m_registers[address]; }

private:
    std::string Operation(uint32_t value)
    {
        if (value != 1)
        {
            return "command";
        }
        switch (m_registers[operation])
        {
        case openOperation:
            return fmt::format("open {} for {}", m_registers[selector], m_registers[openMode]);
        case closeOperation:
            return "close";
        default:
            ++m_transfers;
            return fmt::format("read {}+{}", m_registers[offset], m_registers[length]);
        }
    }

    std::map<uint64_t, uint32_t> m_registers;
    int m_transfers = 0;
};

} // namespace GenTL::internal
