#include "datastream/buffer_info.h"

#include "datastream/buffer.h"
#include "port/i_library.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>

namespace GenTL::internal
{

namespace
{

using utils::Info;

/// The answer to a command; none when the frame lacks the value.
using Answer = std::optional<Info>;
using Facts = const BufferFacts &;

enum class Needs
{
    Nothing,
    Frame, ///< not available before a frame has filled the buffer
};

struct KnownQuery
{
    template <typename Ask>
    constexpr KnownQuery(BUFFER_INFO_CMD_LIST known, Needs what, Ask)
        : command(known), needs(what), answer([](Facts facts) -> Answer { return Ask{}(facts); })
    {
    }

    BUFFER_INFO_CMD command;
    Needs needs;
    Answer (*answer)(Facts);
};

template <typename T>
Answer Told(const std::optional<T> &value, Info (*make)(T))
{
    return value ? Answer(make(*value)) : Answer();
}

Info PayloadTypeOf(const FrameDescription &frame)
{
    return Info::Size(frame.parts.empty() ? PAYLOAD_TYPE_IMAGE : PAYLOAD_TYPE_MULTI_PART);
}

Answer Timestamp(Facts buffer)
{
    return Told(buffer.frame.metadata.timestamp, Info::Uint64);
}

Answer Height(Facts buffer)
{
    return Told(buffer.frame.metadata.height, Info::Size);
}

/// The commands that a buffer answers. Any other one fails.
constexpr std::array knownQueries{
    KnownQuery{BUFFER_INFO_BASE, Needs::Nothing, [](Facts b) { return Info::Pointer(b.base); }},
    KnownQuery{BUFFER_INFO_SIZE, Needs::Nothing, [](Facts b) { return Info::Size(b.size); }},
    KnownQuery{BUFFER_INFO_USER_PTR, Needs::Nothing, [](Facts b) { return Info::Pointer(b.userPointer); }},
    KnownQuery{BUFFER_INFO_TIMESTAMP, Needs::Frame, [](Facts b) { return Timestamp(b); }},
    KnownQuery{BUFFER_INFO_NEW_DATA, Needs::Nothing, [](Facts b) { return Info::Bool(b.newData); }},
    KnownQuery{BUFFER_INFO_IS_QUEUED, Needs::Nothing,
               [](Facts b) { return Info::Bool(b.state != BufferState::Announced); }},
    KnownQuery{BUFFER_INFO_IS_ACQUIRING, Needs::Nothing,
               [](Facts b) { return Info::Bool(b.state == BufferState::Filling); }},
    KnownQuery{BUFFER_INFO_IS_INCOMPLETE, Needs::Nothing, [](Facts b) { return Info::Bool(!b.complete); }},
    KnownQuery{BUFFER_INFO_TLTYPE, Needs::Nothing,
               [](Facts b)
               { return Info::Text(b.tlType.empty() ? b.library.GetTLType() : std::string(b.tlType)); }},
    KnownQuery{BUFFER_INFO_SIZE_FILLED, Needs::Frame, [](Facts b) { return Info::Size(b.frame.sizeFilled); }},
    KnownQuery{BUFFER_INFO_WIDTH, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.width, Info::Size); }},
    KnownQuery{BUFFER_INFO_HEIGHT, Needs::Frame, [](Facts b) { return Height(b); }},
    KnownQuery{BUFFER_INFO_XOFFSET, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.xOffset, Info::Size); }},
    KnownQuery{BUFFER_INFO_YOFFSET, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.yOffset, Info::Size); }},
    KnownQuery{BUFFER_INFO_XPADDING, Needs::Frame, [](Facts) { return Info::Size(0); }},
    KnownQuery{BUFFER_INFO_YPADDING, Needs::Frame, [](Facts) { return Info::Size(0); }},
    KnownQuery{BUFFER_INFO_FRAMEID, Needs::Frame,
               [](Facts b) { return Info::Uint64(b.frame.metadata.frameId); }},
    KnownQuery{BUFFER_INFO_IMAGEPRESENT, Needs::Frame, [](Facts) { return Info::Bool(true); }},
    KnownQuery{BUFFER_INFO_IMAGEOFFSET, Needs::Frame, [](Facts) { return Info::Size(0); }},
    KnownQuery{BUFFER_INFO_PAYLOADTYPE, Needs::Nothing, [](Facts b) { return PayloadTypeOf(b.frame); }},
    KnownQuery{BUFFER_INFO_PIXELFORMAT, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.pixelFormat, Info::Uint64); }},
    KnownQuery{BUFFER_INFO_PIXELFORMAT_NAMESPACE, Needs::Frame,
               [](Facts) { return Info::Uint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT); }},
    KnownQuery{BUFFER_INFO_DELIVERED_IMAGEHEIGHT, Needs::Frame, [](Facts b) { return Height(b); }},
    KnownQuery{BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, Needs::Frame,
               [](Facts b) { return Info::Size(b.frame.chunkPayloadSize); }},
    KnownQuery{BUFFER_INFO_CHUNKLAYOUTID, Needs::Frame,
               [](Facts b) { return Info::Uint64(b.frame.chunkLayoutId); }},
    // C-14: not the name of a file.
    KnownQuery{BUFFER_INFO_FILENAME, Needs::Frame, [](Facts) { return Info::Text("TODO!"); }},
    KnownQuery{BUFFER_INFO_PIXEL_ENDIANNESS, Needs::Nothing,
               [](Facts) { return Info::Int32(PIXELENDIANNESS_LITTLE); }},
    // C-15: the size of the whole memory, not of the delivered data.
    KnownQuery{BUFFER_INFO_DATA_SIZE, Needs::Frame, [](Facts b) { return Info::Size(b.size); }},
    KnownQuery{BUFFER_INFO_TIMESTAMP_NS, Needs::Frame, [](Facts b) { return Timestamp(b); }},
    KnownQuery{BUFFER_INFO_DATA_LARGER_THAN_BUFFER, Needs::Frame, [](Facts) { return Info::Bool(false); }},
    KnownQuery{BUFFER_INFO_CONTAINS_CHUNKDATA, Needs::Nothing,
               [](Facts b) { return Info::Bool(!b.frame.chunks.empty()); }},
    KnownQuery{BUFFER_INFO_IS_COMPOSITE, Needs::Frame, [](Facts) { return Info::Bool(false); }},
};

