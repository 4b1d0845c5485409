#pragma once

#include "simulator/frames/frame.h"
#include "simulator/module/module.h"

#include <optional>

namespace GenTL::simulator
{

/// An announced buffer: memory, of the consumer or its own, and the description of the frame in it.
///
///     Idle --queue--> Queued --fill--> Filling --done--> Output --EventGetData--> Idle
///
/// A flush leads from Queued and Output to Idle, Queued or Output; Revoke leads from Idle to Revoked. Owned
/// by its stream, whose lock guards everything that is not constant.
class Buffer : public Module
{
public:
    enum class State
    {
        Idle,
        Queued,
        Filling,
        Output,
        Revoked
    };

    /// With a null `memory` the buffer allocates its memory.
    Buffer(HandleTable &handles, const void *stream, const Transport &transport, void *memory, size_t size,
           void *userPointer);

    std::span<uint8_t> Memory() const { return {static_cast<uint8_t *>(m_base), m_size}; }
    bool OwnsMemory() const { return m_own != nullptr; }
    void *Base() const { return m_base; }
    void *UserPointer() const { return m_userPointer; }
    const void *Stream() const { return m_stream; }

    State state = State::Idle;
    std::optional<Frame> frame; ///< the frame that filled it last; none after the buffer was queued

    /// @throws Error GC_ERR_NOT_AVAILABLE: the answer needs a frame, and there is none.
    Info GetInfo(BUFFER_INFO_CMD command) const;
    uint32_t NumParts() const;
    /// @throws Error GC_ERR_INVALID_INDEX: no such part.
    Info GetPartInfo(uint32_t index, BUFFER_PART_INFO_CMD command) const;
    /// The buffer is one segment.
    /// @throws Error GC_ERR_INVALID_INDEX: `index` is not 0.
    Info GetSegmentInfo(uint32_t index, SEGMENT_INFO_CMD command) const;
    /// A null `chunks` asks for the number alone.
    /// @throws Error GC_ERR_NO_DATA: the buffer holds no chunks.
    /// @throws Error GC_ERR_BUFFER_TOO_SMALL: there are more than `*count` chunks.
    void GetChunks(SINGLE_CHUNK_DATA *chunks, size_t *count) const;

private:
    bool IsAnsweredByFrame(BUFFER_INFO_CMD command) const;
    Info GetFrameInfo(BUFFER_INFO_CMD command) const;
    const Frame &RequireFrame() const;

    const void *m_stream;
    const Transport &m_transport;
    std::unique_ptr<uint8_t[]> m_own;
    void *m_base;
    size_t m_size;
    void *m_userPointer;
};

} // namespace GenTL::simulator
