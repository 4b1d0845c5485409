#include "simulator/cameras/file_access.h"

#include "simulator/cameras/camera_unit.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

// Values of FileOperationSelector.
constexpr int64_t openFile = 0;
constexpr int64_t closeFile = 1;
constexpr int64_t readFile = 2;
constexpr int64_t writeFile = 3;
constexpr int64_t deleteFile = 4;

// Values of FileOpenMode.
constexpr int64_t forReading = 0;
constexpr int64_t forWriting = 1;

// Values of FileOperationStatus.
constexpr int64_t success = 0;
constexpr int64_t failure = 1;

constexpr int64_t longestTransfer = 32;

std::vector<EnumEntry> Operations(bool isWritable)
{
    std::vector<EnumEntry> operations{{"Open", openFile}, {"Close", closeFile}, {"Read", readFile}};
    return isWritable
               ? Joined(operations, std::vector<EnumEntry>{{"Write", writeFile}, {"Delete", deleteFile}})
               : operations;
}

std::vector<EnumEntry> OpenModes(bool isWritable)
{
    std::vector<EnumEntry> modes{{"Read", forReading}};
    return isWritable ? Joined(modes, std::vector<EnumEntry>{{"Write", forWriting}}) : modes;
}

Feature TransferBuffer(const char *category, bool isWritable)
{
    auto buffer = Bytes(category, "FileAccessBuffer",
                        isWritable ? "What was read last, and what is written next." : "What was read last.",
                        longestTransfer)
                      .Volatile()
                      .Visibility("Guru");
    return isWritable ? std::move(buffer) : std::move(buffer).ReadOnly();
}

} // namespace

std::vector<Feature> FileAccessFeatures(const std::vector<CameraFile> &files)
{
    const char *const category = "FileAccessControl";
    const bool isWritable =
        std::ranges::any_of(files, [](const CameraFile &file) { return file.capacity != 0; });
    const auto bytes = [&](const char *name, const char *toolTip)
    { return Integer(category, name, toolTip).ReadOnly().Volatile().Unit("B").Visibility("Guru"); };
    return {
        Enumeration(category, "FileSelector", "File that the features below are about.", EntriesOf(files))
            .Visibility("Guru"),
        Enumeration(category, "FileOperationSelector", "What FileOperationExecute does.",
                    Operations(isWritable))
            .Visibility("Guru"),
        Enumeration(category, "FileOpenMode", "What a file is opened for.", OpenModes(isWritable))
            .Visibility("Guru"),
        TransferBuffer(category, isWritable),
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
    : m_features(context.features), m_unit(context.unit), m_files(std::move(files))
{
    m_features.ComputeOnRead("FileSize",
                             [this] { return static_cast<int64_t>(SelectedFile().content.size()); });
    m_features.AfterWrite("FileOperationExecute", [this] { Execute(); });
}

CameraFile FileAccess::SelectedFile() const
{
    const auto selected = m_features.Integer("FileSelector");
    auto file = *std::ranges::find_if(m_files, [&](const CameraFile &candidate)
                                      { return candidate.entry.value == selected; });
    file.content = m_unit.File(selected).value_or(file.content);
    return file;
}

void FileAccess::Execute()
{
    const auto done = Done(m_features.Integer("FileOperationSelector"));
    m_features.SetInteger("FileOperationStatus", done ? success : failure);
    m_features.SetInteger("FileOperationResult", static_cast<int64_t>(done.value_or(0)));
}

FileAccess::Result FileAccess::Done(int64_t operation)
{
    const auto file = SelectedFile();
    switch (operation)
    {
    case openFile:
        return Open(file);
    case closeFile:
        return m_open.erase(file.entry.value) != 0 ? Result(0) : std::nullopt;
    case writeFile:
        return Write(file);
    case deleteFile:
        return Delete(file);
    default:
        return Read(file);
    }
}

bool FileAccess::IsOpen(const CameraFile &file, int64_t mode) const
{
    const auto found = m_open.find(file.entry.value);
    return found != m_open.end() && found->second == mode;
}

FileAccess::Result FileAccess::Open(const CameraFile &file)
{
    const auto mode = m_features.Integer("FileOpenMode");
    const bool isAllowed = mode == forReading || file.capacity != 0;
    return isAllowed && m_open.emplace(file.entry.value, mode).second ? Result(0) : std::nullopt;
}

FileAccess::Result FileAccess::Read(const CameraFile &file)
{
    const auto offset = static_cast<size_t>(m_features.Integer("FileAccessOffset"));
    if (!IsOpen(file, forReading) || offset >= file.content.size())
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

FileAccess::Result FileAccess::Write(const CameraFile &file)
{
    const auto offset = static_cast<size_t>(m_features.Integer("FileAccessOffset"));
    const auto length = static_cast<size_t>(m_features.Integer("FileAccessLength"));
    // A file has no holes.
    if (!IsOpen(file, forWriting) || offset > file.content.size() || offset + length > file.capacity)
    {
        return std::nullopt;
    }
    auto content = file.content;
    content.resize(std::max(content.size(), offset + length));
    const auto bytes = m_features.Value("FileAccessBuffer").bytes;
    std::copy_n(bytes.begin(), length, content.begin() + static_cast<std::ptrdiff_t>(offset));
    m_unit.KeepFile(file.entry.value, std::move(content));
    return length;
}

FileAccess::Result FileAccess::Delete(const CameraFile &file)
{
    if (file.capacity == 0 || m_open.contains(file.entry.value))
    {
        return std::nullopt;
    }
    m_unit.KeepFile(file.entry.value, {});
    return 0;
}

} // namespace GenTL::simulator
