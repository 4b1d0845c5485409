#include "undistorter.h"

#include <opencv2/calib3d.hpp>

#include <cmath>
#include <numeric>

namespace GenTL::internal
{

namespace
{

constexpr std::array formats{PixelFormat::Mono8,        PixelFormat::Mono10,      PixelFormat::Mono12,
                             PixelFormat::Mono16,       PixelFormat::Mono32f,     PixelFormat::RGB8,
                             PixelFormat::BGR8,         PixelFormat::Coord3D_C8,  PixelFormat::Coord3D_C16,
                             PixelFormat::Coord3D_C32f, PixelFormat::Confidence8, PixelFormat::Confidence16};

/// A region of interest of the calibrated image, before binning.
struct Roi
{
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

constexpr std::array rois{Roi{0, 0, 640, 480}, Roi{64, 32, 320, 240}, Roi{336, 216, 304, 264}};

struct Shown
{
    Roi roi;
    uint32_t binningX;
    uint32_t binningY;

    uint32_t Width() const { return roi.width / binningX; }
    uint32_t Height() const { return roi.height / binningY; }

    Numbers Metadata() const
    {
        return {{"BinningHorizontal", binningX}, {"BinningVertical", binningY}, {"ROIX", roi.x / binningX},
                {"ROIY", roi.y / binningY},      {"ROIWidth", Width()},         {"ROIHeight", Height()}};
    }

    /// The position in the calibrated image of a position in this image.
    cv::Point2d Calibrated(double x, double y) const
    {
        return {binningX * (x + roi.x / binningX) + (binningX - 1) / 2.0,
                binningY * (y + roi.y / binningY) + (binningY - 1) / 2.0};
    }
};

/// The distorted position of an undistorted one.
cv::Point2d Distorted(const tarn_cvl_CalibrationParameters &camera, const cv::Point2d &place)
{
    const std::vector<cv::Point3d> point{{(place.x - camera.principalPointX) / camera.focalLengthX,
                                          (place.y - camera.principalPointY) / camera.focalLengthY, 1}};
    std::vector<cv::Point2d> shown;
    cv::projectPoints(point, cv::Vec3d(), cv::Vec3d(), CameraMatrix(camera), Coefficients(camera), shown);
    return shown.at(0);
}

std::vector<uint8_t> Picture(uint32_t width, uint32_t height)
{
    std::vector<uint8_t> pixels;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const double value = 128 + 60 * std::sin(x * 0.11) + 55 * std::cos(y * 0.07 + x * 0.03);
            pixels.push_back(static_cast<uint8_t>(value));
        }
    }
    return pixels;
}

} // namespace

class VisionUndistortion : public VisionTest
{
protected:
    /// Undistorts the image.
    template <typename T>
    std::vector<T> Undistorted(const Undistorter &undistorter, PixelFormat format,
                               const std::vector<T> &samples, int32_t interpolation)
    {
        const auto &adjusted = undistorter.Adjusted();
        Pixels source(format, adjusted.width, adjusted.height);
        source.Set(samples);
        Pixels target(format, adjusted.width, adjusted.height);
        std::memset(target.Data(), 0x77, target.Size());
        EXPECT_EQ(AnswerOf(undistorter.Process(source, target, interpolation)), Answered{});
        return target.template As<T>();
    }

