#include "vision_module/calibration.h"

#include "vision_module/error.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>

namespace tarn::vision
{

static_assert(sizeof(Distortion) <= sizeof(tarn_cvl_CalibrationParameters::opaque));
static_assert(offsetof(tarn_cvl_CalibrationParameters, opaque) == 8);
static_assert(offsetof(tarn_cvl_CalibrationParameters, focalLengthX) == 128);

namespace
{

constexpr std::array<uint8_t, 4> magic{'T', 'C', 'A', 'L'};
constexpr uint32_t version = 1;
constexpr size_t checksumSize = 4;

/// CRC-32 as in zip files. It runs bit by bit, which is fast enough for so few bytes.
uint32_t Checksum(std::span<const uint8_t> bytes)
{
    constexpr uint32_t polynomial = 0xEDB88320;
    uint32_t sum = ~uint32_t{0};
    for (const auto byte : bytes)
    {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit)
        {
            sum = (sum & 1) != 0 ? sum >> 1 ^ polynomial : sum >> 1;
        }
    }
    return ~sum;
}

class Writer
{
public:
    void Put(uint32_t number)
    {
        for (int shift = 0; shift < 32; shift += 8)
        {
            m_bytes.at(m_position++) = static_cast<uint8_t>(number >> shift);
        }
    }
    void Put(float number) { Put(std::bit_cast<uint32_t>(number)); }

    std::span<const uint8_t> Written() const { return std::span(m_bytes).first(m_position); }
    const std::array<uint8_t, binarySize> &Bytes() const { return m_bytes; }

private:
    std::array<uint8_t, binarySize> m_bytes{};
    size_t m_position = 0;
};

class Reader
{
public:
    explicit Reader(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

    uint32_t Whole()
    {
        uint32_t number = 0;
        for (int shift = 0; shift < 32; shift += 8)
        {
            number |= uint32_t{m_bytes.front()} << shift;
            m_bytes = m_bytes.subspan(1);
        }
        return number;
    }
    float Float() { return std::bit_cast<float>(Whole()); }

private:
    std::span<const uint8_t> m_bytes;
};

bool IsFinite(const Distortion &distortion)
{
    return std::isfinite(distortion.k1) && std::isfinite(distortion.k2) && std::isfinite(distortion.p1) &&
           std::isfinite(distortion.p2) && std::isfinite(distortion.k3) && std::isfinite(distortion.k4) &&
           std::isfinite(distortion.k5) && std::isfinite(distortion.k6);
}

bool IsFocalLength(float number)
{
    return std::isfinite(number) && number > 0;
}

std::string Pair(float x, float y)
{
    return std::to_string(x) + " and " + std::to_string(y);
}

/// The fault of a camera, as text; empty for a valid one.
std::string FaultOf(const tarn_cvl_CalibrationParameters &camera)
{
    if (camera.width == 0 || camera.height == 0)
    {
        return "The calibrated image has " + std::to_string(camera.width) + " x " +
               std::to_string(camera.height) + " pixels, expected at least one";
    }
    if (!IsFocalLength(camera.focalLengthX) || !IsFocalLength(camera.focalLengthY))
    {
        return "The focal lengths are " + Pair(camera.focalLengthX, camera.focalLengthY) +
               ", expected finite numbers greater than 0";
    }
    if (!std::isfinite(camera.principalPointX) || !std::isfinite(camera.principalPointY))
    {
        return "The principal point is at " + Pair(camera.principalPointX, camera.principalPointY) +
               ", expected finite numbers";
    }
    if (!IsFinite(DistortionOf(camera)))
    {
        return "The lens distortion has a term that is not finite, expected finite numbers";
    }
    return {};
}

void RequireCamera(const tarn_cvl_CalibrationParameters &camera)
{
    if (const auto fault = FaultOf(camera); !fault.empty())
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE, fault);
    }
}

struct Close
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/// Unlike fopen for writing, it leaves the bytes of the file. Null for a failure, which errno has.
std::FILE *OpenForWriting(const std::string &path)
{
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    return descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
}

/// Ends a file behind `size` bytes. A pipe has no bytes to cut off.
bool CutOff(std::FILE *file, size_t size)
{
    return ftruncate(fileno(file), static_cast<off_t>(size)) == 0 || errno == EINVAL;
}

[[noreturn]] void ThrowFileFailure(TARN_CVL_STATUS status, const std::string &text, int error)
{
    throw Failure(status, text + ": " + std::generic_category().message(error));
}

} // namespace

Distortion DistortionOf(const tarn_cvl_CalibrationParameters &parameters)
{
    Distortion distortion{};
    std::memcpy(&distortion, parameters.opaque, sizeof distortion);
    return distortion;
}

void SetDistortion(tarn_cvl_CalibrationParameters &parameters, const Distortion &distortion)
{
    std::memcpy(parameters.opaque, &distortion, sizeof distortion);
}

