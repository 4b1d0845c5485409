#include "vision_module/undistortion.h"

#include "vision_module/error.h"
#include "vision_module/region_kernels.h"
#include "vision_module/samples.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tarn::vision
{

using enum common::PixelFormat;

namespace
{

constexpr std::array formats{Mono8, Mono10,     Mono12,      Mono16,       Mono32f,     RGB8,
                             BGR8,  Coord3D_C8, Coord3D_C16, Coord3D_C32f, Confidence8, Confidence16};

/// A number of the metadata, from `least` to mostPixels; nullopt when absent.
std::optional<uint32_t> NumberOf(const Metadata &metadata, const std::string &key, uint32_t least)
{
    const auto entry = metadata.values.find(key);
    if (entry == metadata.values.end())
    {
        return std::nullopt;
    }
    uint64_t number = 0;
    if (const auto *whole = std::get_if<uint64_t>(&entry->second))
    {
        number = *whole;
    }
    else if (const auto *integer = std::get_if<int64_t>(&entry->second))
    {
        // A negative number becomes larger than the limit.
        number = static_cast<uint64_t>(*integer);
    }
    else
    {
        throw Failure(TARN_CVL_MISMATCH,
                      "The metadata " + key + " are of another type, expected a number without a fraction");
    }
    if (number < least || number > mostPixels)
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE, "The metadata " + key + " are out of range, expected from " +
                                                 std::to_string(least) + " to " + std::to_string(mostPixels));
    }
    return static_cast<uint32_t>(number);
}

/// The camera that describes images of the geometry.
tarn_cvl_CalibrationParameters Adjusted(tarn_cvl_CalibrationParameters camera, const Geometry &geometry)
{
    // The centre of a binned pixel lies midway between the centres of its pixels.
    const auto point = [](float calibrated, uint32_t binning, uint32_t first)
    {
        constexpr double half = 0.5;
        return static_cast<float>((calibrated - (binning - 1) * half) / binning - first);
    };
    camera.principalPointX = point(camera.principalPointX, geometry.binningX, geometry.x);
    camera.principalPointY = point(camera.principalPointY, geometry.binningY, geometry.y);
    camera.focalLengthX /= static_cast<float>(geometry.binningX);
    camera.focalLengthY /= static_cast<float>(geometry.binningY);
    camera.width = geometry.width.value_or(camera.width / geometry.binningX);
    camera.height = geometry.height.value_or(camera.height / geometry.binningY);
    if (camera.width == 0 || camera.width > mostPixels || camera.height == 0 || camera.height > mostPixels)
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE,
                      "Images have " + std::to_string(camera.width) + " x " + std::to_string(camera.height) +
                          " pixels, expected from 1 x 1 to " + std::to_string(mostPixels) + " x " +
                          std::to_string(mostPixels));
    }
    return camera;
}

/// Copies the pixels of the image's region and sets the others to 0.
std::vector<uint8_t> Masked(const Image &image, uint32_t pixelBytes)
{
    std::vector<uint8_t> pixels(image.PixelCount() * pixelBytes);
    ForEachRunWithin(*image.region, image.width, image.height,
                     [&](uint64_t begin, uint64_t end)
                     {
                         std::memcpy(pixels.data() + begin * pixelBytes, image.data + begin * pixelBytes,
                                     (end - begin) * pixelBytes);
                     });
    return pixels;
}

template <uint32_t pixelBytes>
void CopyPixels(const uint8_t *source, const uint32_t *sources, uint64_t count, uint8_t *target)
{
    for (uint64_t pixel = 0; pixel < count; ++pixel)
    {
        std::memcpy(target + pixel * pixelBytes, source + uint64_t{sources[pixel]} * pixelBytes, pixelBytes);
    }
}

/// Takes the pixels of the region by the map and sets the others to 0.
template <uint32_t pixelBytes>
void TakeNearest(const NearestMap &map, const Region &region, const uint8_t *source, Image &target)
{
    // Read once: the compiler must assume that writing pixels changes the map.
    const uint32_t *sources = map.sources.data();
    uint8_t *pixels = target.data;
    uint64_t done = 0;
    const auto clearUpTo = [&](uint64_t begin)
    { std::memset(pixels + done * pixelBytes, 0, (begin - done) * pixelBytes); };
    ForEachRunWithin(region, target.width, target.height,
                     [&](uint64_t begin, uint64_t end)
                     {
                         clearUpTo(begin);
                         CopyPixels<pixelBytes>(source, sources + begin, end - begin,
                                                pixels + begin * pixelBytes);
                         done = end;
                     });
    clearUpTo(target.PixelCount());
}

