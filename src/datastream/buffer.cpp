#include "datastream/buffer.h"

#include "port/i_library.h"
#include "utils/checks.h"

#include <algorithm>

namespace GenTL::internal
{

namespace
{

[[noreturn]] void ThrowNotImplemented()
{
    throw GenTLException("Function not implemented", GC_ERR_NOT_IMPLEMENTED);
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

/// What a buffer answers without a frame; all other commands need one.
bool IsAnsweredAlways(BUFFER_INFO_CMD command)
{
    switch (command)
    {
    case BUFFER_INFO_BASE:
    case BUFFER_INFO_SIZE:
    case BUFFER_INFO_USER_PTR:
    case BUFFER_INFO_NEW_DATA:
    case BUFFER_INFO_IS_QUEUED:
    case BUFFER_INFO_IS_ACQUIRING:
    case BUFFER_INFO_IS_INCOMPLETE:
    case BUFFER_INFO_TLTYPE:
    case BUFFER_INFO_PAYLOADTYPE:
    case BUFFER_INFO_PIXEL_ENDIANNESS:
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return true;
    default:
        return false;
    }
}

} // namespace

Buffer::Buffer(ILibrary &library, void *memory, size_t size, void *userPointer)
    : m_library(&library), m_base(memory), m_size(size), m_userPointer(userPointer)
{
}

Buffer::Buffer(ILibrary &library, size_t size, void *userPointer)
    : m_library(&library), m_base(nullptr), m_size(size), m_userPointer(userPointer), m_ownMemory(size)
{
    if (!m_ownMemory.empty())
    {
        m_base = m_ownMemory.data();
    }
}

void Buffer::SetState(BufferState state)
{
    // Only the flags: a reused buffer keeps the other values of its last frame.
    if (state == BufferState::Input)
    {
        m_newData = false;
        m_complete = false;
    }
    m_state = state;
}

void Buffer::SetResult(bool complete, size_t sizeFilled, bool newData)
{
    m_complete = complete;
    {
        const utils::MutexLock lock(m_descriptionMutex);
        m_sizeFilled = sizeFilled;
    }
    m_newData = newData;
}

BufferMetadata Buffer::GetMetadata() const
{
    const utils::MutexLock lock(m_descriptionMutex);
    return m_metadata;
}

void Buffer::SetMetadata(const BufferMetadata &metadata)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_metadata = metadata;
}

void Buffer::SetParts(std::vector<BufferPartInfo> &&parts)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_parts = std::move(parts);
}

void Buffer::SetChunks(const std::vector<ChunkEntry> &chunks, size_t chunkPayloadSize, uint64_t chunkLayoutId)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_chunks = chunks;
    m_chunkPayloadSize = chunkPayloadSize;
    m_chunkLayoutId = chunkLayoutId;
}

void Buffer::DSGetBufferInfo(BUFFER_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                             size_t *piSize) const
{
    if (iInfoCmd < BUFFER_INFO_BASE || iInfoCmd > BUFFER_INFO_IS_COMPOSITE)
    {
        throw GenTLException(fmt::format("Info command {} not implemented.", iInfoCmd),
                             GC_ERR_NOT_IMPLEMENTED);
    }
    const utils::InfoQuery query{piType, pBuffer, piSize};
    if (IsAnsweredAlways(iInfoCmd))
    {
        return AnswerAlways(iInfoCmd, query);
    }
    if (!m_newData)
    {
        ThrowNotAvailable(iInfoCmd);
    }
    AnswerFrameInfo(iInfoCmd, query);
}

void Buffer::AnswerAlways(BUFFER_INFO_CMD iInfoCmd, const utils::InfoQuery &query) const
{
    switch (iInfoCmd)
    {
    case BUFFER_INFO_BASE:
        return query.AnswerPointer(m_base);
    case BUFFER_INFO_SIZE:
        return query.AnswerSize(m_size);
    case BUFFER_INFO_USER_PTR:
        return query.AnswerPointer(m_userPointer);
    case BUFFER_INFO_NEW_DATA:
        return query.AnswerBool(m_newData);
    case BUFFER_INFO_IS_QUEUED:
        return query.AnswerBool(m_state != BufferState::Announced);
    case BUFFER_INFO_IS_ACQUIRING:
        return query.AnswerBool(m_state == BufferState::Filling);
    case BUFFER_INFO_IS_INCOMPLETE:
        return query.AnswerBool(!m_complete);
    case BUFFER_INFO_TLTYPE:
        return utils::WriteStringInfo(m_library->GetTLType(), query);
    case BUFFER_INFO_PAYLOADTYPE:
        return query.AnswerSize(DSGetNumBufferParts() == 0 ? PAYLOAD_TYPE_IMAGE : PAYLOAD_TYPE_MULTI_PART);
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return query.AnswerInt32(PIXELENDIANNESS_LITTLE);
    default: // BUFFER_INFO_CONTAINS_CHUNKDATA
        return query.AnswerBool(HasChunks());
    }
}