    /// Undistorts images whose values are their own coordinates, and compares each pixel that has all its
    /// neighbours with its distorted position.
    void ExpectPlaces(const Shown &shown, int32_t interpolation, double toleranceInPixels)
    {
        const auto camera = DistortingCamera();
        const Undistorter undistorter(vision, camera, shown.Metadata());
        std::vector<float> columns;
        std::vector<float> lines;
        for (uint32_t y = 0; y < shown.Height(); ++y)
        {
            for (uint32_t x = 0; x < shown.Width(); ++x)
            {
                columns.push_back(static_cast<float>(shown.Calibrated(x, y).x));
                lines.push_back(static_cast<float>(shown.Calibrated(x, y).y));
            }
        }
        const auto fromX = Undistorted(undistorter, PixelFormat::Mono32f, columns, interpolation);
        const auto fromY = Undistorted(undistorter, PixelFormat::Mono32f, lines, interpolation);
        const auto first = shown.Calibrated(0, 0);
        const auto last = shown.Calibrated(shown.Width() - 1, shown.Height() - 1);
        size_t compared = 0;
        for (uint32_t y = 0; y < shown.Height(); y += 3)
        {
            for (uint32_t x = 0; x < shown.Width(); x += 3)
            {
                const auto place = Distorted(camera, shown.Calibrated(x, y));
                if (place.x < first.x || place.x > last.x || place.y < first.y || place.y > last.y)
                {
                    continue;
                }
                ++compared;
                const auto pixel = y * shown.Width() + x;
                ASSERT_NEAR(fromX[pixel], place.x, toleranceInPixels * shown.binningX) << x << ", " << y;
                ASSERT_NEAR(fromY[pixel], place.y, toleranceInPixels * shown.binningY) << x << ", " << y;
            }
        }
        EXPECT_GT(compared * 9, shown.Width() * shown.Height() / 2);
    }

    Answered Create(void *metadata, const tarn_cvl_CalibrationParameters &camera)
    {
        void *handle = nullptr;
        tarn_cvl_CalibrationParameters adjusted{};
        const auto answered = AnswerOf(vision.Transform_Undistortion_CreateWithImageMetadata(
            &handle, metadata, &camera, TARN_CVL_CAMERA_SIZE, &adjusted));
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(adjusted.width, 0U);
        return answered;
    }
};

TEST_F(VisionUndistortion, IsThatOfOpenCVOverTheWholePicture)
{
    for (const auto &roi : rois)
    {
        for (const uint32_t binning : {1U, 2U, 4U})
        {
            const Shown shown{roi, binning, binning};
            const Undistorter undistorter(vision, DistortingCamera(), shown.Metadata());
            auto camera = undistorter.Adjusted();
            ASSERT_EQ(camera.width, shown.Width());
            ASSERT_EQ(camera.height, shown.Height());
            auto picture = Picture(shown.Width(), shown.Height());
            const auto undistorted = Undistorted(undistorter, PixelFormat::Mono8, picture, bilinear);

            const cv::Mat source(static_cast<int>(shown.Height()), static_cast<int>(shown.Width()), CV_8UC1,
                                 picture.data());
            cv::Mat expected;
            cv::undistort(source, expected, CameraMatrix(camera), Coefficients(DistortingCamera()));
            int largest = 0;
            size_t moved = 0;
            for (size_t i = 0; i < undistorted.size(); ++i)
            {
                largest = std::max(largest, std::abs(undistorted[i] - expected.data[i]));
                moved += undistorted[i] != picture[i] ? 1 : 0;
            }
            EXPECT_LE(largest, 1) << shown.Width() << " x " << shown.Height();
            EXPECT_GT(moved, undistorted.size() / 2);
        }
    }
}

TEST_F(VisionUndistortion, ShowsEachPlaceOfEveryRegionAndBinning)
{
    for (const auto &roi : rois)
    {
        for (const auto &[x, y] : {std::pair{1U, 1U}, {2U, 2U}, {4U, 4U}, {1U, 4U}, {2U, 1U}})
        {
            ExpectPlaces({roi, x, y}, bilinear, 1.0 / 64 + 1e-3);
        }
    }
}

TEST_F(VisionUndistortion, TakesTheNearestPixelOfEachGeometry)
{
    for (const auto &roi : rois)
    {
        for (const auto &[x, y] : {std::pair{1U, 1U}, {2U, 2U}, {4U, 4U}, {1U, 4U}})
        {
            ExpectPlaces({roi, x, y}, nearest, 0.5 + 1e-3);
        }
    }
}

