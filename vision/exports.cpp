#include "vision/convert.h"
#include "vision/error.h"
#include "vision/handles.h"
#include "vision/image.h"
#include "vision/interface.h"
#include "vision/metadata.h"
#include "vision/not_offered.h"
#include "vision/region.h"

#include <atomic>
#include <cstring>

using namespace tarn::vision;

// The sizes are part of the interface.
static_assert(sizeof(tarn_cvl_ImageInfo) == TARN_CVL_IMAGE_INFO_SIZE);
static_assert(sizeof(tarn_cvl_Range) == TARN_CVL_RANGE_SIZE);
static_assert(sizeof(tarn_cvl_Colour) == 24);
static_assert(sizeof(tarn_cvl_CalibrationParameters) == TARN_CVL_CALIBRATION_SIZE);
static_assert(offsetof(tarn_cvl_CalibrationParameters, opaqueBehind) == TARN_CVL_CAMERA_SIZE);

namespace
{

std::atomic<uint64_t> initialised{0};

/// Makes an object and gives its handle out.
template <typename Make>
int32_t Create(void **handle, Make make) noexcept
{
    return Answer(
        [&]
        {
            RequirePointer(handle, "the new handle");
            *handle = AddHandle(make());
        });
}

template <typename T>
int32_t Destroy(void *handle) noexcept
{
    return Answer([&] { handles::Release(T::kind, handle); });
}

} // namespace

int32_t tarn_cvl_Init(void)
{
    ++initialised;
    return TARN_CVL_SUCCESS;
}

int32_t tarn_cvl_Exit(void)
{
    return Answer(
        []
        {
            // One call too many is no failure: a program that tries to close again what failed to close
            // would never get past it.
            auto count = initialised.load();
            while (count != 0 && !initialised.compare_exchange_weak(count, count - 1))
            {
            }
        });
}

int32_t tarn_cvl_GetLastErrorMessage_GetCount(size_t *count)
{
    if (count == nullptr)
    {
        return TARN_CVL_NULL_POINTER;
    }
    *count = LastError().size() + 1;
    return TARN_CVL_SUCCESS;
}

int32_t tarn_cvl_GetLastErrorMessage(char *text, size_t *size)
{
    if (text == nullptr || size == nullptr)
    {
        return TARN_CVL_NULL_POINTER;
    }
    const auto error = LastError();
    const bool isFitting = *size > error.size();
    *size = error.size() + 1;
    if (!isFitting)
    {
        return TARN_CVL_OUT_OF_RANGE;
    }
    std::memcpy(text, error.data(), *size);
    return TARN_CVL_SUCCESS;
}

int32_t tarn_cvl_Image_CreateFromImageInfo(void **image, const tarn_cvl_ImageInfo *info, size_t infoSize)
{
    return Create(image,
                  [&]
                  {
                      RequirePointer(info, "the image information");
                      RequireRecordSize(infoSize, TARN_CVL_IMAGE_INFO_SIZE, "the image information");
                      return MakeImage(*info);
                  });
}

int32_t tarn_cvl_Image_CreateWithZeroInit(void **image, uint32_t pixelFormat, tarn_cvl_Size size,
                                          uint8_t flag)
{
    return Create(image,
                  [&]
                  {
                      if (flag != 0)
                      {
                          throw Failure(TARN_CVL_NOT_SUPPORTED,
                                        "The flag is " + std::to_string(flag) + ", expected 0");
                      }
                      return MakeZeroedImage(pixelFormat, size);
                  });
}

int32_t tarn_cvl_Image_GetInfo(void *image, tarn_cvl_ImageInfo *info, size_t infoSize)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Image>(image);
            RequirePointer(info, "the image information");
            RequireRecordSize(infoSize, TARN_CVL_IMAGE_INFO_SIZE, "the image information");
            *info = InfoOf(*found);
        });
}

int32_t tarn_cvl_Image_IncreaseUseCount(void *image)
{
    return Answer([&] { handles::AddOwner(Image::kind, image); });
}

int32_t tarn_cvl_Image_Destroy(void *image)
{
    return Destroy<Image>(image);
}

int32_t tarn_cvl_Image_ConvertPixelFormat(void *image, uint32_t pixelFormat, void *target)
{
    return Answer(
        [&]
        {
            const auto source = FindHandle<Image>(image);
            Convert(*source, FormatOf(pixelFormat), *FindHandle<Image>(target));
        });
}

int32_t tarn_cvl_Image_ConvertPixelFormatWithFactor(void *image, uint32_t pixelFormat, void *target,
                                                    double factor)
{
    return Answer(
        [&]
        {
            const auto source = FindHandle<Image>(image);
            ConvertWithFactor(*source, FormatOf(pixelFormat), *FindHandle<Image>(target), factor);
        });
}

