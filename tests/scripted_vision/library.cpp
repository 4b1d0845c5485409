#include "scripted_vision/library.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstring>
#include <memory>
#include <span>

// The extra export, which returns the library's script.
extern "C" scripted::Script *VisionScript()
{
    static scripted::Script script;
    return &script;
}

namespace scripted
{
namespace
{

thread_local std::string lastError;

/// Records the call. Returns the scripted status, if any; otherwise runs the body under the lock.
template <typename Body>
int32_t Call(std::string_view name, Body body)
{
    auto &self = *VisionScript();
    if (self.onCall)
    {
        self.onCall(name);
    }
    const std::lock_guard guard(self.mutex);
    self.calls.emplace_back(name);
    auto status = works;
    const auto failures = self.failures.find(name);
    if (failures != self.failures.end() && !failures->second.empty())
    {
        status = failures->second.front();
        failures->second.pop_front();
    }
    if (status == works)
    {
        status = body(self);
    }
    if (status != works && !name.starts_with("GetLastErrorMessage"))
    {
        lastError = self.lastErrorText;
    }
    return status;
}

/// The object behind a handle, or null.
template <typename T>
T *Find(Script &self, std::map<void *, T> &objects, void *handle)
{
    const auto entry = objects.find(handle);
    if (entry == objects.end())
    {
        ++self.staleHandles;
        return nullptr;
    }
    return &entry->second;
}

/// A handle that was never used before.
void *NewHandle()
{
    static uintptr_t last = 0x1000;
    return reinterpret_cast<void *>(last += 0x10);
}

template <typename T>
int32_t Add(std::map<void *, T> &objects, void **handle, T object)
{
    *handle = NewHandle();
    objects.emplace(*handle, std::move(object));
    return works;
}

template <typename T>
int32_t Remove(Script &self, std::map<void *, T> &objects, void *handle)
{
    if (objects.erase(handle) == 0)
    {
        ++self.staleHandles;
        return TARN_CVL_NULL_POINTER;
    }
    return works;
}

std::span<uint8_t> PixelsOf(const Image &image)
{
    return {static_cast<uint8_t *>(image.info.data), image.info.size};
}

int32_t Copy(Script &self, void *source, void *target, uint8_t addend)
{
    const auto *from = Find(self, self.images, source);
    const auto *to = Find(self, self.images, target);
    if (from == nullptr || to == nullptr)
    {
        return TARN_CVL_NULL_POINTER;
    }
    const auto bytes = PixelsOf(*from);
    const auto room = PixelsOf(*to);
    std::transform(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(std::min(bytes.size(), room.size())),
                   room.begin(), [addend](uint8_t byte) { return static_cast<uint8_t>(byte + addend); });
    return works;
}

int32_t SetEntry(Script &self, void *handle, Entry entry)
{
    auto *store = Find(self, self.metadata, handle);
    if (store == nullptr)
    {
        return TARN_CVL_NULL_POINTER;
    }
    store->push_back(std::move(entry));
    return works;
}

/// A call whose first argument is an image.
template <typename Action>
int32_t CallOnImage(const char *name, void *image, Action action)
{
    return Call(name,
                [&](Script &self) -> int32_t
                {
                    auto *found = Find(self, self.images, image);
                    return found != nullptr ? action(self, *found) : TARN_CVL_NULL_POINTER;
                });
}

template <typename T>
std::string Joined(const T *values, size_t count)
{
    return fmt::format("{}", fmt::join(values, values + count, ","));
}

} // namespace
} // namespace scripted

using namespace scripted;

