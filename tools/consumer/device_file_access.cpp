#include "consumer/device_file_access.h"

#include "consumer/feature_limits.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace gentlctl
{

using GenTL::internal::utils::Try;

std::vector<std::string> DeviceFileAccess::AvailableFiles() const
{
    return AvailableEntriesOf(m_features, "FileSelector");
}

uint64_t DeviceFileAccess::FileSize(const std::string &name) const
{
    constexpr int64_t largest = int64_t{1} << 30;
    m_features.WriteText("FileSelector", name);
    const auto size = m_features.ReadInteger("FileSize");
    if (size < 0 || size > largest)
    {
        throw std::runtime_error(fmt::format("The device gives {} a size of {} bytes", name, size));
    }
    return static_cast<uint64_t>(size);
}

/// Transfers the content of the open file; closes the file when that fails.
template <typename Transfer>
auto DeviceFileAccess::ClosingOnFailure(Transfer transfer) const
{
    try
    {
        return transfer();
    }
    catch (...)
    {
        Try([&] { return Execute("Close"); });
        throw;
    }
}

std::vector<uint8_t> DeviceFileAccess::ReadFile(const std::string &name) const
{
    const auto size = FileSize(name);
    m_features.WriteText("FileOpenMode", "Read");
    if (!Execute("Open"))
    {
        throw std::runtime_error(fmt::format("The device refuses to open the file {} for reading", name));
    }
    return ClosingOnFailure(
        [&]
        {
            auto content = Receive(name, size);
            Execute("Close"); // All bytes are here, whatever the device says to this.
            return content;
        });
}

std::vector<uint8_t> DeviceFileAccess::Receive(const std::string &name, uint64_t size) const
{
    std::vector<uint8_t> content;
    const auto block = m_features.LimitsOf<int64_t>("FileAccessLength").max;
    while (content.size() < size)
    {
        const auto count = std::min(block, static_cast<int64_t>(size - content.size()));
        m_features.WriteInteger("FileAccessOffset", static_cast<int64_t>(content.size()));
        m_features.WriteInteger("FileAccessLength", count);
        if (!Execute("Read"))
        {
            throw std::runtime_error(fmt::format("The device refuses the bytes from {} on of the {} of {}",
                                                 content.size(), size, name));
        }
        auto bytes = m_features.ReadBytes("FileAccessBuffer");
        bytes.resize(std::min(bytes.size(), static_cast<size_t>(std::max<int64_t>(count, 0))));
        if (bytes.empty())
        {
            // With blocks of no bytes, the loop would never end.
            throw std::runtime_error("The device transfers no file data");
        }
        content.insert(content.end(), bytes.begin(), bytes.end());
    }
    return content;
}

void DeviceFileAccess::WriteFile(const std::string &name, std::span<const uint8_t> content) const
{
    m_features.WriteText("FileSelector", name);
    if (!HasEntry("FileOpenMode", "Write") || !HasEntry("FileOperationSelector", "Write"))
    {
        throw std::runtime_error(
            fmt::format("The device does not write the file {}: it only lets it be read", name));
    }
    MakeRoom(name, content.size());
    m_features.WriteText("FileOpenMode", "Write");
    if (!Execute("Open"))
    {
        throw std::runtime_error(fmt::format("The device refuses to open the file {} for writing", name));
    }
    ClosingOnFailure([&] { Send(name, content); });
    if (!Execute("Close"))
    {
        throw std::runtime_error(fmt::format("The device refuses to close the file {}", name));
    }
    if (const auto size = FileSize(name); size != content.size())
    {
        throw std::runtime_error(
            fmt::format("The device took {} bytes of {}, but now gives the file a size of {}", content.size(),
                        name, size));
    }
}

/// Deletes a longer content, of which writing would leave the end.
void DeviceFileAccess::MakeRoom(const std::string &name, uint64_t size) const
{
    if (FileSize(name) > size && HasEntry("FileOperationSelector", "Delete") && !Execute("Delete"))
    {
        throw std::runtime_error(fmt::format(
            "The device refuses to delete the content of {}, which is longer than the new one", name));
    }
}

void DeviceFileAccess::Send(const std::string &name, std::span<const uint8_t> content) const
{
    const auto longest = std::min(m_features.LimitsOf<int64_t>("FileAccessLength").max,
                                  m_features.LimitsOf<int64_t>("FileAccessBuffer").max);
    if (longest < 1)
    {
        throw std::runtime_error("The device transfers no file data");
    }
    for (uint64_t offset = 0; offset < content.size(); offset += static_cast<uint64_t>(longest))
    {
        SendBlock(name, content, offset, std::min(static_cast<uint64_t>(longest), content.size() - offset));
    }
}

void DeviceFileAccess::SendBlock(const std::string &name, std::span<const uint8_t> content, uint64_t offset,
                                 uint64_t size) const
{
    m_features.WriteInteger("FileAccessOffset", static_cast<int64_t>(offset));
    m_features.WriteInteger("FileAccessLength", static_cast<int64_t>(size));
    const auto block = content.subspan(offset, size);
    // The buffer is a register, which is written as a whole.
    std::vector<uint8_t> buffer(static_cast<size_t>(m_features.LimitsOf<int64_t>("FileAccessBuffer").max));
    std::ranges::copy(block, buffer.begin());
    m_features.WriteBytes("FileAccessBuffer", buffer);
    const bool isDone = Execute("Write");
    const auto taken = m_features.Has("FileOperationResult") ? m_features.ReadInteger("FileOperationResult")
                                                             : static_cast<int64_t>(size);
    if (!isDone || taken != static_cast<int64_t>(size))
    {
        throw std::runtime_error(
            fmt::format("The device refuses the bytes from {} on of the {} for {}: it took {} of {}", offset,
                        content.size(), name, isDone ? taken : 0, size));
    }
}

/// Whether an enumeration has an entry that can be chosen now.
bool DeviceFileAccess::HasEntry(const char *enumeration, const char *entry) const
{
    const auto entries = AvailableEntriesOf(m_features, enumeration);
    return std::ranges::find(entries, entry) != entries.end();
}

/// Executes an operation on the selected file.
/// @return whether the device reports success
bool DeviceFileAccess::Execute(const char *operation) const
{
    m_features.WriteText("FileOperationSelector", operation);
    m_features.Execute("FileOperationExecute");
    return m_features.ReadText("FileOperationStatus") == "Success";
}

} // namespace gentlctl
