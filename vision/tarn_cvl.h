#ifndef TARN_CVL_H
#define TARN_CVL_H

/**
 * @file
 * The vision library's C interface: images in memory, conversion of pixel formats, calibrated depth.
 *
 * Every function gives a status, 0 for success. After any other status the calling thread's last error holds
 * a text that says what was expected; a call that succeeds leaves it as it is. No function throws or ends the
 * process for a bad argument: a null handle or pointer gives TARN_CVL_NULL_POINTER; a handle that is of
 * another kind, or has ended, and a record size that is not the one stated TARN_CVL_MISMATCH; memory too
 * small for its format TARN_CVL_OUT_OF_RANGE; an unknown pixel format, and a function that this library does
 * not offer, TARN_CVL_NOT_SUPPORTED. A call that fails changes nothing but the last error, unless stated.
 *
 * Handles are opaque. A function that makes an object gives its handle out through a `void **`, and the
 * caller owns one reference, which the object's Destroy function releases. A handle is never given out twice.
 * Functions may be called from any thread; one object is used by one thread at a time.
 *
 * Pixel formats are the low 32 bits of the published codes (PFNC) and of the maker's. Rows follow each other
 * without padding; in packed formats a row may begin in mid-byte. Pixel memory may begin at any address.
 * Samples of more than a byte are little-endian.
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

    /** Status of a call. */
    enum TARN_CVL_STATUS
    {
        TARN_CVL_SUCCESS = 0,
        TARN_CVL_INVALID_CONFIGURATION = 1,
        TARN_CVL_INVALID_STATE = 2,
        TARN_CVL_MISMATCH = 3,
        TARN_CVL_NOT_SUPPORTED = 4,
        TARN_CVL_NOT_POSSIBLE = 5,
        TARN_CVL_NULL_POINTER = 6,
        TARN_CVL_INTERNAL = 7,
        TARN_CVL_OUT_OF_RANGE = 8,
        TARN_CVL_MATH = 9,
        TARN_CVL_TARGET_NOT_FOUND = 10,
        TARN_CVL_CORRUPTED = 11,
        TARN_CVL_IO = 12,
        TARN_CVL_UNKNOWN = 13
    };

    /** Width and height in pixels. */
    typedef struct tarn_cvl_Size
    {
        uint32_t width;
        uint32_t height;
    } tarn_cvl_Size;

    /** What an image is and where its pixels are. 32 bytes. */
    typedef struct tarn_cvl_ImageInfo
    {
        uint32_t pixelFormat;
        uint32_t width;   /**< pixels */
        uint32_t height;  /**< lines */
        uint32_t padding; /**< bytes behind each line; 0 */
        uint64_t size;    /**< bytes of the pixel memory */
        void *data;       /**< first byte of the pixel memory */
    } tarn_cvl_ImageInfo;

    /** A closed range of sample values. 8 bytes. */
    typedef struct tarn_cvl_Range
    {
        int32_t minimum;
        int32_t maximum;
    } tarn_cvl_Range;

    /** The value that a region is drawn with, for up to three samples of a pixel in their order in memory.
     * 24 bytes. */
    typedef struct tarn_cvl_Colour
    {
        double samples[3];
    } tarn_cvl_Colour;

    /** Lens calibration: the first TARN_CVL_CAMERA_SIZE bytes describe the camera. 176 bytes. */
    typedef struct tarn_cvl_CalibrationParameters
    {
        uint32_t width;           /**< pixels of the calibrated image */
        uint32_t height;          /**< lines of the calibrated image */
        uint8_t opaque[120];      /**< this library's own */
        float focalLengthX;       /**< pixels */
        float focalLengthY;       /**< pixels */
        float principalPointX;    /**< pixels */
        float principalPointY;    /**< pixels */
        uint8_t opaqueBehind[32]; /**< this library's own */
    } tarn_cvl_CalibrationParameters;

    enum TARN_CVL_SIZES
    {
        TARN_CVL_IMAGE_INFO_SIZE = 32,
        TARN_CVL_RANGE_SIZE = 8,
        TARN_CVL_CAMERA_SIZE = 144,
        TARN_CVL_CALIBRATION_SIZE = 176
    };

    /** Prepares the library. Each call is undone by one of tarn_cvl_Exit. */
    int32_t tarn_cvl_Init(void);
    /** Ends what tarn_cvl_Init began. One call too many does nothing. */
    int32_t tarn_cvl_Exit(void);

    /* These two leave the last error as it is, also when they fail. */

    /** Gives the length of the thread's last error, with its terminator: 1 when nothing failed yet. */
    int32_t tarn_cvl_GetLastErrorMessage_GetCount(size_t *count);
    /**
     * Gives the text of the thread's last error, with its terminator.
     * @param size in: room of `text`; out: bytes written, or needed when the room is too small
     * (TARN_CVL_OUT_OF_RANGE)
     */
    int32_t tarn_cvl_GetLastErrorMessage(char *text, size_t *size);

    /**
     * Makes an image over existing memory, without copying. The memory stays the caller's and must outlive
     * the image. It may be larger than the pixels, and null when there are none. A padding other than 0 is
     * TARN_CVL_NOT_SUPPORTED.
     * @param infoSize TARN_CVL_IMAGE_INFO_SIZE
     */
    int32_t tarn_cvl_Image_CreateFromImageInfo(void **image, const tarn_cvl_ImageInfo *info, size_t infoSize);
    /** Makes an image with zeroed memory of its own, of up to 64 GiB. `flag` is reserved and must be 0. */
    int32_t tarn_cvl_Image_CreateWithZeroInit(void **image, uint32_t pixelFormat, tarn_cvl_Size size,
                                              uint8_t flag);
    /** Gives format, size and memory of an image. `infoSize` is TARN_CVL_IMAGE_INFO_SIZE. */
    int32_t tarn_cvl_Image_GetInfo(void *image, tarn_cvl_ImageInfo *info, size_t infoSize);
    /** Adds an owner to an image. */
    int32_t tarn_cvl_Image_IncreaseUseCount(void *image);
    /** Takes an owner from an image, and frees it with the last one. */
    int32_t tarn_cvl_Image_Destroy(void *image);
    /**
     * Converts an image into the memory of another. This is also what unpacks. The pairs that are offered
     * stand in docs/vision-conversions.md.
     * @param pixelFormat the format of `target`
     * @return TARN_CVL_NOT_SUPPORTED for a pair of formats that is not offered, TARN_CVL_MISMATCH when the
     * target has another format or size, TARN_CVL_NOT_POSSIBLE when the two share memory and the formats
     * differ, or when the image is too small or uneven for this conversion
     */
    int32_t tarn_cvl_Image_ConvertPixelFormat(void *image, uint32_t pixelFormat, void *target);
    /**
     * The same, each sample of the result multiplied by `factor`, rounded and kept within the range of the
     * format; floats are not rounded. Transparency counts as a sample.
     * @return TARN_CVL_NOT_SUPPORTED for a packed or YUV target, too, TARN_CVL_OUT_OF_RANGE for a factor that
     * is not finite
     */
    int32_t tarn_cvl_Image_ConvertPixelFormatWithFactor(void *image, uint32_t pixelFormat, void *target,
                                                        double factor);
    /** Attaches a copy of the metadata to an image, in place of what was attached. */
    int32_t tarn_cvl_Image_SetMetadata(void *image, void *metadata);
    /** Attaches a copy of the region to an image, in place of what was attached. */
    int32_t tarn_cvl_Image_SetRegion(void *image, void *region);

    /** Makes an empty store of values by name. */
    int32_t tarn_cvl_Metadata_Create(void **metadata);
    int32_t tarn_cvl_Metadata_Destroy(void *metadata);
    /* Each of these sets a value, and replaces one of the same name. Texts end in a zero byte. */
    int32_t tarn_cvl_Metadata_SetBool(void *metadata, const char *key, uint8_t value);
    int32_t tarn_cvl_Metadata_SetInt(void *metadata, const char *key, int64_t value);
    int32_t tarn_cvl_Metadata_SetUInt(void *metadata, const char *key, uint64_t value);
    int32_t tarn_cvl_Metadata_SetDouble(void *metadata, const char *key, double value);
    int32_t tarn_cvl_Metadata_SetString(void *metadata, const char *key, const char *value);
    /* Arrays: pointer to the first element, which may be null when there is none, and number of elements.
     * Flags are one byte each. Elements are copied. */
    int32_t tarn_cvl_Metadata_SetBoolArray(void *metadata, const char *key, const uint8_t *values,
                                           size_t count);
    int32_t tarn_cvl_Metadata_SetIntArray(void *metadata, const char *key, const int64_t *values,
                                          size_t count);
    int32_t tarn_cvl_Metadata_SetUIntArray(void *metadata, const char *key, const uint64_t *values,
                                           size_t count);
    int32_t tarn_cvl_Metadata_SetDoubleArray(void *metadata, const char *key, const double *values,
                                             size_t count);
    int32_t tarn_cvl_Metadata_SetStringArray(void *metadata, const char *key, const char *const *values,
                                             size_t count);

    /** Makes an empty region, a set of pixels. */
    int32_t tarn_cvl_Region_Create(void **region);
    int32_t tarn_cvl_Region_Destroy(void *region);
    /**
     * Sets the region's pixels of the image to the colour; pixels outside of the image are passed over. Each
     * sample is rounded and kept within the range of the format. Transparency stays.
     * @return TARN_CVL_NOT_SUPPORTED when a pixel is not up to three whole samples
     */
    int32_t tarn_cvl_Region_Draw(void *image, void *region, const tarn_cvl_Colour *colour);
    /**
     * Makes the pixels whose value lies in the range, both ends included, the region's pixels.
     * @param image one whole sample for each pixel, integer or float
     * @param rangeSize TARN_CVL_RANGE_SIZE
     * @param region in: a region; out: the same, with these pixels only
     */
    int32_t tarn_cvl_Threshold_Process(void *image, const tarn_cvl_Range *range, size_t rangeSize,
                                       void **region);

    /**
     * Makes a rectifier for images of the geometry that the metadata tells ("ROIX", "ROIY", "ROIWidth",
     * "ROIHeight", "BinningHorizontal", "BinningVertical").
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     * @param adjusted out: TARN_CVL_CAMERA_SIZE bytes, the camera as it sees undistorted images
     */
    int32_t
    tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **undistortion, void *metadata,
                                                            const tarn_cvl_CalibrationParameters *camera,
                                                            size_t cameraSize, void *adjusted);
    /** Sets how values between pixels are made: 0 for intensity images, 1 for depth images. */
    int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *undistortion, int32_t interpolation);
    /** Undistorts an image into another of the same format and size. */
    int32_t tarn_cvl_Transform_Undistortion_Process(void *undistortion, void *source, void *target);
    int32_t tarn_cvl_Transform_Undistortion_Destroy(void *undistortion);
    /**
     * Makes three coordinates for each pixel of an undistorted depth image.
     * @param target of format Coord3D_ABC32f
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     */
    int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *target,
                                                    const tarn_cvl_CalibrationParameters *camera,
                                                    size_t cameraSize, void *source);

    /** Tells whether the bytes carry lens calibration data. */
    int32_t tarn_cvl_ValidateBinary(const uint8_t *bytes, size_t count, uint8_t *isValid);
    /** Reads lens calibration data. `parametersSize` is TARN_CVL_CALIBRATION_SIZE. */
    int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *bytes, size_t count,
                                                            tarn_cvl_CalibrationParameters *parameters,
                                                            size_t parametersSize);

#ifdef __cplusplus
}
#endif

#endif