int32_t tarn_cvl_Image_SetMetadata(void *image, void *metadata)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Image>(image);
            found->metadata = *FindHandle<Metadata>(metadata);
        });
}

int32_t tarn_cvl_Image_SetRegion(void *image, void *region)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Image>(image);
            found->region = *FindHandle<Region>(region);
        });
}

int32_t tarn_cvl_Metadata_Create(void **metadata)
{
    return Create(metadata, [] { return std::make_shared<Metadata>(); });
}

int32_t tarn_cvl_Metadata_Destroy(void *metadata)
{
    return Destroy<Metadata>(metadata);
}

int32_t tarn_cvl_Metadata_SetBool(void *metadata, const char *key, uint8_t value)
{
    return Answer([&] { SetValue(metadata, key, value != 0); });
}

int32_t tarn_cvl_Metadata_SetInt(void *metadata, const char *key, int64_t value)
{
    return Answer([&] { SetValue(metadata, key, value); });
}

int32_t tarn_cvl_Metadata_SetUInt(void *metadata, const char *key, uint64_t value)
{
    return Answer([&] { SetValue(metadata, key, value); });
}

int32_t tarn_cvl_Metadata_SetDouble(void *metadata, const char *key, double value)
{
    return Answer([&] { SetValue(metadata, key, value); });
}

int32_t tarn_cvl_Metadata_SetString(void *metadata, const char *key, const char *value)
{
    return Answer([&] { SetValue(metadata, key, TextOf(value)); });
}

int32_t tarn_cvl_Metadata_SetBoolArray(void *metadata, const char *key, const uint8_t *values, size_t count)
{
    return Answer([&] { SetValue(metadata, key, ArrayOf<bool>(values, count)); });
}

int32_t tarn_cvl_Metadata_SetIntArray(void *metadata, const char *key, const int64_t *values, size_t count)
{
    return Answer([&] { SetValue(metadata, key, ArrayOf<int64_t>(values, count)); });
}

int32_t tarn_cvl_Metadata_SetUIntArray(void *metadata, const char *key, const uint64_t *values, size_t count)
{
    return Answer([&] { SetValue(metadata, key, ArrayOf<uint64_t>(values, count)); });
}

int32_t tarn_cvl_Metadata_SetDoubleArray(void *metadata, const char *key, const double *values, size_t count)
{
    return Answer([&] { SetValue(metadata, key, ArrayOf<double>(values, count)); });
}

int32_t tarn_cvl_Metadata_SetStringArray(void *metadata, const char *key, const char *const *values,
                                         size_t count)
{
    return Answer([&] { SetValue(metadata, key, ArrayOf<std::string>(values, count)); });
}

int32_t tarn_cvl_Region_Create(void **region)
{
    return Create(region, [] { return std::make_shared<Region>(); });
}

int32_t tarn_cvl_Region_Destroy(void *region)
{
    return Destroy<Region>(region);
}

int32_t tarn_cvl_Region_Draw(void *image, void *region, const tarn_cvl_Colour *colour)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Image>(image);
            const auto pixels = FindHandle<Region>(region);
            RequirePointer(colour, "the colour");
            Draw(*found, *pixels, *colour);
        });
}

int32_t tarn_cvl_Threshold_Process(void *image, const tarn_cvl_Range *range, size_t rangeSize, void **region)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Image>(image);
            RequirePointer(range, "the range");
            RequireRecordSize(rangeSize, TARN_CVL_RANGE_SIZE, "the range");
            RequirePointer(region, "the region's handle");
            const auto pixels = FindHandle<Region>(*region);
            *pixels = PixelsInRange(*found, *range);
        });
}

int32_t tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **, void *,
                                                                const tarn_cvl_CalibrationParameters *,
                                                                size_t, void *)
{
    return NotOffered("Transform_Undistortion_CreateWithImageMetadata");
}

int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *, int32_t)
{
    return NotOffered("Transform_Undistortion_SetInterpolation");
}

int32_t tarn_cvl_Transform_Undistortion_Process(void *, void *, void *)
{
    return NotOffered("Transform_Undistortion_Process");
}

int32_t tarn_cvl_Transform_Undistortion_Destroy(void *)
{
    return NotOffered("Transform_Undistortion_Destroy");
}

int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *, const tarn_cvl_CalibrationParameters *, size_t,
                                                void *)
{
    return NotOffered("Transform_DepthMap_To_XYZImage");
}

int32_t tarn_cvl_ValidateBinary(const uint8_t *, size_t, uint8_t *)
{
    return NotOffered("ValidateBinary");
}

int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *, size_t,
                                                        tarn_cvl_CalibrationParameters *, size_t)
{
    return NotOffered("CalibrationParameters_CreateFromBinary");
}