TEST_F(VisionUndistortion, TellsTheCameraOfTheResult)
{
    const auto camera = Camera(640, 480, 500, 600, 319.5F, 239.5F, {1, 2, 3, 4, 5, 6, 7, 8});
    const auto expectAdjusted = [&](const Numbers &numbers, const tarn_cvl_CalibrationParameters &expected)
    {
        const Undistorter undistorter(vision, camera, numbers);
        EXPECT_EQ(std::memcmp(&undistorter.Adjusted(), &expected, sizeof expected), 0);
    };
    expectAdjusted({}, Camera(640, 480, 500, 600, 319.5F, 239.5F));
    expectAdjusted({{"ROIX", 100}, {"ROIY", 200}, {"ROIWidth", 32}, {"ROIHeight", 16}},
                   Camera(32, 16, 500, 600, 219.5F, 39.5F));
    expectAdjusted({{"BinningHorizontal", 2}}, Camera(320, 480, 250, 600, 159.5F, 239.5F));
    expectAdjusted({{"BinningVertical", 4}}, Camera(640, 120, 500, 150, 319.5F, 59.5F));
    expectAdjusted({{"BinningHorizontal", 2},
                    {"BinningVertical", 4},
                    {"ROIX", 10},
                    {"ROIY", 20},
                    {"ROIWidth", 30},
                    {"ROIHeight", 40}},
                   Camera(30, 40, 250, 150, 149.5F, 39.5F));
    expectAdjusted({{"BinningHorizontal", 3}, {"Gain", 7}},
                   Camera(213, 480, 500 / 3.0F, 600, static_cast<float>((319.5 - 1) / 3), 239.5F));
}

TEST_F(VisionUndistortion, WritesNothingBehindTheAdjustedCamera)
{
    std::array<uint8_t, TARN_CVL_CAMERA_SIZE + 1> adjusted{};
    adjusted.fill(0xA5);
    const auto camera = DistortingCamera();
    void *handle = nullptr;
    EXPECT_EQ(vision.Transform_Undistortion_Create(&handle, &camera, TARN_CVL_CAMERA_SIZE, adjusted.data()),
              TARN_CVL_SUCCESS);
    EXPECT_EQ(adjusted.back(), 0xA5);
    const auto expected = Camera(camera.width, camera.height, camera.focalLengthX, camera.focalLengthY,
                                 camera.principalPointX, camera.principalPointY);
    EXPECT_EQ(std::memcmp(adjusted.data(), &expected, TARN_CVL_CAMERA_SIZE), 0);
    EXPECT_EQ(vision.Transform_Undistortion_Destroy(handle), TARN_CVL_SUCCESS);
}

TEST_F(VisionUndistortion, TakesSignedNumbersOfTheGeometry)
{
    void *metadata = nullptr;
    ASSERT_EQ(vision.Metadata_Create(&metadata), TARN_CVL_SUCCESS);
    vision.Metadata_SetInt(metadata, "BinningHorizontal", 2);
    const auto camera = DistortingCamera();
    tarn_cvl_CalibrationParameters adjusted{};
    void *handle = nullptr;
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_CreateWithImageMetadata(
                  &handle, metadata, &camera, TARN_CVL_CAMERA_SIZE, &adjusted)),
              Answered{});
    EXPECT_EQ(adjusted.width, 320U);
    EXPECT_EQ(vision.Transform_Undistortion_Destroy(handle), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
}

TEST_F(VisionUndistortion, WithoutDistortionKeepsEveryFormat)
{
    const Undistorter undistorter(vision, Camera(13, 7, 20, 20, 6, 3));
    for (const auto format : formats)
    {
        Pixels source(format, 13, 7);
        std::iota(source.Data(), source.Data() + source.Size(), uint8_t{1});
        const bool isFloat = format == PixelFormat::Mono32f || format == PixelFormat::Coord3D_C32f;
        if (isFloat)
        {
            std::vector<float> numbers(13 * 7);
            std::iota(numbers.begin(), numbers.end(), -0.5F);
            source.Set(numbers);
        }
        for (const auto interpolation : {bilinear, nearest})
        {
            Pixels target(format, 13, 7);
            EXPECT_EQ(AnswerOf(undistorter.Process(source, target, interpolation)), Answered{});
            EXPECT_EQ(target.As<uint8_t>(), source.As<uint8_t>()) << tarn::common::PixelFormatName(format);
        }
    }
}