void TakeNearest(const NearestMap &map, const Region &region, const uint8_t *source, Image &target,
                 uint32_t pixelBytes)
{
    switch (pixelBytes)
    {
    case 1:
        TakeNearest<1>(map, region, source, target);
        break;
    case 2:
        TakeNearest<2>(map, region, source, target);
        break;
    case 3:
        TakeNearest<3>(map, region, source, target);
        break;
    default:
        TakeNearest<4>(map, region, source, target);
        break;
    }
}

/// The undistorted pixels whose source pixels belong to the set.
Region RegionThrough(const NearestMap &map, const std::vector<uint64_t> &mask, uint32_t width)
{
    Region region;
    std::vector<uint64_t> bits(WordsOf(width));
    for (const auto &run : map.inside.runs)
    {
        const auto *const sources = map.sources.data() + uint64_t{run.line} * width + run.begin;
        std::ranges::fill(bits, 0);
        for (uint32_t i = 0; i < run.end - run.begin; ++i)
        {
            const auto isIn = mask[sources[i] / pixelsPerWord] >> sources[i] % pixelsPerWord & 1;
            bits[i / pixelsPerWord] |= isIn << i % pixelsPerWord;
        }
        AddOnes(region.runs, run, bits.data());
    }
    return region;
}

/// RegionThrough and TakeNearest in one pass, for the four-byte pixels of depth images.
Region TakeMasked(const NearestMap &map, const std::vector<uint64_t> &mask, const uint8_t *source,
                  Image &target)
{
    constexpr uint64_t pixelBytes = 4;
    Region region;
    std::vector<uint64_t> bits(WordsOf(target.width));
    uint64_t done = 0;
    const auto clearUpTo = [&](uint64_t begin)
    { std::memset(target.data + done * pixelBytes, 0, (begin - done) * pixelBytes); };
    for (const auto &run : map.inside.runs)
    {
        const auto first = uint64_t{run.line} * target.width + run.begin;
        const size_t count = run.end - run.begin;
        const MaskedPixels pixels{source, mask.data(), map.sources.data() + first,
                                  map.sources.size() - first};
        clearUpTo(first);
        TakeMasked(pixels, count, target.data + first * pixelBytes, bits.data());
        AddOnes(region.runs, run, bits.data());
        done = first + count;
    }
    clearUpTo(target.PixelCount());
    return region;
}

uint32_t BytesOf(SampleType type)
{
    switch (type)
    {
    case SampleType::Unsigned8:
        return 1;
    case SampleType::Unsigned16:
        return 2;
    case SampleType::Float32:
        break;
    }
    return 4;
}

std::string SizeText(uint32_t width, uint32_t height)
{
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

} // namespace

Geometry GeometryOf(const Metadata &metadata)
{
    Geometry geometry;
    geometry.binningX = NumberOf(metadata, "BinningHorizontal", 1).value_or(geometry.binningX);
    geometry.binningY = NumberOf(metadata, "BinningVertical", 1).value_or(geometry.binningY);
    geometry.x = NumberOf(metadata, "ROIX", 0).value_or(geometry.x);
    geometry.y = NumberOf(metadata, "ROIY", 0).value_or(geometry.y);
    geometry.width = NumberOf(metadata, "ROIWidth", 1);
    geometry.height = NumberOf(metadata, "ROIHeight", 1);
    return geometry;
}

void Undistortion::SetInterpolation(int32_t code)
{
    if (code != static_cast<int32_t>(Interpolation::Bilinear) &&
        code != static_cast<int32_t>(Interpolation::Nearest))
    {
        throw Failure(TARN_CVL_OUT_OF_RANGE,
                      "The interpolation is " + std::to_string(code) + ", expected 0 or 1");
    }
    m_interpolation = static_cast<Interpolation>(code);
}

