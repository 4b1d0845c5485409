#pragma once

#include "vision_module/bilinear.h"
#include "vision_module/calibration.h"
#include "vision_module/handles.h"
#include "vision_module/image.h"
#include "vision_module/samples.h"
#include "vision_module/undistortion_map.h"

#include <memory>
#include <optional>

namespace tarn::vision
{

/// The part of the calibrated image that an image shows, and the binning of its pixels.
struct Geometry
{
    /// Pixels of the calibrated image per pixel.
    uint32_t binningX = 1;
    uint32_t binningY = 1;
    /// Position of the first pixel, in binned pixels.
    uint32_t x = 0;
    uint32_t y = 0;
    /// Size in binned pixels; the whole image when empty.
    std::optional<uint32_t> width;
    std::optional<uint32_t> height;
};

/// @throws Failure unless each value is a whole number within its range
Geometry GeometryOf(const Metadata &metadata);

enum class Interpolation
{
    Bilinear = 0,
    Nearest = 1
};

/// Removes lens distortion from images of one geometry.
class Undistortion
{
public:
    static constexpr Kind kind = Kind::Undistortion;

    /// @param camera the camera that describes the distorted images
    explicit Undistortion(const tarn_cvl_CalibrationParameters &camera) : m_camera(camera) {}

    /// @throws Failure with TARN_CVL_OUT_OF_RANGE
    void SetInterpolation(int32_t code);
    Interpolation GetInterpolation() const { return m_interpolation; }

    /// @throws Failure for a wrong format or size, or when the images overlap in memory
    void Process(const Image &source, Image &target);

private:
    void RequireImages(const Image &source, const Image &target) const;
    const NearestMap &Nearest();
    const BilinearMap &Bilinear();
    const BilinearBlocks &Blocks();
    const std::vector<uint64_t> &MaskOf(const Image &source);
    void TakeNearestOf(const Image &source, Image &target, uint32_t pixelBytes);
    void TakeBetween(const uint8_t *pixels, const Samples &samples, Image &target);

    tarn_cvl_CalibrationParameters m_camera;
    Interpolation m_interpolation = Interpolation::Bilinear;
    std::vector<uint64_t> m_mask; ///< scratch for the region of an image; kept to reuse its memory
    // Computed on first use.
    std::optional<NearestMap> m_nearest;
    std::optional<BilinearMap> m_bilinear;
    std::optional<BilinearBlocks> m_blocks;
};

/// @param adjusted out: the camera that describes undistorted images
/// @throws Failure for an invalid camera or an impossible geometry
std::shared_ptr<Undistortion> MakeUndistortion(const Geometry &geometry,
                                               const tarn_cvl_CalibrationParameters *camera,
                                               size_t cameraSize, void *adjusted);

} // namespace tarn::vision
