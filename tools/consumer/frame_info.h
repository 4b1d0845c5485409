#pragma once

#include "consumer/features.h"
#include "consumer/info_answers.h"
#include "consumer/json.h"
#include "port/i_gentl_proxy.h"

#include <gentl/gentl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace gentlctl
{

// The producer's answers about a delivered buffer. A number without an answer is 0, an address null.

/// A part of a buffer.
struct PartInfo
{
    const uint8_t *base = nullptr;
    size_t size = 0;                 ///< bytes
    uint64_t dataType = 0;           ///< a PARTDATATYPE_ID
    uint64_t pixelFormat = 0;        ///< PFNC code
    size_t width = 0;                ///< pixels
    size_t height = 0;               ///< lines
    std::vector<InfoAnswer> answers; ///< to all commands
};

/// A delivered buffer. The memory is valid until the buffer is queued again.
struct FrameInfo
{
    GenTL::BUFFER_HANDLE buffer = nullptr;
    const uint8_t *base = nullptr;
    size_t size = 0;       ///< bytes of the memory
    size_t sizeFilled = 0; ///< bytes
    bool isIncomplete = false;
    uint64_t payloadType = 0;        ///< a PAYLOADTYPE_INFO_ID
    uint64_t pixelFormat = 0;        ///< PFNC code
    size_t width = 0;                ///< pixels
    size_t height = 0;               ///< lines
    size_t imageOffset = 0;          ///< bytes
    std::vector<InfoAnswer> answers; ///< to all commands
    std::vector<PartInfo> parts;
    Json chunks = Json::object(); ///< values of the features in the chunks, by name
};

/// The answer to a command as a number; none when it is something else.
std::optional<uint64_t> NumberFor(const FrameInfo &frame, GenTL::BUFFER_INFO_CMD command);

/// Whether a chunk lies in a buffer of so many bytes.
bool LiesWithin(const GenTL::SINGLE_CHUNK_DATA &chunk, uint64_t size);

/// @param remote features of the device, which give the chunks of a complete frame their meaning
FrameInfo ReadFrameInfo(GenTL::internal::IGenTLProxy &calls, GenTL::DS_HANDLE stream,
                        GenTL::BUFFER_HANDLE buffer, const Features &remote);

} // namespace gentlctl