void Undistortion::RequireImages(const Image &source, const Image &target) const
{
    if (std::ranges::find(formats, source.format) == formats.end())
    {
        throw Failure(TARN_CVL_NOT_SUPPORTED,
                      "The undistortion of " + NameOf(source.format) + " is not offered");
    }
    if (source.width != m_camera.width || source.height != m_camera.height)
    {
        throw Failure(TARN_CVL_MISMATCH, "The image has " + SizeText(source.width, source.height) +
                                             ", expected " + SizeText(m_camera.width, m_camera.height));
    }
    if (target.format != source.format)
    {
        throw Failure(TARN_CVL_MISMATCH,
                      "The target is of " + NameOf(target.format) + ", expected " + NameOf(source.format));
    }
    if (target.width != source.width || target.height != source.height)
    {
        throw Failure(TARN_CVL_MISMATCH, "The target has " + SizeText(target.width, target.height) +
                                             ", expected " + SizeText(source.width, source.height));
    }
    if (ShareMemory(source, target))
    {
        throw Failure(TARN_CVL_NOT_POSSIBLE,
                      "The target shares memory with the image; expected memory of its own");
    }
}

const NearestMap &Undistortion::Nearest()
{
    return m_nearest ? *m_nearest : m_nearest.emplace(MakeNearestMap(m_camera));
}

const BilinearMap &Undistortion::Bilinear()
{
    return m_bilinear ? *m_bilinear : m_bilinear.emplace(MakeBilinearMap(m_camera));
}

const BilinearBlocks &Undistortion::Blocks()
{
    return m_blocks
               ? *m_blocks
               : m_blocks.emplace(MakeBlocks(MakeBilinearMap(m_camera), m_camera.width, m_camera.height));
}

const std::vector<uint64_t> &Undistortion::MaskOf(const Image &source)
{
    m_mask.assign(WordsOf(source.PixelCount()), 0);
    ForEachRunWithin(*source.region, source.width, source.height,
                     [&](uint64_t begin, uint64_t end) { SetBits(m_mask.data(), begin, end); });
    return m_mask;
}

void Undistortion::TakeNearestOf(const Image &source, Image &target, uint32_t pixelBytes)
{
    const auto &map = Nearest();
    if (source.region && pixelBytes == sizeof(uint32_t))
    {
        target.region = TakeMasked(map, MaskOf(source), source.data, target);
        return;
    }
    auto region = source.region ? RegionThrough(map, MaskOf(source), source.width) : map.inside;
    TakeNearest(map, region, source.data, target, pixelBytes);
    target.region = std::move(region);
}

void Undistortion::Process(const Image &source, Image &target)
{
    RequireImages(source, target);
    const auto samples = *SamplesOf(source.format);
    const auto pixelBytes = BytesOf(samples.type) * samples.count;
    if (m_interpolation == Interpolation::Nearest)
    {
        TakeNearestOf(source, target, pixelBytes);
    }
    else if (!source.region)
    {
        TakeBetween(source.data, samples, target);
        target.region.reset();
    }
    else
    {
        TakeBetween(Masked(source, pixelBytes).data(), samples, target);
        target.region = RegionThrough(Nearest(), MaskOf(source), source.width);
    }
}

void Undistortion::TakeBetween(const uint8_t *pixels, const Samples &samples, Image &target)
{
    if (samples.type == SampleType::Unsigned8 && samples.count == 1 &&
        HasBlocks(m_camera.width, m_camera.height))
    {
        TakeBlocks(Blocks(), pixels, target.data);
    }
    else
    {
        TakePixels(Bilinear(), pixels, target.width, target.height, samples, target.data);
    }
}

std::shared_ptr<Undistortion> MakeUndistortion(const Geometry &geometry,
                                               const tarn_cvl_CalibrationParameters *camera,
                                               size_t cameraSize, void *adjusted)
{
    const auto known = CameraOf(camera, cameraSize);
    RequirePointer(adjusted, "the adjusted camera");
    const auto distorted = Adjusted(known, geometry);
    auto undistortion = std::make_shared<Undistortion>(distorted);
    auto undistorted = distorted;
    SetDistortion(undistorted, {});
    std::memcpy(adjusted, &undistorted, TARN_CVL_CAMERA_SIZE);
    return undistortion;
}

} // namespace tarn::vision