TEST_F(VisionUndistortion, TreatsEachSampleOfAColourAlike)
{
    const Undistorter undistorter(vision, DistortingCamera());
    const auto red = Picture(640, 480);
    std::vector<uint8_t> colours;
    for (const auto value : red)
    {
        colours.push_back(value);
        colours.push_back(static_cast<uint8_t>(255 - value));
        colours.push_back(static_cast<uint8_t>(value / 2));
    }
    for (const auto interpolation : {bilinear, nearest})
    {
        const auto undistorted = Undistorted(undistorter, PixelFormat::RGB8, colours, interpolation);
        for (size_t sample = 0; sample < 3; ++sample)
        {
            std::vector<uint8_t> plane;
            std::vector<uint8_t> result;
            for (size_t i = 0; i < red.size(); ++i)
            {
                plane.push_back(colours[3 * i + sample]);
                result.push_back(undistorted[3 * i + sample]);
            }
            EXPECT_TRUE(result == Undistorted(undistorter, PixelFormat::Mono8, plane, interpolation));
        }
    }
}

TEST_F(VisionUndistortion, MakesUpNoDepthAcrossAnEdge)
{
    const Undistorter undistorter(vision, DistortingCamera());
    std::vector<uint16_t> depths(640 * 480);
    for (size_t i = 0; i < depths.size(); ++i)
    {
        depths[i] = (i % 640 / 8 + i / 640 / 8) % 2 == 0 ? 1000 : 3000;
    }
    std::map<uint16_t, size_t> counts;
    for (const auto depth : Undistorted(undistorter, PixelFormat::Coord3D_C16, depths, nearest))
    {
        ++counts[depth];
    }
    EXPECT_EQ(counts[0] + counts[1000] + counts[3000], depths.size());
    EXPECT_GT(counts[1000], depths.size() / 4);
    EXPECT_GT(counts[3000], depths.size() / 4);
    for (const auto depth : Undistorted(undistorter, PixelFormat::Coord3D_C16, depths, bilinear))
    {
        ++counts[depth];
    }
    EXPECT_GT(counts.size(), 100U);
}

TEST_F(VisionUndistortion, IsZeroOutsideOfTheSource)
{
    // Pincushion distortion: the corners come from outside the image.
    const Undistorter undistorter(vision, Camera(64, 48, 40, 40, 31.5F, 23.5F, {0.4F}));
    const std::vector<uint8_t> white(64 * 48, 255);
    for (const auto interpolation : {bilinear, nearest})
    {
        const auto result = Undistorted(undistorter, PixelFormat::Mono8, white, interpolation);
        EXPECT_EQ(result.front(), 0);
        EXPECT_EQ(result.back(), 0);
        EXPECT_EQ(result.at(24 * 64 + 32), 255);
    }
}

TEST_F(VisionUndistortion, IsZeroWhereTheLensShowsNothingThatCanBe)
{
    // Where r2 is 1 the denominator is 0, and far outside the places exceed any integer.
    const Undistorter undistorter(vision, Camera(3, 1, 1, 1, 1, 0, {0, 0, 0, 0, 0, -1}));
    const Undistorter steep(vision, Camera(3, 1, 1e-3F, 1, 1, 0, {1e30F, 0, 0, 0, 1e30F}));
    for (const auto interpolation : {bilinear, nearest})
    {
        EXPECT_EQ(Undistorted<uint8_t>(undistorter, PixelFormat::Mono8, {7, 8, 9}, interpolation),
                  (std::vector<uint8_t>{0, 8, 0}));
        EXPECT_EQ(Undistorted<uint8_t>(steep, PixelFormat::Mono8, {7, 8, 9}, interpolation),
                  (std::vector<uint8_t>{0, 8, 0}));
    }
}

