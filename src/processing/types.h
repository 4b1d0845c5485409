#pragma once

#include "common/pixel_format.h"

#include <gentl/gentl.h>

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// A component of a device's payload. Its entry in `ComponentSelector` and its part type are in brackets.
enum class Component : int32_t
{
    Image2D = 0,    ///< "Intensity", PART_DATATYPE_2D_IMAGE
    Image3D = 1,    ///< "Range", PART_DATATYPE_3D_IMAGE
    Confidence = 2, ///< "Confidence", PART_DATATYPE_CONFIDENCE_MAP
};

/// The enumerator's name; a value outside of the enumeration as a decimal number.
std::string ToString(Component component);

enum class Scan3dCoordinate : int32_t
{
    CoordinateA = 0,
    CoordinateB = 1,
    CoordinateC = 2,
};

/// "Scan3dCoordinate" and the letter, as in "Scan3dCoordinateA"; without a letter for any other value.
std::string ToString(Scan3dCoordinate coordinate);

/// Entries of the SFNC feature of this name, in its order.
enum class Scan3dOutputMode : int32_t
{
    UncalibratedC = 0,
    CalibratedABC_Grid = 1,
    CalibratedABC_PointCloud = 2,
    CalibratedAC = 3,
    CalibratedAC_Linescan = 4,
    CalibratedC = 5,
    CalibratedC_Linescan = 6,
    RectifiedC = 7,
    RectifiedC_Linescan = 8,
    DisparityC = 9,
    DisparityC_Linescan = 10,
};

/// The enumerator's name; a value outside of the enumeration as a decimal number.
std::string ToString(Scan3dOutputMode mode);

/// The mode of this name.
/// @throws std::out_of_range "unordered_map::at: key not found"
Scan3dOutputMode Scan3dOutputModeOf(const std::string &name);

/// Description of a frame.
struct BufferMetadata
{
    uint64_t frameId{}; ///< from 1 in each acquisition
    std::optional<uint64_t> timestamp{};
    std::optional<size_t> width{};  ///< pixels
    std::optional<size_t> height{}; ///< lines
    std::optional<size_t> xOffset{};
    std::optional<size_t> yOffset{};
    std::optional<uint64_t> pixelFormat{}; ///< PFNC code
};

/// Description of one part of a multi-part buffer.
struct BufferPartInfo
{
    uint8_t *base{};
    size_t size{};                    ///< bytes
    int32_t type{};                   ///< PARTDATATYPE_IDS
    std::optional<uint64_t> format{}; ///< PFNC code
    std::optional<size_t> width{};
    std::optional<size_t> height{};
    std::optional<uint64_t> sourceId{};
};

/// Copied to the consumer byte for byte: chunk id, offset, length.
using ChunkEntry = SINGLE_CHUNK_DATA;
static_assert(sizeof(ChunkEntry) == 24);

struct ChunkList
{
    uint64_t payloadSize{}; ///< delivered chunk payload, bytes
    uint64_t layoutId{};
    std::vector<ChunkEntry> entries{};
};

/// 3D values of the device; an absent one has no readable node.
struct Scan3dInfo
{
    std::optional<double> scan3dCoordinateScale;
    std::optional<double> scan3dAxisMax;
    std::optional<double> scan3dAxisMin;
    std::optional<double> scan3dCoordinateOffset;
    std::optional<double> scan3dInvalidDataValue;
    std::optional<bool> scan3dInvalidDataFlag;
};

/// One filled lower buffer, described and not owned.
struct InputData
{
    uint8_t *data{};
    uint64_t size{};                     ///< the buffer's whole memory, not the bytes delivered
    int32_t payloadType{};               ///< PAYLOADTYPE_INFO_IDS
    std::vector<BufferPartInfo> parts{}; ///< empty for a single image
    BufferMetadata attributes{};
    std::optional<ChunkList> chunks{}; ///< set when the buffer holds chunk data
};

/// What a task wrote into the consumer's buffer.
struct ProcessingResult
{
    uint64_t bytesWritten{};
    std::vector<BufferPartInfo> parts{}; ///< `base` points into the consumer's buffer
    BufferMetadata attributes{};
    std::optional<ChunkList> chunks{};
};

} // namespace GenTL::internal

template <>
struct fmt::formatter<GenTL::internal::Component> : fmt::formatter<std::string_view>
{
    template <typename Context>
    auto format(GenTL::internal::Component component, Context &context) const
    {
        return fmt::formatter<std::string_view>::format(GenTL::internal::ToString(component), context);
    }
};
