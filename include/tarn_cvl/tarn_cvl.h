#ifndef TARN_CVL_H
#define TARN_CVL_H

/**
 * @file
 * The vision library's C interface: images in memory, conversion of pixel formats, calibrated depth.
 *
 * Every function returns a status, 0 for success. After any other status, the calling thread's last error
 * holds a text that states what was expected. A call that succeeds leaves the last error unchanged. No
 * function throws, or ends the process, for a bad argument:
 *
 * - TARN_CVL_NULL_POINTER for a null handle or pointer
 * - TARN_CVL_MISMATCH for a stale handle, a handle of another kind, or a wrong record size
 * - TARN_CVL_OUT_OF_RANGE for memory too small for its format
 * - TARN_CVL_NOT_SUPPORTED for an unknown pixel format, or a function that this library does not offer
 *
 * A call that fails changes only the last error, unless stated otherwise.
 *
 * Handles are opaque. A function that makes an object returns its handle through a `void **`. The caller owns
 * one reference, which the object's Destroy function releases. A handle is never reused. Functions may be
 * called from any thread; an object is used by one thread at a time.
 *
 * Pixel formats are the low 32 bits of published (PFNC) and vendor-specific codes. Rows have no padding; in
 * packed formats, a row may begin in the middle of a byte. Pixel memory may begin at any address. Samples of
 * more than one byte are little-endian.
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

    /** Format, size and memory of an image. 32 bytes. */
    typedef struct tarn_cvl_ImageInfo
    {
        uint32_t pixelFormat;
        uint32_t width;   /**< pixels */
        uint32_t height;  /**< lines */
        uint32_t padding; /**< bytes after each line; 0 */
        uint64_t size;    /**< bytes of the pixel memory */
        void *data;       /**< first byte of the pixel memory */
    } tarn_cvl_ImageInfo;

    /** A closed range of sample values. 8 bytes. */
    typedef struct tarn_cvl_Range
    {
        int32_t minimum;
        int32_t maximum;
    } tarn_cvl_Range;

    /** The colour for drawing a region: up to three samples of a pixel, in memory order. 24 bytes. */
    typedef struct tarn_cvl_Colour
    {
        double samples[3];
    } tarn_cvl_Colour;

    /**
     * Lens calibration: the first TARN_CVL_CAMERA_SIZE bytes describe the camera. 176 bytes.
     *
     * Without distortion, the lens shows a point at focalLengthX * x + principalPointX and
     * focalLengthY * y + principalPointY. With distortion, x' and y' replace x and y, for r2 = x * x + y * y:
     *
     *     radial = (1 + k1 * r2 + k2 * r2^2 + k3 * r2^3) / (1 + k4 * r2 + k5 * r2^2 + k6 * r2^3)
     *     x' = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x)
     *     y' = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y
     *
     * Whole numbers are the centres of pixels.
     *
     * `opaque` begins with eight 32-bit floats in the machine's byte order, ordered like OpenCV's distCoeffs.
     * Counted from the start of the record, they lie at offset 8 k1, 12 k2, 16 p1, 20 p2, 24 k3, 28 k4, 32
     * k5, 36 k6. The rest of `opaque` and all of `opaqueBehind` are 0 and ignored.
     */
    typedef struct tarn_cvl_CalibrationParameters
    {
        uint32_t width;           /**< pixels of the calibrated image */
        uint32_t height;          /**< lines of the calibrated image */
        uint8_t opaque[120];      /**< the lens distortion, as above */
        float focalLengthX;       /**< pixels */
        float focalLengthY;       /**< pixels */
        float principalPointX;    /**< pixels */
        float principalPointY;    /**< pixels */
        uint8_t opaqueBehind[32]; /**< 0; ignored */
    } tarn_cvl_CalibrationParameters;

    enum TARN_CVL_SIZES
    {
        TARN_CVL_IMAGE_INFO_SIZE = 32,
        TARN_CVL_RANGE_SIZE = 8,
        TARN_CVL_CAMERA_SIZE = 144,
        TARN_CVL_CALIBRATION_SIZE = 176
    };

    /** Prepares the library. Each call needs one call of tarn_cvl_Exit. */
    int32_t tarn_cvl_Init(void);
    /** Undoes one call of tarn_cvl_Init. A surplus call does nothing. */
    int32_t tarn_cvl_Exit(void);

    /* These two functions never change the last error. */

    /** Returns the length of the thread's last error with its terminator; 1 before the first failure. */
    int32_t tarn_cvl_GetLastErrorMessage_GetCount(size_t *count);
    /**
     * Returns the text of the thread's last error with its terminator.
     * @param size in: size of `text`; out: bytes written, or bytes needed when `text` is too small
     * (TARN_CVL_OUT_OF_RANGE)
     */
    int32_t tarn_cvl_GetLastErrorMessage(char *text, size_t *size);

    /**
     * Makes an image over existing memory, without copying. The memory stays the caller's and must outlive
     * the image. It may be larger than the pixels; for an image without pixels, it may be null. Padding must
     * be 0, otherwise the result is TARN_CVL_NOT_SUPPORTED.
     * @param infoSize TARN_CVL_IMAGE_INFO_SIZE
     */
    int32_t tarn_cvl_Image_CreateFromImageInfo(void **image, const tarn_cvl_ImageInfo *info, size_t infoSize);
    /** Makes an image with zeroed memory of its own, of up to 64 GiB. `flag` is reserved and must be 0. */
    int32_t tarn_cvl_Image_CreateWithZeroInit(void **image, uint32_t pixelFormat, tarn_cvl_Size size,
                                              uint8_t flag);
    /** Returns format, size and memory of an image. `infoSize` is TARN_CVL_IMAGE_INFO_SIZE. */
    int32_t tarn_cvl_Image_GetInfo(void *image, tarn_cvl_ImageInfo *info, size_t infoSize);
    /** Adds an owner to an image. */
    int32_t tarn_cvl_Image_IncreaseUseCount(void *image);
    /** Removes an owner from an image, which is freed with its last owner. */
    int32_t tarn_cvl_Image_Destroy(void *image);
    /**
     * Converts an image into the memory of another, unpacking if needed. docs/vision-conversions.md lists the
     * pairs of formats.
     * @param pixelFormat the format of `target`
     * @return TARN_CVL_NOT_SUPPORTED for an unlisted pair of formats; TARN_CVL_MISMATCH when the target has
     * another format or size; TARN_CVL_NOT_POSSIBLE when the images overlap in memory and their formats
     * differ, or when the image is too small or its size is odd for this conversion
     */
    int32_t tarn_cvl_Image_ConvertPixelFormat(void *image, uint32_t pixelFormat, void *target);
    /**
     * Converts an image and multiplies each sample of the result by `factor`. Integers are rounded and
     * clamped to the range of the format. Transparency counts as a sample.
     * @return as tarn_cvl_Image_ConvertPixelFormat; TARN_CVL_NOT_SUPPORTED also for a packed or YUV target;
     * TARN_CVL_OUT_OF_RANGE unless the factor is finite
     */
    int32_t tarn_cvl_Image_ConvertPixelFormatWithFactor(void *image, uint32_t pixelFormat, void *target,
                                                        double factor);
    /** Attaches a copy of the metadata to an image, replacing earlier metadata. */
    int32_t tarn_cvl_Image_SetMetadata(void *image, void *metadata);
    /** Attaches a copy of the region to an image, replacing an earlier region. */
    int32_t tarn_cvl_Image_SetRegion(void *image, void *region);

    /** Makes an empty metadata object, which holds values by name. */
    int32_t tarn_cvl_Metadata_Create(void **metadata);
    int32_t tarn_cvl_Metadata_Destroy(void *metadata);
    /* Each of these sets a value, replacing any of the same name. Texts end in a zero byte. */
    int32_t tarn_cvl_Metadata_SetBool(void *metadata, const char *key, uint8_t value);
    int32_t tarn_cvl_Metadata_SetInt(void *metadata, const char *key, int64_t value);
    int32_t tarn_cvl_Metadata_SetUInt(void *metadata, const char *key, uint64_t value);
    int32_t tarn_cvl_Metadata_SetDouble(void *metadata, const char *key, double value);
    int32_t tarn_cvl_Metadata_SetString(void *metadata, const char *key, const char *value);
    /* Arrays are copied. `values` may be null when `count` is 0. A bool takes one byte. */
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
     * Gives the region's pixels in the image one colour. Pixels outside the image are ignored. Samples are
     * rounded and clamped to the range of the format. Transparency stays unchanged.
     * @return TARN_CVL_NOT_SUPPORTED unless a pixel has one to three whole samples, besides transparency
     */
    int32_t tarn_cvl_Region_Draw(void *image, void *region, const tarn_cvl_Colour *colour);
    /**
     * Replaces the region's pixels by those whose value lies in the range, limits included.
     * @param image has one whole sample per pixel, integer or float
     * @param rangeSize TARN_CVL_RANGE_SIZE
     * @param region in: a region; out: the same, with these pixels only
     */
    int32_t tarn_cvl_Threshold_Process(void *image, const tarn_cvl_Range *range, size_t rangeSize,
                                       void **region);

    /**
     * Makes a rectifier, which undistorts images of one geometry. The metadata hold the geometry, as whole
     * numbers:
     *
     * - "BinningHorizontal" and "BinningVertical": pixels of the calibrated image per pixel; default 1. They
     *   scale focal length and principal point.
     * - "ROIX" and "ROIY": position of the first pixel in binned pixels; default 0. They move the principal
     *   point.
     * - "ROIWidth" and "ROIHeight": size of the image; default: the whole calibrated image after binning.
     *
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     * @param adjusted out: TARN_CVL_CAMERA_SIZE bytes, the camera that describes undistorted images: it has
     * their size and no distortion
     * @return TARN_CVL_MISMATCH for metadata that are not whole numbers; TARN_CVL_OUT_OF_RANGE for an invalid
     * camera or an impossible geometry, and for images larger than 32766 x 32766 pixels
     */
    int32_t
    tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **undistortion, void *metadata,
                                                            const tarn_cvl_CalibrationParameters *camera,
                                                            size_t cameraSize, void *adjusted);
    /** Makes a rectifier for whole images without binning. */
    int32_t tarn_cvl_Transform_Undistortion_Create(void **undistortion,
                                                   const tarn_cvl_CalibrationParameters *camera,
                                                   size_t cameraSize, void *adjusted);
    /** Adds an owner to a rectifier. */
    int32_t tarn_cvl_Transform_Undistortion_IncreaseUseCount(void *undistortion);
    /**
     * Sets the interpolation: 0, the default, is bilinear and suits intensity images; 1 takes the nearest
     * pixel and suits depth images, because it invents no depth between an object and its background.
     * @return TARN_CVL_OUT_OF_RANGE for other numbers
     */
    int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *undistortion, int32_t interpolation);
    int32_t tarn_cvl_Transform_Undistortion_GetInterpolation(void *undistortion, int32_t *interpolation);
    /**
     * Undistorts an image into another of the same format and size. Pixels without a source pixel become 0.
     *
     * Source pixels outside the source's region count as 0. The target's region becomes the set of pixels
     * whose nearest source pixel exists and belongs to the source's region. With interpolation 0 and a source
     * without a region, the target has no region either.
     *
     * The first image of each interpolation takes longer: the rectifier computes its map.
     * @return TARN_CVL_NOT_SUPPORTED for formats other than Mono8, Mono10, Mono12, Mono16, Mono32f, RGB8,
     * BGR8, Coord3D_C8, Coord3D_C16, Coord3D_C32f, Confidence8 and Confidence16; TARN_CVL_MISMATCH when the
     * target has another format or size, or the source another size than the geometry; TARN_CVL_NOT_POSSIBLE
     * when the images overlap in memory
     */
    int32_t tarn_cvl_Transform_Undistortion_Process(void *undistortion, void *source, void *target);
    /** Removes an owner from a rectifier, which is freed with its last owner. */
    int32_t tarn_cvl_Transform_Undistortion_Destroy(void *undistortion);
    /**
     * Computes three coordinates for each pixel of an undistorted depth image, in the unit of the depth Z:
     * X = (x - principalPointX) * Z / focalLengthX, Y = (y - principalPointY) * Z / focalLengthY, and Z.
     * A pixel outside the region of the depth image has no point: Z is 0, like its depth, and X and Y are
     * NaN, so a test of either finds it.
     * @param target has the format Coord3D_ABC32f
     * @param camera has the size of the image; its distortion is ignored
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     * @param source has the format Coord3D_C32f
     * @return TARN_CVL_MISMATCH for other formats and sizes; TARN_CVL_OUT_OF_RANGE for an invalid camera;
     * TARN_CVL_NOT_POSSIBLE when the images overlap in memory
     */
    int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *target,
                                                    const tarn_cvl_CalibrationParameters *camera,
                                                    size_t cameraSize, void *source);

    /*
     * Lens calibration data as bytes, the same on every machine. All numbers have 32 bits and are
     * little-endian; floats follow IEEE 754:
     *
     *     offset 0   the letters TCAL
     *     offset 4   version of this format, 1
     *     offset 8   total number of bytes, 72
     *     offset 12  width, height
     *     offset 20  focal length x, y, principal point x, y
     *     offset 36  k1 k2 p1 p2 k3 k4 k5 k6
     *     offset 68  CRC-32 of all bytes before, as in zip files
     *
     * Data are valid when they have this format without further bytes, all numbers are finite, and size and
     * focal lengths are greater than 0.
     */

    /** Whether the bytes are valid lens calibration data: 1 or 0. `bytes` may be null when `count` is 0. */
    int32_t tarn_cvl_ValidateBinary(const uint8_t *bytes, size_t count, uint8_t *isValid);
    /**
     * Reads lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_CORRUPTED for invalid bytes
     */
    int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *bytes, size_t count,
                                                            tarn_cvl_CalibrationParameters *parameters,
                                                            size_t parametersSize);
    /** Returns the number of bytes that tarn_cvl_CalibrationParameters_ToBinary writes. */
    int32_t
    tarn_cvl_CalibrationParameters_ToBinaryGetSizeInBytes(const tarn_cvl_CalibrationParameters *parameters,
                                                          size_t parametersSize, size_t *size);
    /**
     * Writes lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @param size in: size of `bytes`; out: bytes written, or bytes needed when `bytes` is too small
     * (TARN_CVL_OUT_OF_RANGE)
     * @return TARN_CVL_OUT_OF_RANGE for invalid parameters
     */
    int32_t tarn_cvl_CalibrationParameters_ToBinary(const tarn_cvl_CalibrationParameters *parameters,
                                                    size_t parametersSize, uint8_t *bytes, size_t *size);
    /**
     * Reads a file of lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_TARGET_NOT_FOUND when the file does not exist, TARN_CVL_IO when it cannot be read,
     * TARN_CVL_CORRUPTED when its bytes are invalid
     */
    int32_t tarn_cvl_CalibrationParameters_CreateFromFile(const char *path,
                                                          tarn_cvl_CalibrationParameters *parameters,
                                                          size_t parametersSize);
    /**
     * Writes a file of lens calibration data, replacing an existing one.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_OUT_OF_RANGE for invalid parameters; TARN_CVL_IO when the file cannot be written, and
     * the content of an existing file may be lost
     */
    int32_t tarn_cvl_CalibrationParameters_SaveToFile(const char *path,
                                                      const tarn_cvl_CalibrationParameters *parameters,
                                                      size_t parametersSize);

#ifdef __cplusplus
}
#endif

#endif