TEST_F(VisionUndistortion, HasAnInterpolationThatStays)
{
    const Undistorter undistorter(vision, DistortingCamera());
    int32_t interpolation = 7;
    EXPECT_EQ(vision.Transform_Undistortion_GetInterpolation(undistorter, &interpolation), TARN_CVL_SUCCESS);
    EXPECT_EQ(interpolation, bilinear);
    EXPECT_EQ(vision.Transform_Undistortion_SetInterpolation(undistorter, nearest), TARN_CVL_SUCCESS);
    for (const int32_t other : {-1, 2})
    {
        EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_SetInterpolation(undistorter, other)),
                  (Answered{TARN_CVL_OUT_OF_RANGE,
                            "The interpolation is " + std::to_string(other) + ", expected 0 or 1"}));
    }
    EXPECT_EQ(vision.Transform_Undistortion_GetInterpolation(undistorter, &interpolation), TARN_CVL_SUCCESS);
    EXPECT_EQ(interpolation, nearest);
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_GetInterpolation(undistorter, nullptr)),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the interpolation is null"}));
}

TEST_F(VisionUndistortion, EndsWithItsLastOwner)
{
    const auto camera = DistortingCamera();
    tarn_cvl_CalibrationParameters adjusted{};
    void *handle = nullptr;
    ASSERT_EQ(vision.Transform_Undistortion_Create(&handle, &camera, TARN_CVL_CAMERA_SIZE, &adjusted),
              TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Transform_Undistortion_IncreaseUseCount(handle), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Transform_Undistortion_Destroy(handle), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Transform_Undistortion_SetInterpolation(handle, nearest), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Transform_Undistortion_Destroy(handle), TARN_CVL_SUCCESS);
    const Answered ended{TARN_CVL_MISMATCH, "The handle is not a live one, expected one of an undistortion"};
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_SetInterpolation(handle, nearest)), ended);
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Destroy(handle)), ended);
}

TEST_F(VisionUndistortion, RefusesBadArgumentsOfItsMaking)
{
    void *metadata = nullptr;
    ASSERT_EQ(vision.Metadata_Create(&metadata), TARN_CVL_SUCCESS);
    auto camera = DistortingCamera();
    tarn_cvl_CalibrationParameters adjusted{};
    void *handle = nullptr;
    const auto create = [&](void **to, void *geometry, const tarn_cvl_CalibrationParameters *from,
                            size_t size, void *result) {
        return AnswerOf(
            vision.Transform_Undistortion_CreateWithImageMetadata(to, geometry, from, size, result));
    };
    EXPECT_EQ(create(nullptr, metadata, &camera, TARN_CVL_CAMERA_SIZE, &adjusted),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the new handle is null"}));
    EXPECT_EQ(create(&handle, nullptr, &camera, TARN_CVL_CAMERA_SIZE, &adjusted),
              (Answered{TARN_CVL_NULL_POINTER, "The handle is null, expected one of metadata"}));
    EXPECT_EQ(create(&handle, metadata, nullptr, TARN_CVL_CAMERA_SIZE, &adjusted),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the camera is null"}));
    EXPECT_EQ(create(&handle, metadata, &camera, TARN_CVL_CALIBRATION_SIZE, &adjusted),
              (Answered{TARN_CVL_MISMATCH, "The size of the camera is given as 176 bytes, expected 144"}));
    EXPECT_EQ(create(&handle, metadata, &camera, TARN_CVL_CAMERA_SIZE, nullptr),
              (Answered{TARN_CVL_NULL_POINTER, "The pointer to the adjusted camera is null"}));
    EXPECT_EQ(handle, nullptr);

    camera.focalLengthX = 0;
    EXPECT_EQ(Create(metadata, camera).status, TARN_CVL_OUT_OF_RANGE);
    camera = DistortingCamera();
    camera.width = 40000;
    EXPECT_EQ(Create(metadata, camera),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "Images have 40000 x 480 pixels, expected from 1 x 1 to 32766 x 32766"}));
    camera.width = 3;
    vision.Metadata_SetUInt(metadata, "BinningHorizontal", 4);
    EXPECT_EQ(Create(metadata, camera),
              (Answered{TARN_CVL_OUT_OF_RANGE,
                        "Images have 0 x 480 pixels, expected from 1 x 1 to 32766 x 32766"}));
    EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
}

