#pragma once

#include "processing/frame.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "support/typed_answer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// Filled buffers of a lower stream, by handle. A command without an answer fails as not available.
///
/// Serve makes it answer the buffer queries of a lower producer; it must then outlive the lower producer's
/// use. Fill it before other threads query it.
class FakeLowerBuffers
{
public:
    struct Frame
    {
        std::map<int32_t, TypedAnswer> infos;
        std::vector<std::map<int32_t, TypedAnswer>> parts;
        std::vector<ChunkEntry> chunks;
    };

    DS_HANDLE stream = LowerHandle(0x20);
    std::map<void *, Frame> frames;

    /// Adds a complete single image in the given memory.
    Frame &AddImage(BUFFER_HANDLE handle, void *base, size_t size)
    {
        auto &frame = frames[handle];
        frame.infos = {{BUFFER_INFO_BASE, TypedAnswer::Pointer(base)},
                       {BUFFER_INFO_SIZE, TypedAnswer::Size(size)},
                       {BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(PAYLOAD_TYPE_IMAGE)},
                       {BUFFER_INFO_PIXELFORMAT, TypedAnswer::Uint64(0x01080001)},
                       {BUFFER_INFO_WIDTH, TypedAnswer::Size(640)},
                       {BUFFER_INFO_HEIGHT, TypedAnswer::Size(480)},
                       {BUFFER_INFO_XOFFSET, TypedAnswer::Size(16)},
                       {BUFFER_INFO_YOFFSET, TypedAnswer::Size(24)},
                       {BUFFER_INFO_CONTAINS_CHUNKDATA, TypedAnswer::Bool(false)},
                       {BUFFER_INFO_IS_INCOMPLETE, TypedAnswer::Bool(false)},
                       {BUFFER_INFO_TIMESTAMP, TypedAnswer::Uint64(123)},
                       {BUFFER_INFO_FRAMEID, TypedAnswer::Uint64(456)}};
        return frame;
    }

    /// All queries, in their order: "info 19", "parts", "part 0 5", "count chunks", "chunks".
    std::vector<std::string> Asked() const
    {
        const std::lock_guard guard(m_lock);
        return m_asked;
    }

    void ForgetAsked()
    {
        const std::lock_guard guard(m_lock);
        m_asked.clear();
    }

    void Serve(FakeGenTLProxy &proxy)
    {
        proxy.onDSGetBufferInfo = [this](DS_HANDLE from, BUFFER_HANDLE handle, BUFFER_INFO_CMD command,
                                         INFO_DATATYPE *type, void *buffer, size_t *size)
        {
            Record(fmt::format("info {}", command));
            Answer(FrameOf(from, handle).infos, command, type, buffer, size);
            return GC_ERR_SUCCESS;
        };
        proxy.onDSGetNumBufferParts = [this](DS_HANDLE from, BUFFER_HANDLE handle, uint32_t *count)
        {
            Record("parts");
            const auto &parts = FrameOf(from, handle).parts;
            if (parts.empty())
            {
                LowerFailure(GC_ERR_NO_DATA, "no parts");
            }
            *count = static_cast<uint32_t>(parts.size());
            return GC_ERR_SUCCESS;
        };
        proxy.onDSGetBufferPartInfo = [this](DS_HANDLE from, BUFFER_HANDLE handle, uint32_t index,
                                             BUFFER_PART_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                                             size_t *size)
        {
            Record(fmt::format("part {} {}", index, command));
            Answer(FrameOf(from, handle).parts.at(index), command, type, buffer, size);
            return GC_ERR_SUCCESS;
        };
        proxy.onDSGetBufferChunkData =
            [this](DS_HANDLE from, BUFFER_HANDLE handle, SINGLE_CHUNK_DATA *entries, size_t *count)
        {
            Record(entries == nullptr ? "count chunks" : "chunks");
            const auto &chunks = FrameOf(from, handle).chunks;
            if (chunks.empty())
            {
                LowerFailure(GC_ERR_NO_DATA, "no chunks");
            }
            if (entries != nullptr)
            {
                std::copy_n(chunks.begin(), std::min(*count, chunks.size()), entries);
            }
            *count = chunks.size();
            return GC_ERR_SUCCESS;
        };
    }

private:
    const Frame &FrameOf(DS_HANDLE from, BUFFER_HANDLE handle) const
    {
        const auto entry = frames.find(handle);
        if (from != stream || entry == frames.end())
        {
            LowerFailure(GC_ERR_INVALID_HANDLE, "no such buffer");
        }
        return entry->second;
    }

    static void Answer(const std::map<int32_t, TypedAnswer> &infos, int32_t command, INFO_DATATYPE *type,
                       void *buffer, size_t *size)
    {
        const auto entry = infos.find(command);
        if (entry == infos.end())
        {
            LowerFailure(GC_ERR_NOT_AVAILABLE, fmt::format("no {}", command));
        }
        const auto &answer = entry->second;
        if (*size != answer.bytes.size())
        {
            LowerFailure(GC_ERR_BUFFER_TOO_SMALL, fmt::format("wrong size for {}", command));
        }
        *type = answer.type;
        std::memcpy(buffer, answer.bytes.data(), answer.bytes.size());
    }

    void Record(std::string query)
    {
        const std::lock_guard guard(m_lock);
        m_asked.push_back(std::move(query));
    }

    mutable std::mutex m_lock;
    std::vector<std::string> m_asked;
};

} // namespace GenTL::internal
