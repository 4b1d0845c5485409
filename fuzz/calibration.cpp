// Lens calibration data: valid bytes survive decoding and encoding unchanged, and undistortion with a valid
// camera stays within its images. Tries each input as it is and with a corrected checksum.

#include "vision_module/calibration.h"
#include "require.h"
#include "vision_module/coordinates.h"
#include "vision_module/error.h"
#include "vision_module/undistortion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace
{

using tarn::common::PixelFormat;
using tarn::vision::MakeZeroedImage;

/// The bytes with a correct checksum at the end.
std::vector<uint8_t> Sealed(std::vector<uint8_t> bytes)
{
    uint32_t sum = 0xFFFFFFFF;
    for (size_t i = 0; i + 4 < bytes.size(); ++i)
    {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
        {
            sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
        }
    }
    sum = ~sum;
    for (size_t i = 0; i < 4; ++i)
    {
        bytes[bytes.size() - 4 + i] = static_cast<uint8_t>(sum >> 8 * i);
    }
    return bytes;
}

/// A camera with this lens and an image of a few pixels.
void Use(tarn_cvl_CalibrationParameters camera)
{
    camera.width = camera.width % 48 + 1;
    camera.height = camera.height % 12 + 1;
    tarn_cvl_CalibrationParameters adjusted{};
    const auto undistortion = tarn::vision::MakeUndistortion({}, &camera, TARN_CVL_CAMERA_SIZE, &adjusted);
    for (const auto format : {PixelFormat::Mono8, PixelFormat::Mono16, PixelFormat::Coord3D_C32f})
    {
        const auto make = [&](PixelFormat of) {
            return MakeZeroedImage(static_cast<uint32_t>(of), {camera.width, camera.height});
        };
        const auto source = make(format);
        const auto target = make(format);
        for (const int32_t interpolation : {0, 1})
        {
            undistortion->SetInterpolation(interpolation);
            undistortion->Process(*source, *target);
        }
        if (format == PixelFormat::Coord3D_C32f)
        {
            MakeCoordinates(*target, adjusted, *make(PixelFormat::Coord3D_ABC32f));
        }
    }
}

void Read(std::span<const uint8_t> bytes)
{
    const auto parameters = tarn::vision::FromBinary(bytes);
    if (!parameters)
    {
        return;
    }
    Require(std::ranges::equal(tarn::vision::ToBinary(*parameters), bytes));
    Use(*parameters);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t dataSize)
{
    std::vector<uint8_t> bytes(data, data + dataSize);
    Read(bytes);
    if (bytes.size() >= 4)
    {
        Read(Sealed(std::move(bytes)));
    }
    return 0;
}
