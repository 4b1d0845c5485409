#include "gentlctl/lens_calibration.h"

#include "consumer/features.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_cvl/tarn_cvl.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

constexpr auto visionLibrary = "libqvr_tarn_cvl.so";

/// The functions of the vision library that read lens calibration. The library stays loaded until the process
/// ends.
class CalibrationReader
{
public:
    /// @throws std::runtime_error the library cannot be loaded, or lacks a function
    CalibrationReader() : m_library(dlopen(visionLibrary, RTLD_NOW))
    {
        if (m_library == nullptr)
        {
            throw std::runtime_error(std::string("Lib load failed: ") + visionLibrary);
        }
        Find(m_validate, "tarn_cvl_ValidateBinary");
        Find(m_read, "tarn_cvl_CalibrationParameters_CreateFromBinary");
        Find(m_errorSize, "tarn_cvl_GetLastErrorMessage_GetCount");
        Find(m_errorText, "tarn_cvl_GetLastErrorMessage");
    }

    tarn_cvl_CalibrationParameters Read(std::span<const uint8_t> data) const
    {
        uint8_t isValid = 0;
        Check(m_validate(data.data(), data.size(), &isValid));
        if (isValid == 0)
        {
            throw std::runtime_error("The given binary data is invalid");
        }
        tarn_cvl_CalibrationParameters parameters{};
        Check(m_read(data.data(), data.size(), &parameters, sizeof parameters));
        return parameters;
    }

private:
    template <typename Function>
    void Find(Function &function, const char *name)
    {
        function = reinterpret_cast<Function>(dlsym(m_library, name));
        if (function == nullptr)
        {
            throw std::runtime_error(std::string("Failed to load ") + name);
        }
    }

    void Check(int32_t status) const
    {
        if (status == TARN_CVL_SUCCESS)
        {
            return;
        }
        size_t size = 0;
        std::string text;
        if (m_errorSize(&size) == TARN_CVL_SUCCESS)
        {
            text.resize(size);
            m_errorText(text.data(), &size);
        }
        throw std::runtime_error(text.substr(0, text.find('\0')));
    }

    void *m_library;
    decltype(&tarn_cvl_ValidateBinary) m_validate = nullptr;
    decltype(&tarn_cvl_CalibrationParameters_CreateFromBinary) m_read = nullptr;
    decltype(&tarn_cvl_GetLastErrorMessage_GetCount) m_errorSize = nullptr;
    decltype(&tarn_cvl_GetLastErrorMessage) m_errorText = nullptr;
};

} // namespace

LensCalibration ParseLensCalibration(std::span<const uint8_t> data)
{
    const auto parameters = CalibrationReader().Read(data);
    LensCalibration calibration{parameters.width,
                                parameters.height,
                                parameters.focalLengthX,
                                parameters.focalLengthY,
                                parameters.principalPointX,
                                parameters.principalPointY,
                                {}};
    static_assert(sizeof calibration.distortion <= sizeof parameters.opaque);
    std::memcpy(calibration.distortion.data(), parameters.opaque, sizeof calibration.distortion);
    return calibration;
}

std::string ToYaml(const LensCalibration &calibration, std::optional<double> depthScale)
{
    const auto &terms = calibration.distortion;
    // Five terms are what most readers know; the others are those of a lens with a wide angle.
    const bool isWide = std::any_of(terms.begin() + 5, terms.end(), [](float term) { return term != 0; });
    const auto written = std::span(terms).first(isWide ? 8 : 5);
    return fmt::format("%YAML:1.0\n---\n"
                       "image_width: {}\nimage_height: {}\n"
                       "camera_matrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: d\n"
                       "   data: [ {}, 0, {}, 0, {}, {}, 0, 0, 1 ]\n"
                       "distortion_coefficients: !!opencv-matrix\n   rows: {}\n   cols: 1\n   dt: d\n"
                       "   data: [ {} ]\n{}",
                       calibration.width, calibration.height, calibration.focalLengthX,
                       calibration.principalPointX, calibration.focalLengthY, calibration.principalPointY,
                       written.size(), fmt::join(written, ", "),
                       depthScale ? fmt::format("depth_scale: {}\n", *depthScale) : "");
}

std::optional<double> DepthScaleOf(const Features &remote)
{
    if (!remote.Has("Scan3dCoordinateScale"))
    {
        return std::nullopt;
    }
    const auto value = remote.Values({"Scan3dCoordinateScale"})["Scan3dCoordinateScale"];
    return value.is_number() && value.get<double>() > 0 ? std::optional(value.get<double>()) : std::nullopt;
}

} // namespace gentlctl