tarn_cvl_CalibrationParameters CameraOf(const tarn_cvl_CalibrationParameters *camera, size_t size)
{
    RequirePointer(camera, "the camera");
    RequireRecordSize(size, TARN_CVL_CAMERA_SIZE, "the camera");
    tarn_cvl_CalibrationParameters copy{};
    std::memcpy(static_cast<void *>(&copy), camera, size);
    RequireCamera(copy);
    return copy;
}

std::optional<tarn_cvl_CalibrationParameters> FromBinary(std::span<const uint8_t> bytes)
{
    if (bytes.size() != binarySize)
    {
        return std::nullopt;
    }
    if (!std::equal(magic.begin(), magic.end(), bytes.begin()))
    {
        return std::nullopt;
    }
    const auto content = bytes.first(binarySize - checksumSize);
    if (Reader(bytes.last(checksumSize)).Whole() != Checksum(content))
    {
        return std::nullopt;
    }
    Reader reader(content.subspan(magic.size()));
    if (reader.Whole() != version || reader.Whole() != binarySize)
    {
        return std::nullopt;
    }
    tarn_cvl_CalibrationParameters parameters{};
    parameters.width = reader.Whole();
    parameters.height = reader.Whole();
    parameters.focalLengthX = reader.Float();
    parameters.focalLengthY = reader.Float();
    parameters.principalPointX = reader.Float();
    parameters.principalPointY = reader.Float();
    Distortion distortion{};
    for (auto *term : {&distortion.k1, &distortion.k2, &distortion.p1, &distortion.p2, &distortion.k3,
                       &distortion.k4, &distortion.k5, &distortion.k6})
    {
        *term = reader.Float();
    }
    SetDistortion(parameters, distortion);
    if (!FaultOf(parameters).empty())
    {
        return std::nullopt;
    }
    return parameters;
}

tarn_cvl_CalibrationParameters ValidFromBinary(std::span<const uint8_t> bytes)
{
    const auto parameters = FromBinary(bytes);
    if (!parameters)
    {
        throw Failure(TARN_CVL_CORRUPTED,
                      "The " + std::to_string(bytes.size()) + " bytes are not valid lens calibration data");
    }
    return *parameters;
}

std::array<uint8_t, binarySize> ToBinary(const tarn_cvl_CalibrationParameters &parameters)
{
    RequireCamera(parameters);
    Writer writer;
    writer.Put(Reader(magic).Whole());
    writer.Put(version);
    writer.Put(static_cast<uint32_t>(binarySize));
    writer.Put(parameters.width);
    writer.Put(parameters.height);
    writer.Put(parameters.focalLengthX);
    writer.Put(parameters.focalLengthY);
    writer.Put(parameters.principalPointX);
    writer.Put(parameters.principalPointY);
    const auto distortion = DistortionOf(parameters);
    for (const auto term : {distortion.k1, distortion.k2, distortion.p1, distortion.p2, distortion.k3,
                            distortion.k4, distortion.k5, distortion.k6})
    {
        writer.Put(term);
    }
    writer.Put(Checksum(writer.Written()));
    return writer.Bytes();
}

tarn_cvl_CalibrationParameters FromFile(const std::string &path)
{
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
    if (!file)
    {
        const int error = errno;
        const bool isMissing = error == ENOENT || error == ENOTDIR;
        ThrowFileFailure(isMissing ? TARN_CVL_TARGET_NOT_FOUND : TARN_CVL_IO,
                         "The file \"" + path + "\" cannot be opened", error);
    }
    // Reads one byte more than it needs, to notice a longer file.
    std::array<uint8_t, binarySize + 1> bytes{};
    const auto count = std::fread(bytes.data(), 1, bytes.size(), file.get());
    if (std::ferror(file.get()) != 0)
    {
        ThrowFileFailure(TARN_CVL_IO, "The file \"" + path + "\" cannot be read", errno);
    }
    const auto parameters = FromBinary(std::span(bytes).first(count));
    if (!parameters)
    {
        throw Failure(TARN_CVL_CORRUPTED, "The file \"" + path + "\" has no valid lens calibration data");
    }
    return *parameters;
}

void ToFile(const tarn_cvl_CalibrationParameters &parameters, const std::string &path)
{
    const auto bytes = ToBinary(parameters);
    std::unique_ptr<std::FILE, Close> file(OpenForWriting(path));
    if (!file)
    {
        ThrowFileFailure(TARN_CVL_IO, "The file \"" + path + "\" cannot be opened", errno);
    }
    // The new bytes replace the old ones in place, so that a full disk leaves the calibration that was there.
    // What is behind them goes only then.
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() &&
                           std::fflush(file.get()) == 0 && CutOff(file.get(), bytes.size());
    // A file system may tell only at the end that it has no room.
    if (std::fclose(file.release()) != 0 || !isWritten)
    {
        ThrowFileFailure(TARN_CVL_IO, "The file \"" + path + "\" cannot be written", errno);
    }
}

} // namespace tarn::vision
