#include "vision_module/calibration.h"
#include "vision_module/convert.h"
#include "vision_module/coordinates.h"
#include "vision_module/error.h"
#include "vision_module/handles.h"
#include "vision_module/image.h"
#include "vision_module/interface.h"
#include "vision_module/metadata.h"
#include "vision_module/region.h"
#include "vision_module/undistortion.h"

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

/// Makes an object and returns its handle.
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

void RequireParameters(const tarn_cvl_CalibrationParameters *parameters, size_t size)
{
    RequirePointer(parameters, "the calibration parameters");
    RequireRecordSize(size, TARN_CVL_CALIBRATION_SIZE, "the calibration parameters");
}

std::span<const uint8_t> BytesOf(const uint8_t *bytes, size_t count)
{
    if (count > 0)
    {
        RequirePointer(bytes, "the bytes");
    }
    return {bytes, count};
}

/// Arguments of the functions that write calibration parameters as bytes.
void RequireSizedParameters(const tarn_cvl_CalibrationParameters *parameters, size_t parametersSize,
                            const size_t *size)
{
    RequireParameters(parameters, parametersSize);
    RequirePointer(size, "the size");
}

/// Runs the body of a function that reads or writes a file of calibration parameters.
template <typename Action>
int32_t AnswerWithFile(const char *path, const tarn_cvl_CalibrationParameters *parameters,
                       size_t parametersSize, Action action) noexcept
{
    return Answer(
        [&]
        {
            RequirePointer(path, "the path");
            RequireParameters(parameters, parametersSize);
            action();
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
            // A surplus call succeeds, so that a program that repeats a failed close does not fail here for
            // ever.
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

int32_t tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **undistortion, void *metadata,
                                                                const tarn_cvl_CalibrationParameters *camera,
                                                                size_t cameraSize, void *adjusted)
{
    return Create(undistortion,
                  [&]
                  {
                      const auto found = FindHandle<Metadata>(metadata);
                      return MakeUndistortion(GeometryOf(*found), camera, cameraSize, adjusted);
                  });
}

int32_t tarn_cvl_Transform_Undistortion_Create(void **undistortion,
                                               const tarn_cvl_CalibrationParameters *camera,
                                               size_t cameraSize, void *adjusted)
{
    return Create(undistortion, [&] { return MakeUndistortion({}, camera, cameraSize, adjusted); });
}

int32_t tarn_cvl_Transform_Undistortion_IncreaseUseCount(void *undistortion)
{
    return Answer([&] { handles::AddOwner(Undistortion::kind, undistortion); });
}

int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *undistortion, int32_t interpolation)
{
    return Answer([&] { FindHandle<Undistortion>(undistortion)->SetInterpolation(interpolation); });
}

int32_t tarn_cvl_Transform_Undistortion_GetInterpolation(void *undistortion, int32_t *interpolation)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Undistortion>(undistortion);
            RequirePointer(interpolation, "the interpolation");
            *interpolation = static_cast<int32_t>(found->GetInterpolation());
        });
}

int32_t tarn_cvl_Transform_Undistortion_Process(void *undistortion, void *source, void *target)
{
    return Answer(
        [&]
        {
            const auto found = FindHandle<Undistortion>(undistortion);
            const auto image = FindHandle<Image>(source);
            found->Process(*image, *FindHandle<Image>(target));
        });
}

int32_t tarn_cvl_Transform_Undistortion_Destroy(void *undistortion)
{
    return Destroy<Undistortion>(undistortion);
}

int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *target, const tarn_cvl_CalibrationParameters *camera,
                                                size_t cameraSize, void *source)
{
    return Answer(
        [&]
        {
            const auto coordinates = FindHandle<Image>(target);
            const auto known = CameraOf(camera, cameraSize);
            MakeCoordinates(*FindHandle<Image>(source), known, *coordinates);
        });
}

int32_t tarn_cvl_ValidateBinary(const uint8_t *bytes, size_t count, uint8_t *isValid)
{
    return Answer(
        [&]
        {
            const auto data = BytesOf(bytes, count);
            RequirePointer(isValid, "the answer");
            *isValid = FromBinary(data) ? 1 : 0;
        });
}

int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *bytes, size_t count,
                                                        tarn_cvl_CalibrationParameters *parameters,
                                                        size_t parametersSize)
{
    return Answer(
        [&]
        {
            const auto data = BytesOf(bytes, count);
            RequireParameters(parameters, parametersSize);
            *parameters = ValidFromBinary(data);
        });
}

int32_t
tarn_cvl_CalibrationParameters_ToBinaryGetSizeInBytes(const tarn_cvl_CalibrationParameters *parameters,
                                                      size_t parametersSize, size_t *size)
{
    return Answer(
        [&]
        {
            RequireSizedParameters(parameters, parametersSize, size);
            *size = ToBinary(*parameters).size();
        });
}

int32_t tarn_cvl_CalibrationParameters_ToBinary(const tarn_cvl_CalibrationParameters *parameters,
                                                size_t parametersSize, uint8_t *bytes, size_t *size)
{
    return Answer(
        [&]
        {
            RequireSizedParameters(parameters, parametersSize, size);
            RequirePointer(bytes, "the bytes");
            const auto data = ToBinary(*parameters);
            const auto room = *size;
            *size = data.size();
            if (room < data.size())
            {
                throw Failure(TARN_CVL_OUT_OF_RANGE, "The room is " + std::to_string(room) +
                                                         " bytes, expected at least " +
                                                         std::to_string(data.size()));
            }
            std::memcpy(bytes, data.data(), data.size());
        });
}

int32_t tarn_cvl_CalibrationParameters_CreateFromFile(const char *path,
                                                      tarn_cvl_CalibrationParameters *parameters,
                                                      size_t parametersSize)
{
    return AnswerWithFile(path, parameters, parametersSize, [&] { *parameters = FromFile(path); });
}

int32_t tarn_cvl_CalibrationParameters_SaveToFile(const char *path,
                                                  const tarn_cvl_CalibrationParameters *parameters,
                                                  size_t parametersSize)
{
    return AnswerWithFile(path, parameters, parametersSize, [&] { ToFile(*parameters, path); });
}
