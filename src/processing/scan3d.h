#pragma once

#include "common/pixel_format.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

enum class Scan3dCoordinate : int32_t
{
    CoordinateA = 0,
    CoordinateB = 1,
    CoordinateC = 2,
};

/// "Scan3dCoordinate" and the letter, as in "Scan3dCoordinateA"; without a letter for any other value.
std::string ToString(Scan3dCoordinate coordinate);

/// The coordinate that an entry of Scan3dCoordinateSelector names; none for an unknown entry.
std::optional<Scan3dCoordinate> Scan3dCoordinateOf(std::string_view entry);

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

/// What the processing does with depth in an output mode.
struct OutputModeTraits
{
    Scan3dOutputMode mode{};
    bool isRaw = false;   ///< the device's values pass through
    bool hasGrid = false; ///< a point has the coordinates A and B
    /// The format of the depth that comes out. None: the device's format, which must not be floats then.
    std::optional<tarn::common::PixelFormat> makes{};
};

/// The modes that the processing implements.
inline constexpr std::array<OutputModeTraits, 3> outputModes{
    {{.mode = Scan3dOutputMode::UncalibratedC, .isRaw = true},
     {.mode = Scan3dOutputMode::CalibratedC, .makes = tarn::common::PixelFormat::Coord3D_C32f},
     {.mode = Scan3dOutputMode::CalibratedABC_Grid,
      .hasGrid = true,
      .makes = tarn::common::PixelFormat::Coord3D_ABC32f}}};

/// The row of a mode. A mode without a row is not raw, has no grid and makes no format of its own.
OutputModeTraits TraitsOf(Scan3dOutputMode mode);

/// The row of the mode that an entry of Scan3dOutputMode names; null for a mode that the processing does not
/// make.
const OutputModeTraits *MadeOutputMode(std::string_view entry);

/// Whether a mode makes depth of this format.
bool IsMadeByOutputMode(tarn::common::PixelFormat format);

/// What the device's offset does to calibrated depth.
enum class DepthOffset : uint8_t
{
    LeftOut, ///< depth is raw * scale, while its limits include scale * offset
    Added    ///< depth is raw * scale + offset, as SFNC defines it
};

/// 3D values of the device. A value is absent when its node is missing or not readable.
struct Scan3dInfo
{
    std::optional<double> scan3dCoordinateScale;
    std::optional<double> scan3dAxisMax;
    std::optional<double> scan3dAxisMin;
    std::optional<double> scan3dCoordinateOffset;
    std::optional<double> scan3dInvalidDataValue;
    std::optional<bool> scan3dInvalidDataFlag;
};

} // namespace GenTL::internal