void Buffer::AnswerFrameInfo(BUFFER_INFO_CMD iInfoCmd, const utils::InfoQuery &query) const
{
    const utils::MutexLock lock(m_descriptionMutex);
    switch (iInfoCmd)
    {
    case BUFFER_INFO_TIMESTAMP:
    case BUFFER_INFO_TIMESTAMP_NS:
        return query.AnswerUint64(Available(m_metadata.timestamp, iInfoCmd));
    case BUFFER_INFO_SIZE_FILLED:
        return query.AnswerSize(m_sizeFilled);
    case BUFFER_INFO_WIDTH:
        return query.AnswerSize(Available(m_metadata.width, iInfoCmd));
    case BUFFER_INFO_HEIGHT:
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return query.AnswerSize(Available(m_metadata.height, iInfoCmd));
    case BUFFER_INFO_XOFFSET:
        return query.AnswerSize(Available(m_metadata.xOffset, iInfoCmd));
    case BUFFER_INFO_YOFFSET:
        return query.AnswerSize(Available(m_metadata.yOffset, iInfoCmd));
    case BUFFER_INFO_XPADDING:
    case BUFFER_INFO_YPADDING:
    case BUFFER_INFO_IMAGEOFFSET:
        return query.AnswerSize(0);
    case BUFFER_INFO_FRAMEID:
        return query.AnswerUint64(m_metadata.frameId);
    case BUFFER_INFO_IMAGEPRESENT:
        return query.AnswerBool(true);
    case BUFFER_INFO_PIXELFORMAT:
        return query.AnswerUint64(Available(m_metadata.pixelFormat, iInfoCmd));
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return query.AnswerUint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
        return query.AnswerSize(m_chunkPayloadSize);
    case BUFFER_INFO_CHUNKLAYOUTID:
        return query.AnswerUint64(m_chunkLayoutId);
    case BUFFER_INFO_FILENAME:
        // Consumers compare with this text to learn that there is no file name.
        return utils::WriteStringInfo("TODO!", query);
    case BUFFER_INFO_DATA_SIZE:
        // The whole memory: consumers that size their copies by it rely on that.
        return query.AnswerSize(m_size);
    default: // BUFFER_INFO_DATA_LARGER_THAN_BUFFER, BUFFER_INFO_IS_COMPOSITE
        return query.AnswerBool(false);
    }
}

bool Buffer::HasChunks() const
{
    const utils::MutexLock lock(m_descriptionMutex);
    return !m_chunks.empty();
}

void Buffer::DSGetBufferChunkData(SINGLE_CHUNK_DATA *pChunkData, size_t *piNumChunks) const
{
    const utils::MutexLock lock(m_descriptionMutex);
    if (m_chunks.empty())
    {
        throw GenTLException("No chunks in the buffer", GC_ERR_NO_DATA);
    }
    utils::CheckNotNull("piNumChunks", piNumChunks);
    if (pChunkData != nullptr)
    {
        utils::CheckBufferSize(*piNumChunks, m_chunks.size());
        std::ranges::copy(m_chunks, pChunkData);
    }
    *piNumChunks = m_chunks.size();
}

uint32_t Buffer::DSGetNumBufferParts() const
{
    const utils::MutexLock lock(m_descriptionMutex);
    return static_cast<uint32_t>(m_parts.size());
}