Answer PassedNamespace(const std::optional<uint64_t> &format, const std::optional<uint64_t> &numbering)
{
    // Old producers know the format and not its namespace.
    return format ? Answer(Info::Uint64(numbering.value_or(PIXELFORMAT_NAMESPACE_PFNC_32BIT))) : Answer();
}

Answer PassedFileName(Facts buffer)
{
    const auto &name = buffer.frame.metadata.fileName;
    return name ? Answer(Info::Text(*name)) : Answer();
}

/// The commands that are answered with values of the lower producer, instead of those above.
constexpr std::array passedQueries{
    KnownQuery{BUFFER_INFO_XPADDING, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.xPadding, Info::Size); }},
    KnownQuery{BUFFER_INFO_YPADDING, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.yPadding, Info::Size); }},
    KnownQuery{BUFFER_INFO_IMAGEOFFSET, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.imageOffset, Info::Size); }},
    KnownQuery{BUFFER_INFO_IMAGEPRESENT, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.isImagePresent, Info::Bool); }},
    KnownQuery{BUFFER_INFO_PAYLOADTYPE, Needs::Nothing,
               [](Facts b)
               {
                   const auto &type = b.frame.metadata.payloadType;
                   return type ? Info::Size(*type) : PayloadTypeOf(b.frame);
               }},
    KnownQuery{BUFFER_INFO_PIXELFORMAT_NAMESPACE, Needs::Frame,
               [](Facts b) {
                   return PassedNamespace(b.frame.metadata.pixelFormat,
                                          b.frame.metadata.pixelFormatNamespace);
               }},
    KnownQuery{BUFFER_INFO_DELIVERED_IMAGEHEIGHT, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.deliveredImageHeight, Info::Size); }},
    KnownQuery{BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.chunkPayloadSize, Info::Size); }},
    KnownQuery{BUFFER_INFO_CHUNKLAYOUTID, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.chunkLayoutId, Info::Uint64); }},
    KnownQuery{BUFFER_INFO_FILENAME, Needs::Frame, [](Facts b) { return PassedFileName(b); }},
    KnownQuery{BUFFER_INFO_PIXEL_ENDIANNESS, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.pixelEndianness, Info::Int32); }},
    KnownQuery{BUFFER_INFO_DATA_SIZE, Needs::Frame, [](Facts b) { return Info::Size(b.frame.dataSize); }},
    KnownQuery{BUFFER_INFO_TIMESTAMP_NS, Needs::Frame,
               [](Facts b) { return Told(b.frame.metadata.timestampNs, Info::Uint64); }},
    KnownQuery{BUFFER_INFO_DATA_LARGER_THAN_BUFFER, Needs::Frame,
               [](Facts b) { return Info::Bool(b.frame.isLargerThanBuffer); }},
    KnownQuery{BUFFER_INFO_CONTAINS_CHUNKDATA, Needs::Nothing,
               [](Facts b) {
                   return Info::Bool(b.newData &&
                                     b.frame.metadata.hasChunks.value_or(!b.frame.chunks.empty()));
               }},
};

