#include "simulator/info.h"

#include <cstring>

namespace GenTL::simulator
{

namespace
{

template <typename T>
Info Plain(INFO_DATATYPE type, T value)
{
    return {type, std::string(reinterpret_cast<const char *>(&value), sizeof value)};
}

void WriteBytes(const std::string &bytes, void *buffer, size_t *size)
{
    if (buffer != nullptr)
    {
        if (*size < bytes.size())
        {
            throw Error(GC_ERR_BUFFER_TOO_SMALL, "Buffer of {} bytes is too small, {} are needed", *size,
                        bytes.size());
        }
        std::memcpy(buffer, bytes.data(), bytes.size());
    }
    *size = bytes.size();
}

} // namespace

Info Info::Text(const std::string &text)
{
    return {INFO_DATATYPE_STRING, std::string(text.c_str(), text.size() + 1)};
}

Info Info::Int32(int32_t value)
{
    return Plain(INFO_DATATYPE_INT32, value);
}

Info Info::UInt32(uint32_t value)
{
    return Plain(INFO_DATATYPE_UINT32, value);
}

Info Info::UInt64(uint64_t value)
{
    return Plain(INFO_DATATYPE_UINT64, value);
}

Info Info::Size(size_t value)
{
    return Plain(INFO_DATATYPE_SIZET, value);
}

Info Info::Bool(bool value)
{
    return Plain(INFO_DATATYPE_BOOL8, static_cast<bool8_t>(value ? 1 : 0));
}

Info Info::Pointer(const void *value)
{
    return Plain(INFO_DATATYPE_PTR, value);
}

Info Info::Bytes(std::string value)
{
    return {INFO_DATATYPE_BUFFER, std::move(value)};
}

void WriteInfo(const Info &info, INFO_DATATYPE *type, void *buffer, size_t *size)
{
    RequireNotNull(type, "piType");
    RequireNotNull(size, "piSize");
    WriteBytes(info.bytes, buffer, size);
    *type = info.type;
}

void WriteText(const std::string &text, char *buffer, size_t *size)
{
    RequireNotNull(size, "piSize");
    WriteBytes(std::string(text.c_str(), text.size() + 1), buffer, size);
}

void UnknownCommand(int32_t command)
{
    throw Error(GC_ERR_NOT_IMPLEMENTED, "Command {} is not implemented", command);
}

} // namespace GenTL::simulator
