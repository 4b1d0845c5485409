#include "datastream/buffer.h"

#include "port/i_library.h"
#include "utils/checks.h"

#include <algorithm>
#include <span>
#include <utility>

namespace GenTL::internal
{

namespace
{

/// Answers entry by entry: query(entry, type, size). The entries are packed structs, so their members are
/// copied, never bound to a pointer.
template <typename Entry, typename Query>
void AnswerStacked(Entry *pInfoStacked, size_t iNumInfos, Query query)
{
    utils::CheckNotNull("pInfoStacked", pInfoStacked);
    utils::CheckNotZero("iNumInfos", iNumInfos);
    for (auto &entry : std::span(pInfoStacked, iNumInfos))
    {
        INFO_DATATYPE type = entry.iType;
        size_t size = entry.iSize;
        entry.iResult = ResultOf([&] { query(entry, &type, &size); });
        entry.iType = type;
        entry.iSize = size;
    }
}

} // namespace

Buffer::Buffer(ILibrary &library, void *memory, size_t size, void *userPointer, const BufferAnswers &answers,
               std::string tlType)
    : m_library(&library), m_base(memory), m_size(size), m_userPointer(userPointer),
      m_tlType(std::move(tlType)), m_answers(answers)
{
}

Buffer::Buffer(ILibrary &library, size_t size, void *userPointer, const BufferAnswers &answers,
               std::string tlType)
    : m_library(&library), m_base(nullptr), m_size(size), m_userPointer(userPointer),
      m_tlType(std::move(tlType)), m_answers(answers), m_ownMemory(size)
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
        m_frame.sizeFilled = sizeFilled;
    }
    m_newData = newData;
}

void Buffer::SetFrame(bool complete, FrameDescription &&frame)
{
    m_complete = complete;
    {
        const utils::MutexLock lock(m_descriptionMutex);
        m_frame = std::move(frame);
    }
    m_newData = true;
}

BufferMetadata Buffer::GetMetadata() const
{
    const utils::MutexLock lock(m_descriptionMutex);
    return m_frame.metadata;
}

void Buffer::SetMetadata(const BufferMetadata &metadata)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_frame.metadata = metadata;
}

void Buffer::SetParts(std::vector<BufferPartInfo> &&parts)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_frame.parts = std::move(parts);
}

void Buffer::SetChunks(const std::vector<ChunkEntry> &chunks, size_t chunkPayloadSize, uint64_t chunkLayoutId)
{
    const utils::MutexLock lock(m_descriptionMutex);
    m_frame.chunks = chunks;
    m_frame.chunkPayloadSize = chunkPayloadSize;
    m_frame.chunkLayoutId = chunkLayoutId;
}

void Buffer::DSGetBufferInfo(BUFFER_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                             size_t *piSize) const
{
    const auto answer = [&]
    {
        const utils::MutexLock lock(m_descriptionMutex);
        return AnswerBufferInfo(iInfoCmd, {.library = *m_library,
                                           .frame = m_frame,
                                           .base = m_base,
                                           .size = m_size,
                                           .userPointer = m_userPointer,
                                           .complete = m_complete,
                                           .newData = m_newData,
                                           .state = m_state,
                                           .passesLowerValues = m_answers.passesLowerValues,
                                           .tlType = m_tlType});
    };
    utils::WriteInfo(answer(), piType, pBuffer, piSize);
}

void Buffer::DSGetBufferChunkData(SINGLE_CHUNK_DATA *pChunkData, size_t *piNumChunks) const
{
    const utils::MutexLock lock(m_descriptionMutex);
    if (m_frame.chunks.empty())
    {
        throw GenTLException("No chunks in the buffer", GC_ERR_NO_DATA);
    }
    utils::CheckNotNull("piNumChunks", piNumChunks);
    if (pChunkData != nullptr)
    {
        utils::CheckBufferSize(*piNumChunks, m_frame.chunks.size());
        std::ranges::copy(m_frame.chunks, pChunkData);
    }
    *piNumChunks = m_frame.chunks.size();
}

uint32_t Buffer::DSGetNumBufferParts() const
{
    const utils::MutexLock lock(m_descriptionMutex);
    if (m_frame.parts.empty() && m_answers.partsOfSingleImage == PartsAnswer::NoData)
    {
        throw GenTLException("The buffer has a single image", GC_ERR_NO_DATA);
    }
    return static_cast<uint32_t>(m_frame.parts.size());
}

void Buffer::DSGetBufferPartInfo(uint32_t iPartIndex, BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                 void *pBuffer, size_t *piSize) const
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    const utils::MutexLock lock(m_descriptionMutex);
    if (m_frame.parts.empty())
    {
        throw GenTLException("No Parts in the buffer", GC_ERR_NO_DATA);
    }
    utils::CheckIndex(iPartIndex, m_frame.parts.size());
    utils::WriteInfo(AnswerPartInfo(iInfoCmd, m_frame.parts[iPartIndex], m_answers.passesLowerValues), piType,
                     pBuffer, piSize);
}

void Buffer::DSGetBufferInfoStacked(DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos) const
{
    AnswerStacked(pInfoStacked, iNumInfos,
                  [this](const DS_BUFFER_INFO_STACKED &entry, INFO_DATATYPE *type, size_t *size)
                  { DSGetBufferInfo(entry.iInfoCmd, type, entry.pBuffer, size); });
}

void Buffer::DSGetBufferPartInfoStacked(DS_BUFFER_PART_INFO_STACKED *pInfoStacked, size_t iNumInfos) const
{
    AnswerStacked(pInfoStacked, iNumInfos,
                  [this](const DS_BUFFER_PART_INFO_STACKED &entry, INFO_DATATYPE *type, size_t *size)
                  { DSGetBufferPartInfo(entry.iPartIndex, entry.iInfoCmd, type, entry.pBuffer, size); });
}

} // namespace GenTL::internal
