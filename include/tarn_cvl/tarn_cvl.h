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

    /**
     * Lens calibration: the first TARN_CVL_CAMERA_SIZE bytes describe the camera. 176 bytes.
     *
     * A point that the lens without distortion would show at focalLengthX * x + principalPointX and
     * focalLengthY * y + principalPointY is shown, with r2 = x * x + y * y, at the same for x' and y':
     *
     *     radial = (1 + k1 * r2 + k2 * r2^2 + k3 * r2^3) / (1 + k4 * r2 + k5 * r2^2 + k6 * r2^3)
     *     x' = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x)
     *     y' = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y
     *
     * Whole numbers are the middles of pixels.
     *
     * `opaque` begins with eight 32-bit floats in the machine's byte order, which are those of OpenCV's
     * distCoeffs in their order: offset 8 k1, 12 k2, 16 p1, 20 p2, 24 k3, 28 k4, 32 k5, 36 k6. The bytes from
     * offset 40 on and those of `opaqueBehind` are 0, and nothing reads them.
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
     * Makes a rectifier for images of the geometry that the metadata tells, in numbers without a fraction:
     *
     * - "BinningHorizontal" and "BinningVertical": how many pixels of the calibrated image make one pixel, 1
     *   when not there. This scales focal length and principal point.
     * - "ROIX" and "ROIY": the image's first pixel, counted after binning, 0 when not there. This moves the
     *   principal point.
     * - "ROIWidth" and "ROIHeight": the image's size, when not there that of the calibrated image after
     *   binning.
     *
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     * @param adjusted out: TARN_CVL_CAMERA_SIZE bytes, the camera as it sees undistorted images: with their
     * size and without distortion
     * @return TARN_CVL_MISMATCH for metadata that are no such number, TARN_CVL_OUT_OF_RANGE for a camera or a
     * geometry that cannot be; an image has up to 32766 x 32766 pixels
     */
    int32_t
    tarn_cvl_Transform_Undistortion_CreateWithImageMetadata(void **undistortion, void *metadata,
                                                            const tarn_cvl_CalibrationParameters *camera,
                                                            size_t cameraSize, void *adjusted);
    /** The same for whole images without binning. */
    int32_t tarn_cvl_Transform_Undistortion_Create(void **undistortion,
                                                   const tarn_cvl_CalibrationParameters *camera,
                                                   size_t cameraSize, void *adjusted);
    /** Adds an owner to a rectifier. */
    int32_t tarn_cvl_Transform_Undistortion_IncreaseUseCount(void *undistortion);
    /**
     * Sets how values between pixels are made: 0, as at first, for intensity images, from the four pixels
     * around (bilinear); 1 for depth images, as the nearest pixel has it, so that no depth is made up between
     * an object and what is behind it.
     * @return TARN_CVL_OUT_OF_RANGE for another number
     */
    int32_t tarn_cvl_Transform_Undistortion_SetInterpolation(void *undistortion, int32_t interpolation);
    int32_t tarn_cvl_Transform_Undistortion_GetInterpolation(void *undistortion, int32_t *interpolation);
    /**
     * Undistorts an image into another of the same format and size, whose pixels are 0 where the image does
     * not reach.
     *
     * A region of the source limits it to these pixels: all others count as 0. The target's region becomes
     * the pixels whose nearest pixel of the source exists and is of the source's region; with interpolation 0
     * and a source without a region, the target has none either.
     *
     * The first image of each interpolation takes longer, since the rectifier then makes its map.
     * @return TARN_CVL_NOT_SUPPORTED for formats other than Mono8, Mono10, Mono12, Mono16, Mono32f, RGB8,
     * BGR8, Coord3D_C8, Coord3D_C16, Coord3D_C32f, Confidence8 and Confidence16; TARN_CVL_MISMATCH when the
     * target has another format or size, or the source another size than the geometry; TARN_CVL_NOT_POSSIBLE
     * when the two share memory
     */
    int32_t tarn_cvl_Transform_Undistortion_Process(void *undistortion, void *source, void *target);
    /** Takes an owner from a rectifier, and frees it with the last one. */
    int32_t tarn_cvl_Transform_Undistortion_Destroy(void *undistortion);
    /**
     * Makes three coordinates for each pixel of an undistorted depth image, in the unit of the depth Z:
     * X = (x - principalPointX) * Z / focalLengthX, Y = (y - principalPointY) * Z / focalLengthY, and Z.
     * For a pixel outside of a region of the depth image, Z is 0, as its depth is, and X and Y are not a
     * number: whoever goes by the depth and whoever tests for numbers find the same pixels without a point.
     * @param target of format Coord3D_ABC32f
     * @param camera of the size of the image; a distortion is passed over
     * @param cameraSize TARN_CVL_CAMERA_SIZE
     * @param source of format Coord3D_C32f
     * @return TARN_CVL_MISMATCH for other formats and sizes, TARN_CVL_OUT_OF_RANGE for a camera that cannot
     * be, TARN_CVL_NOT_POSSIBLE when the images share memory
     */
    int32_t tarn_cvl_Transform_DepthMap_To_XYZImage(void *target,
                                                    const tarn_cvl_CalibrationParameters *camera,
                                                    size_t cameraSize, void *source);

    /*
     * Lens calibration data as bytes, the same on every machine. All numbers are of 32 bits and
     * little-endian, floats by IEEE 754:
     *
     *     offset 0   the letters TCAL
     *     offset 4   version of this form, 1
     *     offset 8   number of all bytes, 72
     *     offset 12  width, height
     *     offset 20  focal length x, y, principal point x, y
     *     offset 36  k1 k2 p1 p2 k3 k4 k5 k6
     *     offset 68  CRC-32 of all bytes before, as of zip files
     *
     * Data are valid when they are of this form, nothing follows, all numbers are finite, and size and focal
     * lengths are greater than 0.
     */

    /** Tells whether the bytes carry lens calibration data: 1 or 0. The pointer may be null for no bytes. */
    int32_t tarn_cvl_ValidateBinary(const uint8_t *bytes, size_t count, uint8_t *isValid);
    /**
     * Reads lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_CORRUPTED for bytes that are not valid
     */
    int32_t tarn_cvl_CalibrationParameters_CreateFromBinary(const uint8_t *bytes, size_t count,
                                                            tarn_cvl_CalibrationParameters *parameters,
                                                            size_t parametersSize);
    /** Gives the number of bytes that tarn_cvl_CalibrationParameters_ToBinary writes. */
    int32_t
    tarn_cvl_CalibrationParameters_ToBinaryGetSizeInBytes(const tarn_cvl_CalibrationParameters *parameters,
                                                          size_t parametersSize, size_t *size);
    /**
     * Writes lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @param size in: room of `bytes`; out: bytes written, or needed when the room is too small
     * (TARN_CVL_OUT_OF_RANGE)
     * @return TARN_CVL_OUT_OF_RANGE for parameters that would not be valid
     */
    int32_t tarn_cvl_CalibrationParameters_ToBinary(const tarn_cvl_CalibrationParameters *parameters,
                                                    size_t parametersSize, uint8_t *bytes, size_t *size);
    /**
     * Reads a file of lens calibration data.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_TARGET_NOT_FOUND when there is no such file, TARN_CVL_IO when it cannot be read,
     * TARN_CVL_CORRUPTED when its bytes are not valid
     */
    int32_t tarn_cvl_CalibrationParameters_CreateFromFile(const char *path,
                                                          tarn_cvl_CalibrationParameters *parameters,
                                                          size_t parametersSize);
    /**
     * Writes a file of lens calibration data, in place of one that is there.
     * @param parametersSize TARN_CVL_CALIBRATION_SIZE
     * @return TARN_CVL_OUT_OF_RANGE for parameters that would not be valid, TARN_CVL_IO when the file cannot
     * be written; what was there may be lost then
     */
    int32_t tarn_cvl_CalibrationParameters_SaveToFile(const char *path,
                                                      const tarn_cvl_CalibrationParameters *parameters,
                                                      size_t parametersSize);

#ifdef __cplusplus
}
#endif

#endif