extern "C"
{

#define CVL_CALLED(name)
#define CVL_OTHER(name)                                                                                      \
    int32_t tarn_cvl_##name()                                                                                \
    {                                                                                                        \
        return Call(#name, [](Script &) { return TARN_CVL_NOT_SUPPORTED; });                                 \
    }
// The header declares these functions with parameters, so each is defined under another C++ name for the same
// symbol.
#define CVL_OFFERED(name)                                                                                    \
    int32_t scripted_##name() __asm__("tarn_cvl_" #name);                                                    \
    int32_t scripted_##name()                                                                                \
    {                                                                                                        \
        return Call(#name, [](Script &) { return TARN_CVL_NOT_SUPPORTED; });                                 \
    }
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER

    int32_t tarn_cvl_Init()
    {
        return Call("Init",
                    [&](Script &self) -> int32_t
                    {
                        ++self.initialized;
                        return works;
                    });
    }

    int32_t tarn_cvl_Exit()
    {
        return Call("Exit",
                    [&](Script &self) -> int32_t
                    {
                        --self.initialized;
                        return works;
                    });
    }

    int32_t tarn_cvl_GetLastErrorMessage_GetCount(size_t *count)
    {
        return Call("GetLastErrorMessage_GetCount",
                    [&](Script &self) -> int32_t
                    {
                        *count = lastError.size() + (self.isLastErrorTerminated ? 1 : 0);
                        return works;
                    });
    }

    int32_t tarn_cvl_GetLastErrorMessage(char *text, size_t *size)
    {
        return Call("GetLastErrorMessage",
                    [&](Script &self) -> int32_t
                    {
                        self.wasTextZero = std::all_of(text, text + *size, [](char c) { return c == '\0'; });
                        *size = lastError.copy(text, *size);
                        return works;
                    });
    }

    int32_t tarn_cvl_Image_CreateFromImageInfo(void **image, const tarn_cvl_ImageInfo *info, size_t infoSize)
    {
        return Call("Image_CreateFromImageInfo",
                    [&](Script &self) -> int32_t
                    {
                        if (infoSize != TARN_CVL_IMAGE_INFO_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        Image made;
                        made.info = *info;
                        return Add(self.images, image, std::move(made));
                    });
    }

    int32_t tarn_cvl_Image_CreateWithZeroInit(void **image, uint32_t pixelFormat, tarn_cvl_Size size,
                                              uint8_t flag)
    {
        return Call("Image_CreateWithZeroInit",
                    [&](Script &self) -> int32_t
                    {
                        self.zeroInitFlag = flag;
                        const auto bits = (pixelFormat >> 16) & 0xFF;
                        Image made;
                        made.ownMemory.resize(size_t{size.width} * size.height * bits / 8);
                        made.info.pixelFormat = pixelFormat;
                        made.info.width = size.width;
                        made.info.height = size.height;
                        made.info.size = made.ownMemory.size();
                        made.info.data = made.ownMemory.data();
                        return Add(self.images, image, std::move(made));
                    });
    }

    int32_t tarn_cvl_Image_GetInfo(void *image, tarn_cvl_ImageInfo *info, size_t infoSize)
    {
        return Call("Image_GetInfo",
                    [&](Script &self) -> int32_t
                    {
                        const auto *found = Find(self, self.images, image);
                        if (found == nullptr || infoSize != TARN_CVL_IMAGE_INFO_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        *info = found->info;
                        if (self.onInfo)
                        {
                            self.onInfo(*info);
                        }
                        return works;
                    });
    }

    int32_t tarn_cvl_Image_IncreaseUseCount(void *image)
    {
        return CallOnImage("Image_IncreaseUseCount", image,
                           [](Script &, Image &found) -> int32_t
                           {
                               ++found.owners;
                               return works;
                           });
    }

    int32_t tarn_cvl_Image_Destroy(void *image)
    {
        return CallOnImage("Image_Destroy", image,
                           [image](Script &self, Image &found) -> int32_t
                           { return --found.owners == 0 ? Remove(self, self.images, image) : works; });
    }

    int32_t tarn_cvl_Image_ConvertPixelFormat(void *image, uint32_t pixelFormat, void *target)
    {
        return Call("Image_ConvertPixelFormat",
                    [&](Script &self) -> int32_t
                    {
                        self.convertedFormat = pixelFormat;
                        return Copy(self, image, target, 0);
                    });
    }

    int32_t tarn_cvl_Image_ConvertPixelFormatWithFactor(void *image, uint32_t pixelFormat, void *target,
                                                        double factor)
    {
        return Call("Image_ConvertPixelFormatWithFactor",
                    [&](Script &self) -> int32_t
                    {
                        self.convertedFormat = pixelFormat;
                        self.factor = factor;
                        return Copy(self, image, target, 0);
                    });
    }

    int32_t tarn_cvl_Image_SetMetadata(void *image, void *metadata)
    {
        return Call("Image_SetMetadata",
                    [&](Script &self) -> int32_t
                    {
                        auto *found = Find(self, self.images, image);
                        const auto *store = Find(self, self.metadata, metadata);
                        if (found == nullptr || store == nullptr)
                        {
                            return TARN_CVL_NULL_POINTER;
                        }
                        found->metadata = *store;
                        return works;
                    });
    }

    int32_t tarn_cvl_Image_SetRegion(void *image, void *region)
    {
        return Call("Image_SetRegion",
                    [&](Script &self) -> int32_t
                    {
                        auto *found = Find(self, self.images, image);
                        if (found == nullptr || Find(self, self.regions, region) == nullptr)
                        {
                            return TARN_CVL_NULL_POINTER;
                        }
                        found->region = region;
                        return works;
                    });
    }

    int32_t tarn_cvl_Metadata_Create(void **metadata)
    {
        return Call("Metadata_Create",
                    [&](Script &self) -> int32_t { return Add(self.metadata, metadata, {}); });
    }

    int32_t tarn_cvl_Metadata_Destroy(void *metadata)
    {
        return Call("Metadata_Destroy",
                    [&](Script &self) -> int32_t
                    {
                        if (const auto *store = Find(self, self.metadata, metadata))
                        {
                            self.convertedMetadata = *store;
                        }
                        return Remove(self, self.metadata, metadata);
                    });
    }

#define SET(type, parameters, text)                                                                          \
    int32_t tarn_cvl_Metadata_Set##type parameters                                                           \
    {                                                                                                        \
        return Call("Metadata_Set" #type,                                                                    \
                    [&](Script &self) -> int32_t {                                                           \
                        return SetEntry(self, metadata, {#type, key, text});                                 \
                    });                                                                                      \
    }
    SET(Bool, (void *metadata, const char *key, uint8_t value), fmt::format("{}", value))
    SET(Int, (void *metadata, const char *key, int64_t value), fmt::format("{}", value))
    SET(UInt, (void *metadata, const char *key, uint64_t value), fmt::format("{}", value))
    SET(Double, (void *metadata, const char *key, double value), fmt::format("{}", value))
    SET(String, (void *metadata, const char *key, const char *value), value)
    SET(BoolArray, (void *metadata, const char *key, const uint8_t *values, size_t count),
        Joined(values, count))
    SET(IntArray, (void *metadata, const char *key, const int64_t *values, size_t count),
        Joined(values, count))
    SET(UIntArray, (void *metadata, const char *key, const uint64_t *values, size_t count),
        Joined(values, count))
    SET(DoubleArray, (void *metadata, const char *key, const double *values, size_t count),
        Joined(values, count))
    SET(StringArray, (void *metadata, const char *key, const char *const *values, size_t count),
        Joined(values, count))
#undef SET

    int32_t tarn_cvl_Region_Create(void **region)
    {
        return Call("Region_Create", [&](Script &self) -> int32_t { return Add(self.regions, region, {}); });
    }

    int32_t tarn_cvl_Region_Destroy(void *region)
    {
        return Call("Region_Destroy",
                    [&](Script &self) -> int32_t { return Remove(self, self.regions, region); });
    }

    int32_t tarn_cvl_Region_Draw(void *image, void *region, const tarn_cvl_Colour *colour)
    {
        return Call("Region_Draw",
                    [&](Script &self) -> int32_t
                    {
                        const auto *found = Find(self, self.images, image);
                        const auto *pixels = Find(self, self.regions, region);
                        if (found == nullptr || pixels == nullptr)
                        {
                            return TARN_CVL_NULL_POINTER;
                        }
                        std::copy_n(colour->samples, 3, self.colour.begin());
                        for (const auto pixel : *pixels)
                            PixelsOf(*found)[pixel] = static_cast<uint8_t>(colour->samples[0]);
                        return works;
                    });
    }

    int32_t tarn_cvl_Threshold_Process(void *image, const tarn_cvl_Range *range, size_t rangeSize,
                                       void **region)
    {
        return Call("Threshold_Process",
                    [&](Script &self) -> int32_t
                    {
                        const auto *found = Find(self, self.images, image);
                        auto *pixels = Find(self, self.regions, *region);
                        if (found == nullptr || pixels == nullptr || rangeSize != TARN_CVL_RANGE_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        self.range = *range;
                        self.thresholded = *found;
                        if (self.exchangesRegions)
                        {
                            Remove(self, self.regions, *region);
                            Add(self.regions, region, {});
                            pixels = &self.regions[*region];
                        }
                        const auto bytes = PixelsOf(*found);
                        for (uint32_t i = 0; i < bytes.size(); ++i)
                            if (range->minimum <= bytes[i] && bytes[i] <= range->maximum)
                                pixels->push_back(i);
                        return works;
                    });
    }

    int32_t
    tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **undistortion, void *metadata,
                                                            const tarn_cvl_CalibrationParameters *camera,
                                                            size_t cameraSize, void *adjusted)
    {
        return Call("Transform_Undistortion_CreateWithImageMetadata",
                    [&](Script &self) -> int32_t
                    {
                        const auto *store = Find(self, self.metadata, metadata);
                        if (store == nullptr || cameraSize != TARN_CVL_CAMERA_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        std::memcpy(self.camera.data(), camera, cameraSize);
                        tarn_cvl_CalibrationParameters moved{};
                        std::memcpy(&moved, camera, cameraSize);
                        moved.principalPointX += 1;
                        moved.principalPointY += 1;
                        std::memcpy(adjusted, &moved, cameraSize);
                        return Add(self.undistortions, undistortion, Undistortion{.metadata = *store});
                    });
    }

    int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *undistortion, int32_t interpolation)
    {
        return Call("Transform_Undistortion_SetInterpolation",
                    [&](Script &self) -> int32_t
                    {
                        auto *found = Find(self, self.undistortions, undistortion);
                        if (found == nullptr)
                        {
                            return TARN_CVL_NULL_POINTER;
                        }
                        found->interpolation = interpolation;
                        return works;
                    });
    }

    int32_t tarn_cvl_Transform_Undistortion_Process(void *undistortion, void *source, void *target)
    {
        return Call("Transform_Undistortion_Process",
                    [&](Script &self) -> int32_t
                    {
                        const auto *found = Find(self, self.undistortions, undistortion);
                        const auto *image = Find(self, self.images, source);
                        if (found == nullptr || image == nullptr)
                        {
                            return TARN_CVL_NULL_POINTER;
                        }
                        self.undistorted = *image;
                        self.undistortedWith = found->interpolation;
                        return Copy(self, source, target, 1);
                    });
    }

    int32_t tarn_cvl_Transform_Undistortion_Destroy(void *undistortion)
    {
        return Call("Transform_Undistortion_Destroy",
                    [&](Script &self) -> int32_t { return Remove(self, self.undistortions, undistortion); });
    }

    int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *target,
                                                    const tarn_cvl_CalibrationParameters *camera,
                                                    size_t cameraSize, void *source)
    {
        return Call("Transform_DepthMap_To_XYZImage",
                    [&](Script &self) -> int32_t
                    {
                        if (cameraSize != TARN_CVL_CAMERA_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        std::memcpy(self.camera.data(), camera, cameraSize);
                        if (const auto *image = Find(self, self.images, target))
                        {
                            self.xyz = image->info;
                        }
                        return Copy(self, source, target, 0);
                    });
    }

    int32_t tarn_cvl_ValidateBinary(const uint8_t *bytes, size_t count, uint8_t *isValid)
    {
        return Call("ValidateBinary",
                    [&](Script &self) -> int32_t
                    {
                        self.calibration.assign(bytes, bytes + count);
                        *isValid = self.acceptsCalibration ? 1 : 0;
                        return works;
                    });
    }

    int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *bytes, size_t count,
                                                            tarn_cvl_CalibrationParameters *parameters,
                                                            size_t parametersSize)
    {
        return Call("CalibrationParameters_CreateFromBinary",
                    [&](Script &self) -> int32_t
                    {
                        if (parametersSize != TARN_CVL_CALIBRATION_SIZE)
                        {
                            return TARN_CVL_MISMATCH;
                        }
                        const std::span record(reinterpret_cast<uint8_t *>(parameters), parametersSize);
                        self.wasRecordZero =
                            std::all_of(record.begin(), record.end(), [](uint8_t byte) { return byte == 0; });
                        self.calibration.assign(bytes, bytes + count);
                        parameters->width = 16;
                        parameters->height = 4;
                        parameters->focalLengthX = 100;
                        parameters->focalLengthY = 101;
                        parameters->principalPointX = 8;
                        parameters->principalPointY = 2;
                        return works;
                    });
    }

} // extern "C"
