#include "simulator/cameras/file_access.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

// Values of FileOperationSelector.
constexpr int64_t openFile = 0;
constexpr int64_t closeFile = 1;

// Values of FileOperationStatus.
constexpr int64_t success = 0;
constexpr int64_t failure = 1;

constexpr int64_t longestTransfer = 32;

} // namespace

std::vector<Feature> FileAccessFeatures(const std::vector<CameraFile> &files)
{
    const char *const category = "FileAccessControl";
    const auto bytes = [&](const char *name, const char *toolTip)
    { return Integer(category, name, toolTip).ReadOnly().Volatile().Unit("B").Visibility("Guru"); };
    return {
        Enumeration(category, "FileSelector", "File that the features below are about.", EntriesOf(files))
            .Visibility("Guru"),
        Enumeration(category, "FileOperationSelector", "What FileOperationExecute does.",
                    {{"Open", openFile}, {"Close", closeFile}, {"Read", 2}})
            .Visibility("Guru"),
        Enumeration(category, "FileOpenMode", "What a file is opened for.", {{"Read", 0}}).Visibility("Guru"),
        Bytes(category, "FileAccessBuffer", "What was read last.", longestTransfer)
            .ReadOnly()
            .Volatile()
            .Visibility("Guru"),
        Integer(category, "FileAccessOffset", "Bytes from the beginning of the file to what is read.")
            .Range(0, INT32_MAX)
            .Unit("B")
            .Visibility("Guru"),
        Integer(category, "FileAccessLength", "Bytes to read.")
            .Default(longestTransfer)
            .Range(1, longestTransfer)
            .Unit("B")
            .Visibility("Guru"),
        Command(category, "FileOperationExecute", "Does the selected operation.").Visibility("Guru"),
        Enumeration(category, "FileOperationStatus", "How the last operation ended.",
                    {{"Success", success}, {"Failure", failure}})
            .ReadOnly()
            .Volatile()
            .Visibility("Guru"),
        bytes("FileOperationResult", "Bytes that the last operation read."),
        bytes("FileSize", "Bytes of the file."),
    };
}

FileAccess::FileAccess(const CameraContext &context, std::vector<CameraFile> files)
    : m_features(context.features), m_files(std::move(files))
{
    m_features.ComputeOnRead("FileSize",
                             [this] { return static_cast<int64_t>(SelectedFile().content.size()); });
    m_features.AfterWrite("FileOperationExecute", [this] { Execute(); });
}

const CameraFile &FileAccess::SelectedFile() const
{
    const auto selected = m_features.Integer("FileSelector");
    return *std::ranges::find_if(m_files,
                                 [&](const CameraFile &file) { return file.entry.value == selected; });
}

void FileAccess::Execute()
{
    const int64_t file = m_features.Integer("FileSelector");
    const int64_t operation = m_features.Integer("FileOperationSelector");
    std::optional<size_t> done;
    if (operation == openFile)
    {
        done = m_open.insert(file).second ? std::optional<size_t>(0) : std::nullopt;
    }
    else if (operation == closeFile)
    {
        done = m_open.erase(file) != 0 ? std::optional<size_t>(0) : std::nullopt;
    }
    else
    {
        done = Read();
    }
    m_features.SetInteger("FileOperationStatus", done ? success : failure);
    m_features.SetInteger("FileOperationResult", static_cast<int64_t>(done.value_or(0)));
}

std::optional<size_t> FileAccess::Read()
{
    const auto &file = SelectedFile();
    const auto offset = static_cast<size_t>(m_features.Integer("FileAccessOffset"));
    if (!m_open.contains(file.entry.value) || offset >= file.content.size())
    {
        m_features.SetBytes("FileAccessBuffer", {});
        return std::nullopt;
    }
    const std::span<const uint8_t> rest = std::span(file.content).subspan(offset);
    const auto length = static_cast<size_t>(m_features.Integer("FileAccessLength"));
    const size_t count = std::min(length, rest.size());
    m_features.SetBytes("FileAccessBuffer", rest.first(count));
    return count;
}

} // namespace GenTL::simulator
