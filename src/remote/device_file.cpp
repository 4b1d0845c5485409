#include "remote/device_file.h"

#include "utils/at_end.h"
#include "utils/gentl_exception.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace GenTL::internal
{

namespace
{

using genapi::GraphFeatures;

constexpr int64_t largestFile = int64_t{1} << 20;
/// How often to ask a device whether an operation is done, which takes up to a second over a slow link. If
/// the command never reads as done, the status decides.
constexpr int operationPolls = 1000;

/// What a read changes, in the order in which it is restored.
constexpr std::array restoredFeatures{"FileOpenMode", "FileAccessLength", "FileAccessOffset",
                                      "FileOperationSelector", "FileSelector"};

/// The values of the features that a read changes, written again when it ends.
class KeptSelectors
{
public:
    explicit KeptSelectors(GraphFeatures &features) : m_features(features)
    {
        std::ranges::transform(restoredFeatures, m_values.begin(),
                               [&](const char *name)
                               { return utils::Try([&] { return features.ReadInteger(name); }); });
    }

    ~KeptSelectors()
    {
        // Without the operation Open, some devices have no open mode.
        TryWrite("FileOperationSelector", "Open");
        for (size_t i = 0; i < m_values.size(); ++i)
        {
            utils::Try([&] { return Restore(restoredFeatures[i], m_values[i]); });
        }
    }

    KeptSelectors(const KeptSelectors &) = delete;
    KeptSelectors &operator=(const KeptSelectors &) = delete;

private:
    void TryWrite(const char *name, const char *text)
    {
        const auto write = [&]
        {
            m_features.WriteText(name, text);
            return true;
        };
        utils::Try(write);
    }

    bool Restore(const char *name, std::optional<int64_t> value)
    {
        const bool isChanged = value && m_features.ReadInteger(name) != *value;
        if (isChanged)
        {
            m_features.WriteInteger(name, *value);
        }
        return isChanged;
    }

    GraphFeatures &m_features;
    std::array<std::optional<int64_t>, restoredFeatures.size()> m_values;
};

void Operate(GraphFeatures &features, const char *operation)
{
    features.WriteText("FileOperationSelector", operation);
    features.Execute("FileOperationExecute");
    for (int i = 0; i < operationPolls && features.ReadInteger("FileOperationExecute") == 0; ++i)
    {
    }
    if (HasFileOperationFailed(features))
    {
        throw GenTLException(fmt::format("the file operation {} ended with {}", operation,
                                         features.ReadText("FileOperationStatus")),
                             GC_ERR_IO);
    }
}

int64_t SizeOf(GraphFeatures &features)
{
    const auto size = features.ReadInteger("FileSize");
    if (size < 1 || size > largestFile)
    {
        throw GenTLException(fmt::format("a file of {} bytes", size), GC_ERR_ERROR);
    }
    return size;
}

/// Reads the next block of the open file.
void AppendBlock(GraphFeatures &features, int64_t wanted, std::vector<uint8_t> &content)
{
    features.WriteInteger("FileAccessOffset", static_cast<int64_t>(content.size()));
    features.WriteInteger("FileAccessLength", wanted);
    Operate(features, "Read");
    const auto buffer = features.ReadBytes("FileAccessBuffer");
    auto count = std::min(wanted, static_cast<int64_t>(buffer.size()));
    if (features.Has("FileOperationResult"))
    {
        count = std::min(count, features.ReadInteger("FileOperationResult"));
    }
    if (count < 1)
    {
        throw GenTLException(fmt::format("the file ends after {} bytes", content.size()), GC_ERR_IO);
    }
    content.insert(content.end(), buffer.begin(), buffer.begin() + count);
}

} // namespace

std::vector<uint8_t> ReadDeviceFile(GraphFeatures &features, std::string_view name)
{
    const KeptSelectors kept(features);
    features.WriteText("FileSelector", name);
    const auto size = SizeOf(features);
    const auto block = features.LimitsOf<int64_t>("FileAccessLength").max;
    if (block < 1)
    {
        throw GenTLException("the device transfers no file data", GC_ERR_ERROR);
    }
    features.WriteText("FileOperationSelector", "Open");
    features.WriteText("FileOpenMode", "Read");
    Operate(features, "Open");
    const auto close = [&features]
    {
        const auto operate = [&features]
        {
            Operate(features, "Close");
            return true;
        };
        utils::Try(operate);
    };
    const utils::AtEnd closing(close);
    std::vector<uint8_t> content;
    while (static_cast<int64_t>(content.size()) < size)
    {
        AppendBlock(features, std::min(block, size - static_cast<int64_t>(content.size())), content);
    }
    return content;
}

bool HasFileOperationFailed(GraphFeatures &features)
{
    return features.Has("FileOperationStatus") && features.ReadText("FileOperationStatus") != "Success";
}

} // namespace GenTL::internal