/// Null for a command that is not in the lists of queries.
const KnownQuery *FindQuery(BUFFER_INFO_CMD command, bool passesLowerValues)
{
    if (passesLowerValues)
    {
        const auto *const passed = std::ranges::find(passedQueries, command, &KnownQuery::command);
        if (passed != passedQueries.end())
        {
            return passed;
        }
    }
    const auto *const known = std::ranges::find(knownQueries, command, &KnownQuery::command);
    return known != knownQueries.end() ? known : nullptr;
}

[[noreturn]] void ThrowNotAvailable(int32_t command)
{
    throw GenTLException(fmt::format("The information {} is currently not available.", command),
                         GC_ERR_NOT_AVAILABLE);
}

template <typename T>
T Available(const std::optional<T> &value, int32_t command)
{
    if (!value)
    {
        ThrowNotAvailable(command);
    }
    return *value;
}

/// Answers from a part that was read in full.
Answer PassedPartInfo(BUFFER_PART_INFO_CMD command, const BufferPartInfo &part)
{
    switch (command)
    {
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        return PassedNamespace(part.format, part.formatNamespace);
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
        return Told(part.deliveredImageHeight, Info::Size);
    case BUFFER_PART_INFO_XOFFSET:
        return Told(part.xOffset, Info::Size);
    case BUFFER_PART_INFO_YOFFSET:
        return Told(part.yOffset, Info::Size);
    case BUFFER_PART_INFO_XPADDING:
        return Told(part.xPadding, Info::Size);
    case BUFFER_PART_INFO_REGION_ID:
        return Told(part.regionId, Info::Uint64);
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        return Told(part.purposeId, Info::Uint64);
    default:
        return AnswerPartInfo(command, part);
    }
}

} // namespace

utils::Info AnswerBufferInfo(BUFFER_INFO_CMD command, const BufferFacts &facts)
{
    const auto *const query = FindQuery(command, facts.passesLowerValues);
    if (query == nullptr)
    {
        throw GenTLException(fmt::format("Info command {} not implemented.", command),
                             GC_ERR_NOT_IMPLEMENTED);
    }
    if (query->needs == Needs::Frame && !facts.newData)
    {
        ThrowNotAvailable(command);
    }
    return Available(query->answer(facts), command);
}

utils::Info AnswerPartInfo(BUFFER_PART_INFO_CMD command, const BufferPartInfo &part, bool passesLowerValues)
{
    if (passesLowerValues)
    {
        return Available(PassedPartInfo(command, part), command);
    }
    switch (command)
    {
    case BUFFER_PART_INFO_BASE:
        return Info::Pointer(part.base);
    case BUFFER_PART_INFO_DATA_SIZE:
        return Info::Size(part.size);
    case BUFFER_PART_INFO_DATA_TYPE:
        return Info::Size(static_cast<size_t>(part.type));
    case BUFFER_PART_INFO_DATA_FORMAT:
        return Info::Uint64(Available(part.format, command));
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        return Info::Uint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_PART_INFO_WIDTH:
        return Info::Size(Available(part.width, command));
    case BUFFER_PART_INFO_HEIGHT:
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
        return Info::Size(Available(part.height, command));
    case BUFFER_PART_INFO_XOFFSET:
    case BUFFER_PART_INFO_YOFFSET:
    case BUFFER_PART_INFO_XPADDING:
        return Info::Size(0);
    case BUFFER_PART_INFO_SOURCE_ID:
        return Info::Uint64(Available(part.sourceId, command));
    case BUFFER_PART_INFO_REGION_ID:
        throw GenTLException("Region not available", GC_ERR_NOT_AVAILABLE);
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        throw GenTLException("Data purpose ID not available", GC_ERR_NOT_AVAILABLE);
    default:
        throw GenTLException("Function not implemented", GC_ERR_NOT_IMPLEMENTED);
    }
}

} // namespace GenTL::internal
