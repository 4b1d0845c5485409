#include "utils/file_access.h"

#include "nodemap/node_access.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <algorithm>

namespace GenTL::internal::utils
{

namespace
{

/// The result of an action. A failure is logged and gives an empty result.
template <typename Action>
auto Guarded(const char *operation, Action action) -> decltype(action())
{
    try
    {
        return action();
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(operation, "Exception: {}", exception.what());
        return {};
    }
}

} // namespace

struct FileAccess::Nodes
{
    // The members are looked up in this order. It decides which missing node an error names.
    explicit Nodes(const nodemap::NodeMapParser &parser)
        : selector(parser.FindNode("FileSelector")), size(parser.FindNode("FileSize")),
          operation(parser.FindNode("FileOperationSelector")), openMode(parser.FindNode("FileOpenMode")),
          execute(parser.FindNode("FileOperationExecute")), length(parser.FindNode("FileAccessLength")),
          offset(parser.FindNode("FileAccessOffset")), buffer(parser.FindNode("FileAccessBuffer")),
          status(parser.FindNode("FileOperationStatus"))
    {
    }

    const nodemap::NodeInfo &selector;
    const nodemap::NodeInfo &size;
    const nodemap::NodeInfo &operation;
    const nodemap::NodeInfo &openMode;
    const nodemap::NodeInfo &execute;
    const nodemap::NodeInfo &length;
    const nodemap::NodeInfo &offset;
    const nodemap::NodeInfo &buffer;
    const nodemap::NodeInfo &status;
};

std::vector<std::string> FileAccess::AvailableFiles() const
{
    return nodemap::GetAvailableEnumEntries(m_port, m_parser, m_parser.FindNode("FileSelector"));
}

uint64_t FileAccess::FileSize(std::string_view name) const
{
    return Guarded("FileAccess::FileSize",
                   [&]
                   {
                       const auto &selector = m_parser.FindNode("FileSelector");
                       const auto &size = m_parser.FindNode("FileSize");
                       Set(selector, std::string(name));
                       return static_cast<uint64_t>(nodemap::ReadInteger(m_port, size));
                   });
}

std::vector<uint8_t> FileAccess::ReadFile(std::string_view name) const
{
    return Guarded("FileAccess::ReadFile", [&] { return Read(std::string(name)); });
}

std::vector<uint8_t> FileAccess::Read(const std::string &name) const
{
    const Nodes nodes(m_parser);
    Set(nodes.selector, name);
    const auto size = nodemap::ReadInteger(m_port, nodes.size);
    std::vector<uint8_t> content;
    // Throws std::length_error for a negative size.
    content.reserve(static_cast<size_t>(size));
    Set(nodes.operation, "Open");
    Set(nodes.openMode, "Read");
    Execute(nodes.execute);
    Set(nodes.operation, "Read");
    if (!Transfer(nodes, size, content))
    {
        content.clear();
    }
    Set(nodes.operation, "Close");
    Execute(nodes.execute);
    return content;
}

bool FileAccess::Transfer(const Nodes &nodes, int64_t size, std::vector<uint8_t> &content) const
{
    const auto block = nodemap::GetBoundValue(m_port, m_parser, nodes.length.Max);
    if (size > 0 && block < 1)
    {
        // With blocks of no bytes, the loop would never end.
        throw GenTLException("Device transfers no file data!", GC_ERR_ERROR);
    }
    for (int64_t offset = 0; offset < size;)
    {
        const auto count = std::min(block, size - offset);
        nodemap::WriteInteger(m_port, nodes.offset, offset);
        nodemap::WriteInteger(m_port, nodes.length, count);
        Execute(nodes.execute);
        std::vector<uint8_t> bytes(static_cast<size_t>(count));
        size_t length = bytes.size();
        m_port.ReadRegisters(nodes.buffer.Address, bytes.data(), &length);
        if (nodemap::GetEnumEntry(m_port, m_parser, nodes.status) != "Success")
        {
            return false;
        }
        content.insert(content.end(), bytes.begin(), bytes.end());
        offset += count;
    }
    return true;
}

void FileAccess::Set(const nodemap::NodeInfo &enumeration, const std::string &entry) const
{
    nodemap::SetEnumEntry(m_port, m_parser, enumeration, entry);
}

void FileAccess::Execute(const nodemap::NodeInfo &command) const
{
    nodemap::WriteCommand(m_port, command, 1);
}

} // namespace GenTL::internal::utils