void Buffer::DSGetBufferPartInfo(uint32_t iPartIndex, BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                 void *pBuffer, size_t *piSize) const
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    const utils::MutexLock lock(m_descriptionMutex);
    if (m_parts.empty())
    {
        throw GenTLException("No Parts in the buffer", GC_ERR_NO_DATA);
    }
    utils::CheckIndex(iPartIndex, m_parts.size());
    const auto &part = m_parts[iPartIndex];
    const utils::InfoQuery query{piType, pBuffer, piSize};
    switch (iInfoCmd)
    {
    case BUFFER_PART_INFO_BASE:
        return query.AnswerPointer(part.base);
    case BUFFER_PART_INFO_DATA_SIZE:
        return query.AnswerSize(part.size);
    case BUFFER_PART_INFO_DATA_TYPE:
        return query.AnswerSize(static_cast<size_t>(part.type));
    case BUFFER_PART_INFO_DATA_FORMAT:
        return query.AnswerUint64(Available(part.format, iInfoCmd));
    case BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE:
        return query.AnswerUint64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_PART_INFO_WIDTH:
        return query.AnswerSize(Available(part.width, iInfoCmd));
    case BUFFER_PART_INFO_HEIGHT:
    case BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT:
        return query.AnswerSize(Available(part.height, iInfoCmd));
    case BUFFER_PART_INFO_XOFFSET:
    case BUFFER_PART_INFO_YOFFSET:
    case BUFFER_PART_INFO_XPADDING:
        return query.AnswerSize(0);
    case BUFFER_PART_INFO_SOURCE_ID:
        return query.AnswerUint64(Available(part.sourceId, iInfoCmd));
    case BUFFER_PART_INFO_REGION_ID:
        throw GenTLException("Region not available", GC_ERR_NOT_AVAILABLE);
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        throw GenTLException("Data purpose ID not available", GC_ERR_NOT_AVAILABLE);
    default:
        ThrowNotImplemented();
    }
}

namespace
{

/// The code that a query of one stack entry gives.
template <typename Query>
GC_ERROR ResultOf(Query query)
{
    try
    {
        query();
        return GC_ERR_SUCCESS;
    }
    catch (const GenTLException &exception)
    {
        return exception.Code();
    }
}

} // namespace

// The entries are packed structs: their members are copied, never bound to a pointer.

void Buffer::DSGetBufferInfoStacked(DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos) const
{
    utils::CheckNotNull("pInfoStacked", pInfoStacked);
    utils::CheckNotZero("iNumInfos", iNumInfos);
    for (size_t i = 0; i < iNumInfos; ++i)
    {
        auto &entry = pInfoStacked[i];
        INFO_DATATYPE type = entry.iType;
        size_t size = entry.iSize;
        entry.iResult = ResultOf([&] { DSGetBufferInfo(entry.iInfoCmd, &type, entry.pBuffer, &size); });
        entry.iType = type;
        entry.iSize = size;
    }
}

void Buffer::DSGetBufferPartInfoStacked(DS_BUFFER_PART_INFO_STACKED *pInfoStacked, size_t iNumInfos) const
{
    utils::CheckNotNull("pInfoStacked", pInfoStacked);
    utils::CheckNotZero("iNumInfos", iNumInfos);
    for (size_t i = 0; i < iNumInfos; ++i)
    {
        auto &entry = pInfoStacked[i];
        INFO_DATATYPE type = entry.iType;
        size_t size = entry.iSize;
        entry.iResult = ResultOf(
            [&] { DSGetBufferPartInfo(entry.iPartIndex, entry.iInfoCmd, &type, entry.pBuffer, &size); });
        entry.iType = type;
        entry.iSize = size;
    }
}

void Buffer::GetPortURL(char *, size_t *piSize)
{
    utils::CheckNotNull("piSize", piSize);
    ThrowNotImplemented();
}

void Buffer::GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *piType, void *, size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    ThrowNotImplemented();
}

void Buffer::GetNumPortURLs(uint32_t *piNumURLs)
{
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 0;
}

void Buffer::GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *piType, void *, size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    ThrowNotImplemented();
}

void Buffer::ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    utils::CheckNotNull({{"pEntries", pEntries}, {"piNumEntries", piNumEntries}});
    ThrowNotImplemented();
}

void Buffer::WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    utils::CheckNotNull({{"pEntries", pEntries}, {"piNumEntries", piNumEntries}});
    ThrowNotImplemented();
}

void Buffer::ReadRegisters(uint64_t, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"pBuffer", pBuffer}, {"piSize", piSize}});
    ThrowNotImplemented();
}

void Buffer::WriteRegisters(uint64_t, const void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"pBuffer", pBuffer}, {"piSize", piSize}});
    ThrowNotImplemented();
}

} // namespace GenTL::internal
