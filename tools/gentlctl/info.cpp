#include "gentlctl/info.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace gentlctl
{
namespace
{

using namespace GenTL;

// The published names, told by the compiler from the enumerators themselves.
#define COMMAND(name)                                                                                        \
    InfoCommand                                                                                              \
    {                                                                                                        \
        name, #name                                                                                          \
    }

constexpr std::array<InfoCommand, 11> systemInfoCommands{
    COMMAND(TL_INFO_ID),
    COMMAND(TL_INFO_VENDOR),
    COMMAND(TL_INFO_MODEL),
    COMMAND(TL_INFO_VERSION),
    COMMAND(TL_INFO_TLTYPE),
    COMMAND(TL_INFO_NAME),
    COMMAND(TL_INFO_PATHNAME),
    COMMAND(TL_INFO_DISPLAYNAME),
    COMMAND(TL_INFO_CHAR_ENCODING),
    COMMAND(TL_INFO_GENTL_VER_MAJOR),
    COMMAND(TL_INFO_GENTL_VER_MINOR),
};

constexpr std::array<InfoCommand, 3> interfaceInfoCommands{
    COMMAND(INTERFACE_INFO_ID),
    COMMAND(INTERFACE_INFO_DISPLAYNAME),
    COMMAND(INTERFACE_INFO_TLTYPE),
};

constexpr std::array<InfoCommand, 10> deviceInfoCommands{
    COMMAND(DEVICE_INFO_ID),
    COMMAND(DEVICE_INFO_VENDOR),
    COMMAND(DEVICE_INFO_MODEL),
    COMMAND(DEVICE_INFO_TLTYPE),
    COMMAND(DEVICE_INFO_DISPLAYNAME),
    COMMAND(DEVICE_INFO_ACCESS_STATUS),
    COMMAND(DEVICE_INFO_USER_DEFINED_NAME),
    COMMAND(DEVICE_INFO_SERIAL_NUMBER),
    COMMAND(DEVICE_INFO_VERSION),
    COMMAND(DEVICE_INFO_TIMESTAMP_FREQUENCY),
};

constexpr std::array<InfoCommand, 16> streamInfoCommands{
    COMMAND(STREAM_INFO_ID),
    COMMAND(STREAM_INFO_NUM_DELIVERED),
    COMMAND(STREAM_INFO_NUM_UNDERRUN),
    COMMAND(STREAM_INFO_NUM_ANNOUNCED),
    COMMAND(STREAM_INFO_NUM_QUEUED),
    COMMAND(STREAM_INFO_NUM_AWAIT_DELIVERY),
    COMMAND(STREAM_INFO_NUM_STARTED),
    COMMAND(STREAM_INFO_PAYLOAD_SIZE),
    COMMAND(STREAM_INFO_IS_GRABBING),
    COMMAND(STREAM_INFO_DEFINES_PAYLOADSIZE),
    COMMAND(STREAM_INFO_TLTYPE),
    COMMAND(STREAM_INFO_NUM_CHUNKS_MAX),
    COMMAND(STREAM_INFO_BUF_ANNOUNCE_MIN),
    COMMAND(STREAM_INFO_BUF_ALIGNMENT),
    COMMAND(STREAM_INFO_FLOW_TABLE),
    COMMAND(STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR),
};

constexpr std::array<InfoCommand, 32> bufferInfoCommands{
    COMMAND(BUFFER_INFO_BASE),
    COMMAND(BUFFER_INFO_SIZE),
    COMMAND(BUFFER_INFO_USER_PTR),
    COMMAND(BUFFER_INFO_TIMESTAMP),
    COMMAND(BUFFER_INFO_NEW_DATA),
    COMMAND(BUFFER_INFO_IS_QUEUED),
    COMMAND(BUFFER_INFO_IS_ACQUIRING),
    COMMAND(BUFFER_INFO_IS_INCOMPLETE),
    COMMAND(BUFFER_INFO_TLTYPE),
    COMMAND(BUFFER_INFO_SIZE_FILLED),
    COMMAND(BUFFER_INFO_WIDTH),
    COMMAND(BUFFER_INFO_HEIGHT),
    COMMAND(BUFFER_INFO_XOFFSET),
    COMMAND(BUFFER_INFO_YOFFSET),
    COMMAND(BUFFER_INFO_XPADDING),
    COMMAND(BUFFER_INFO_YPADDING),
    COMMAND(BUFFER_INFO_FRAMEID),
    COMMAND(BUFFER_INFO_IMAGEPRESENT),
    COMMAND(BUFFER_INFO_IMAGEOFFSET),
    COMMAND(BUFFER_INFO_PAYLOADTYPE),
    COMMAND(BUFFER_INFO_PIXELFORMAT),
    COMMAND(BUFFER_INFO_PIXELFORMAT_NAMESPACE),
    COMMAND(BUFFER_INFO_DELIVERED_IMAGEHEIGHT),
    COMMAND(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE),
    COMMAND(BUFFER_INFO_CHUNKLAYOUTID),
    COMMAND(BUFFER_INFO_FILENAME),
    COMMAND(BUFFER_INFO_PIXEL_ENDIANNESS),
    COMMAND(BUFFER_INFO_DATA_SIZE),
    COMMAND(BUFFER_INFO_TIMESTAMP_NS),
    COMMAND(BUFFER_INFO_DATA_LARGER_THAN_BUFFER),
    COMMAND(BUFFER_INFO_CONTAINS_CHUNKDATA),
    COMMAND(BUFFER_INFO_IS_COMPOSITE),
};

constexpr std::array<InfoCommand, 14> bufferPartInfoCommands{
    COMMAND(BUFFER_PART_INFO_BASE),
    COMMAND(BUFFER_PART_INFO_DATA_SIZE),
    COMMAND(BUFFER_PART_INFO_DATA_TYPE),
    COMMAND(BUFFER_PART_INFO_DATA_FORMAT),
    COMMAND(BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE),
    COMMAND(BUFFER_PART_INFO_WIDTH),
    COMMAND(BUFFER_PART_INFO_HEIGHT),
    COMMAND(BUFFER_PART_INFO_XOFFSET),
    COMMAND(BUFFER_PART_INFO_YOFFSET),
    COMMAND(BUFFER_PART_INFO_XPADDING),
    COMMAND(BUFFER_PART_INFO_SOURCE_ID),
    COMMAND(BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT),
    COMMAND(BUFFER_PART_INFO_REGION_ID),
    COMMAND(BUFFER_PART_INFO_DATA_PURPOSE_ID),
};

constexpr std::array<InfoCommand, 13> portInfoCommands{
    COMMAND(PORT_INFO_ID),         COMMAND(PORT_INFO_VENDOR),      COMMAND(PORT_INFO_MODEL),
    COMMAND(PORT_INFO_TLTYPE),     COMMAND(PORT_INFO_MODULE),      COMMAND(PORT_INFO_LITTLE_ENDIAN),
    COMMAND(PORT_INFO_BIG_ENDIAN), COMMAND(PORT_INFO_ACCESS_READ), COMMAND(PORT_INFO_ACCESS_WRITE),
    COMMAND(PORT_INFO_ACCESS_NA),  COMMAND(PORT_INFO_ACCESS_NI),   COMMAND(PORT_INFO_VERSION),
    COMMAND(PORT_INFO_PORTNAME),
};

constexpr std::array<InfoCommand, 11> urlInfoCommands{
    COMMAND(URL_INFO_URL),
    COMMAND(URL_INFO_SCHEMA_VER_MAJOR),
    COMMAND(URL_INFO_SCHEMA_VER_MINOR),
    COMMAND(URL_INFO_FILE_VER_MAJOR),
    COMMAND(URL_INFO_FILE_VER_MINOR),
    COMMAND(URL_INFO_FILE_VER_SUBMINOR),
    COMMAND(URL_INFO_FILE_SHA1_HASH),
    COMMAND(URL_INFO_FILE_REGISTER_ADDRESS),
    COMMAND(URL_INFO_FILE_SIZE),
    COMMAND(URL_INFO_SCHEME),
    COMMAND(URL_INFO_FILENAME),
};

constexpr std::array<InfoCommand, 12> payloadTypes{
    COMMAND(PAYLOAD_TYPE_UNKNOWN),    COMMAND(PAYLOAD_TYPE_IMAGE),
    COMMAND(PAYLOAD_TYPE_RAW_DATA),   COMMAND(PAYLOAD_TYPE_FILE),
    COMMAND(PAYLOAD_TYPE_CHUNK_DATA), COMMAND(PAYLOAD_TYPE_JPEG),
    COMMAND(PAYLOAD_TYPE_JPEG2000),   COMMAND(PAYLOAD_TYPE_H264),
    COMMAND(PAYLOAD_TYPE_CHUNK_ONLY), COMMAND(PAYLOAD_TYPE_DEVICE_SPECIFIC),
    COMMAND(PAYLOAD_TYPE_MULTI_PART), COMMAND(PAYLOAD_TYPE_GENDC),
};

constexpr std::array<InfoCommand, 12> partDataTypes{
    COMMAND(PART_DATATYPE_UNKNOWN),
    COMMAND(PART_DATATYPE_2D_IMAGE),
    COMMAND(PART_DATATYPE_2D_PLANE_BIPLANAR),
    COMMAND(PART_DATATYPE_2D_PLANE_TRIPLANAR),
    COMMAND(PART_DATATYPE_2D_PLANE_QUADPLANAR),
    COMMAND(PART_DATATYPE_3D_IMAGE),
    COMMAND(PART_DATATYPE_3D_PLANE_BIPLANAR),
    COMMAND(PART_DATATYPE_3D_PLANE_TRIPLANAR),
    COMMAND(PART_DATATYPE_3D_PLANE_QUADPLANAR),
    COMMAND(PART_DATATYPE_CONFIDENCE_MAP),
    COMMAND(PART_DATATYPE_JPEG),
    COMMAND(PART_DATATYPE_JPEG2000),
};

#undef COMMAND

std::string NameIn(std::span<const InfoCommand> names, uint64_t number)
{
    const auto entry = std::ranges::find(names, static_cast<int32_t>(number), &InfoCommand::command);
    return entry != names.end() ? std::string(entry->name) : std::to_string(number);
}

template <typename T>
T Value(const std::vector<char> &bytes)
{
    T value{};
    std::memcpy(&value, bytes.data(), std::min(sizeof value, bytes.size()));
    return value;
}

Json Decode(INFO_DATATYPE type, const std::vector<char> &bytes)
{
    switch (type)
    {
    case INFO_DATATYPE_STRING:
        return std::string(bytes.data(), strnlen(bytes.data(), bytes.size()));
    case INFO_DATATYPE_INT16:
        return Value<int16_t>(bytes);
    case INFO_DATATYPE_UINT16:
        return Value<uint16_t>(bytes);
    case INFO_DATATYPE_INT32:
        return Value<int32_t>(bytes);
    case INFO_DATATYPE_UINT32:
        return Value<uint32_t>(bytes);
    case INFO_DATATYPE_INT64:
    case INFO_DATATYPE_PTRDIFF:
        return Value<int64_t>(bytes);
    case INFO_DATATYPE_UINT64:
    case INFO_DATATYPE_SIZET:
        return Value<uint64_t>(bytes);
    case INFO_DATATYPE_FLOAT64:
        return Value<double>(bytes);
    case INFO_DATATYPE_BOOL8:
        return Value<uint8_t>(bytes) != 0;
    case INFO_DATATYPE_PTR:
        return fmt::format("0x{:x}", Value<uint64_t>(bytes));
    default:
        return fmt::format("({} bytes)", bytes.size());
    }
}

} // namespace

std::span<const InfoCommand> SystemInfoCommands()
{
    return systemInfoCommands;
}

std::span<const InfoCommand> InterfaceInfoCommands()
{
    return interfaceInfoCommands;
}

std::span<const InfoCommand> DeviceInfoCommands()
{
    return deviceInfoCommands;
}

std::span<const InfoCommand> StreamInfoCommands()
{
    return streamInfoCommands;
}

std::span<const InfoCommand> BufferInfoCommands()
{
    return bufferInfoCommands;
}

std::span<const InfoCommand> BufferPartInfoCommands()
{
    return bufferPartInfoCommands;
}

std::span<const InfoCommand> PortInfoCommands()
{
    return portInfoCommands;
}

std::span<const InfoCommand> UrlInfoCommands()
{
    return urlInfoCommands;
}

std::string PayloadTypeName(uint64_t type)
{
    return NameIn(payloadTypes, type);
}

std::string PartDataTypeName(uint64_t type)
{
    return NameIn(partDataTypes, type);
}

Json Answer(const InfoQuery &query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    query(&type, nullptr, &size);
    std::vector<char> bytes(size);
    query(&type, bytes.data(), &size);
    bytes.resize(std::min(size, bytes.size()));
    return Decode(type, bytes);
}

std::optional<Json> TryAnswer(const InfoQuery &query)
{
    try
    {
        return Answer(query);
    }
    catch (const GenTL::internal::GenTLException &)
    {
        return std::nullopt;
    }
}

std::string TextAnswer(const InfoQuery &query)
{
    const auto answer = TryAnswer(query);
    return answer && answer->is_string() ? answer->get<std::string>() : std::string();
}

Json Answers(std::span<const InfoCommand> commands, const InfoFunction &function)
{
    auto answers = Json::object();
    for (const auto &command : commands)
    {
        try
        {
            answers[std::string(command.name)] = Answer([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                                        { function(command.command, type, buffer, size); });
        }
        catch (const GenTL::internal::GenTLException &exception)
        {
            answers[std::string(command.name)] = {{"error", exception.Code()}, {"text", exception.what()}};
        }
    }
    return answers;
}

} // namespace gentlctl
