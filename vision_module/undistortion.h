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

/// Which part of the calibrated image an image shows, and how large its pixels are.
struct Geometry
{
    /// Pixels of the calibrated image that make one.
    uint32_t binningX = 1;
    uint32_t binningY = 1;
    /// The first pixel, counted after binning.
    uint32_t x = 0;
    uint32_t y = 0;
    /// Pixels; all that there are after binning when empty.
    std::optional<uint32_t> width;
    std::optional<uint32_t> height;
};

/// @throws Failure for values that are no numbers without a fraction, or out of range
Geometry GeometryOf(const Metadata &metadata);

enum class Interpolation
{
    Bilinear = 0,
    Nearest = 1
};

/// Takes the lens's distortion out of images of one geometry.
class Undistortion
{
public:
    static constexpr Kind kind = Kind::Undistortion;

    /// @param camera as it sees the distorted images
    explicit Undistortion(const tarn_cvl_CalibrationParameters &camera) : m_camera(camera) {}

    /// @throws Failure with TARN_CVL_OUT_OF_RANGE
    void SetInterpolation(int32_t code);
    Interpolation GetInterpolation() const { return m_interpolation; }

    /// @throws Failure for other formats and sizes, or shared memory
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
    std::vector<uint64_t> m_mask; ///< the region of each image, kept as memory
    // Made when first used.
    std::optional<NearestMap> m_nearest;
    std::optional<BilinearMap> m_bilinear;
    std::optional<BilinearBlocks> m_blocks;
};

/// @param adjusted out: the camera as it sees undistorted images
/// @throws Failure for a bad camera or a geometry that cannot be
std::shared_ptr<Undistortion> MakeUndistortion(const Geometry &geometry,
                                               const tarn_cvl_CalibrationParameters *camera,
                                               size_t cameraSize, void *adjusted);

} // namespace tarn::vision
