#pragma once

#include "datastream/buffer_info.h"
#include "datastream/port_without_registers.h"
#include "profile/profile.h"
#include "utils/mutex.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace GenTL::internal
{

class ILibrary;

/// Where a consumer buffer is. This is the only record of queue membership.
///
///                    queue                 taken by the thread
///     Announced ----------------> Input ------------------------> Filling
///         ^ ^                       | |                             | |
///         | +--------- discard -----+ |                             | |
///         | +--------- discard -------|-----------------------------+ |
///         |                           +- flush to output -+           | push
///         |     EventGetData, discard                     v           v
///         +----------------------------------------------- Output <---+
///
/// Two steps are not drawn. A flush with ACQ_QUEUE_ALL_TO_INPUT moves a buffer from any state to Input. A
/// stop moves a buffer that is still in Filling back to Input, or with ACQ_STOP_FLAGS_KILL to Output.
enum class BufferState : int32_t
{
    Announced = 0, ///< known to the stream, not queued; owned by the consumer
    Input = 1,     ///< queued, free to be filled
    Filling = 2,   ///< taken by the acquisition thread
    Output = 3,    ///< pushed; waits for EventGetData
};

/// One consumer buffer, the object behind a BUFFER_HANDLE: memory, the description of its last frame, and the
/// answers to all buffer queries. It never talks to the lower producer.
///
/// Made by the stream when it is announced; the stream and the Buffer registry own it until it is revoked.
///
/// State and flags are atomic. The acquisition thread writes the description of the frame while the buffer is
/// in Filling, and a consumer reads it after EventGetData. A consumer that asks earlier may get values of two
/// frames; the lock makes even this read safe.
class Buffer final : public PortWithoutRegisters
{
public:
    /// Uses memory of the consumer, which must outlive the buffer.
    /// @param tlType the transport layer type of the device; empty: that of the library
    Buffer(ILibrary &library, void *memory, size_t size, void *userPointer, const BufferAnswers &answers = {},
           std::string tlType = {});
    /// Allocates its memory, filled with zeros.
    Buffer(ILibrary &library, size_t size, void *userPointer, const BufferAnswers &answers = {},
           std::string tlType = {});

    BufferState GetState() const { return m_state; }
    size_t GetSize() const { return m_size; }
    void *GetBase() const { return m_base; }
    void *GetUserPointer() const { return m_userPointer; }
    BufferMetadata GetMetadata() const;
    bool OwnsMemory() const { return !m_ownMemory.empty(); }
    bool IsComplete() const { return m_complete; }

    /// A move to Input clears the flags of the last frame: complete and new data.
    void SetState(BufferState state);
    void SetResult(bool complete, size_t sizeFilled, bool newData);
    /// Replaces all that describes the last frame.
    void SetFrame(bool complete, FrameDescription &&frame);
    void SetMetadata(const BufferMetadata &metadata);
    void SetParts(std::vector<BufferPartInfo> &&parts);
    void SetChunks(const std::vector<ChunkEntry> &chunks, size_t chunkPayloadSize, uint64_t chunkLayoutId);

    /// @throws GenTLException GC_ERR_NOT_IMPLEMENTED for an unknown command, GC_ERR_NOT_AVAILABLE for a value
    /// that the last frame lacks. Both take precedence over an error for a null argument.
    void DSGetBufferInfo(BUFFER_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                         size_t *piSize) const;
    /// @throws GenTLException GC_ERR_NO_DATA without chunks, even when an argument is null
    void DSGetBufferChunkData(SINGLE_CHUNK_DATA *pChunkData, size_t *piNumChunks) const;
    /// The number of parts; a single image has none.
    /// @throws GenTLException GC_ERR_NO_DATA for a single image, with PartsAnswer::NoData
    uint32_t DSGetNumBufferParts() const;
    void DSGetBufferPartInfo(uint32_t iPartIndex, BUFFER_PART_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                             void *pBuffer, size_t *piSize) const;
    /// Stores the code of a failing entry in that entry and goes on with the next one.
    /// @throws any exception of an entry that is not a GenTLException; later entries are not answered then
    void DSGetBufferInfoStacked(DS_BUFFER_INFO_STACKED *pInfoStacked, size_t iNumInfos) const;
    void DSGetBufferPartInfoStacked(DS_BUFFER_PART_INFO_STACKED *pInfoStacked, size_t iNumInfos) const;

    ModuleType GetModuleType() const override { return ModuleType::Buffer; }

private:
    ILibrary *m_library;
    void *m_base;
    size_t m_size;
    void *m_userPointer;
    std::string m_tlType;
    BufferAnswers m_answers;
    std::vector<uint8_t> m_ownMemory; ///< empty for consumer memory
    std::atomic<bool> m_complete = false;
    std::atomic<bool> m_newData = false;
    std::atomic<BufferState> m_state = BufferState::Announced;

    mutable utils::Mutex m_descriptionMutex;
    FrameDescription m_frame QVR_GUARDED_BY(m_descriptionMutex);
};

} // namespace GenTL::internal
