#include "consumer/device_file_reader.h"

#include "consumer/feature_limits.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace gentlctl
{

std::vector<std::string> DeviceFileReader::AvailableFiles() const
{
    return AvailableEntriesOf(m_features, "FileSelector");
}

uint64_t DeviceFileReader::FileSize(const std::string &name) const
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

std::vector<uint8_t> DeviceFileReader::ReadFile(const std::string &name) const
{
    const auto size = FileSize(name);
    std::vector<uint8_t> content;
    m_features.WriteText("FileOperationSelector", "Open");
    m_features.WriteText("FileOpenMode", "Read");
    m_features.Execute("FileOperationExecute");
    m_features.WriteText("FileOperationSelector", "Read");
    if (!Transfer(size, content))
    {
        content.clear();
    }
    m_features.WriteText("FileOperationSelector", "Close");
    m_features.Execute("FileOperationExecute");
    return content;
}

/// @return false: the device reports a failure
bool DeviceFileReader::Transfer(uint64_t size, std::vector<uint8_t> &content) const
{
    const auto block = m_features.LimitsOf<int64_t>("FileAccessLength").max;
    while (content.size() < size)
    {
        const auto count = std::min(block, static_cast<int64_t>(size - content.size()));
        m_features.WriteInteger("FileAccessOffset", static_cast<int64_t>(content.size()));
        m_features.WriteInteger("FileAccessLength", count);
        m_features.Execute("FileOperationExecute");
        auto bytes = m_features.ReadBytes("FileAccessBuffer");
        if (m_features.ReadText("FileOperationStatus") != "Success")
        {
            return false;
        }
        bytes.resize(std::min(bytes.size(), static_cast<size_t>(std::max<int64_t>(count, 0))));
        if (bytes.empty())
        {
            // With blocks of no bytes, the loop would never end.
            throw std::runtime_error("The device transfers no file data");
        }
        content.insert(content.end(), bytes.begin(), bytes.end());
    }
    return true;
}

} // namespace gentlctl