TEST_F(VisionUndistortion, RefusesAGeometryThatCannotBe)
{
    const auto outOfRange = [](const std::string &key, const std::string &least)
    {
        return Answered{TARN_CVL_OUT_OF_RANGE,
                        "The metadata " + key + " are out of range, expected from " + least + " to 32766"};
    };
    for (const std::string key :
         {"BinningHorizontal", "BinningVertical", "ROIX", "ROIY", "ROIWidth", "ROIHeight"})
    {
        const bool mayBeZero = key == "ROIX" || key == "ROIY";
        void *metadata = nullptr;
        ASSERT_EQ(vision.Metadata_Create(&metadata), TARN_CVL_SUCCESS);
        vision.Metadata_SetUInt(metadata, key.c_str(), 32767);
        EXPECT_EQ(Create(metadata, DistortingCamera()), outOfRange(key, mayBeZero ? "0" : "1"));
        vision.Metadata_SetInt(metadata, key.c_str(), -1);
        EXPECT_EQ(Create(metadata, DistortingCamera()), outOfRange(key, mayBeZero ? "0" : "1"));
        if (!mayBeZero)
        {
            vision.Metadata_SetUInt(metadata, key.c_str(), 0);
            EXPECT_EQ(Create(metadata, DistortingCamera()), outOfRange(key, "1"));
        }
        vision.Metadata_SetDouble(metadata, key.c_str(), 1);
        EXPECT_EQ(Create(metadata, DistortingCamera()),
                  (Answered{TARN_CVL_MISMATCH, "The metadata " + key +
                                                   " are of another type, expected a number without a "
                                                   "fraction"}));
        EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
    }
}

TEST_F(VisionUndistortion, RefusesOtherFormats)
{
    const Undistorter undistorter(vision, Camera(4, 2, 1, 1, 0, 0));
    for (const auto format : allFormats)
    {
        Pixels source(format, 4, 2);
        Pixels target(format, 4, 2);
        const bool isOffered = std::ranges::find(formats, format) != formats.end();
        EXPECT_EQ(AnswerOf(undistorter.Process(source, target, nearest)),
                  isOffered ? Answered{}
                            : (Answered{TARN_CVL_NOT_SUPPORTED, "The undistortion of " +
                                                                    tarn::common::PixelFormatName(format) +
                                                                    " is not offered"}));
    }
}

TEST_F(VisionUndistortion, RefusesImagesThatDoNotFit)
{
    const Undistorter undistorter(vision, Camera(4, 2, 1, 1, 0, 0));
    Pixels source(PixelFormat::Mono8, 4, 2);
    Pixels turned(PixelFormat::Mono8, 2, 4);
    Pixels colour(PixelFormat::RGB8, 4, 2);
    EXPECT_EQ(AnswerOf(undistorter.Process(turned, turned, bilinear)),
              (Answered{TARN_CVL_MISMATCH, "The image has 2 x 4 pixels, expected 4 x 2 pixels"}));
    EXPECT_EQ(AnswerOf(undistorter.Process(source, turned, bilinear)),
              (Answered{TARN_CVL_MISMATCH, "The target has 2 x 4 pixels, expected 4 x 2 pixels"}));
    EXPECT_EQ(AnswerOf(undistorter.Process(source, colour, bilinear)),
              (Answered{TARN_CVL_MISMATCH, "The target is of RGB8, expected Mono8"}));
    EXPECT_EQ(AnswerOf(undistorter.Process(source, source, bilinear)),
              (Answered{TARN_CVL_NOT_POSSIBLE,
                        "The target shares memory with the image; expected memory of its own"}));
    const ImageHandle image(vision, source);
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Process(nullptr, image, image)),
              (Answered{TARN_CVL_NULL_POINTER, "The handle is null, expected one of an undistortion"}));
    EXPECT_EQ(
        AnswerOf(vision.Transform_Undistortion_Process(image, image, image)),
        (Answered{TARN_CVL_MISMATCH, "The handle is one of an image, expected one of an undistortion"}));
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Process(undistorter, nullptr, image)),
              (Answered{TARN_CVL_NULL_POINTER, "The handle is null, expected one of an image"}));
    EXPECT_EQ(AnswerOf(vision.Transform_Undistortion_Process(undistorter, image, nullptr)),
              (Answered{TARN_CVL_NULL_POINTER, "The handle is null, expected one of an image"}));
}

} // namespace GenTL::internal
