#include "pixels.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <map>
#include <random>

namespace GenTL::internal
{

namespace
{

struct Pattern
{
    std::string letters; ///< colours of the first 2 x 2 pixels, line by line
    PixelFormat of8;
    PixelFormat of10;
    PixelFormat of12;
    /// OpenCV's conversions, named after the second and third pixel of the second line.
    int toGrey;
    int toRgb;
    int toBgr;
};

const std::array patterns{
    Pattern{"RGGB", PixelFormat::BayerRG8, PixelFormat::BayerRG10, PixelFormat::BayerRG12,
            cv::COLOR_BayerBG2GRAY, cv::COLOR_BayerBG2RGB, cv::COLOR_BayerBG2BGR},
    Pattern{"GBRG", PixelFormat::BayerGB8, PixelFormat::BayerGB10, PixelFormat::BayerGB12,
            cv::COLOR_BayerGR2GRAY, cv::COLOR_BayerGR2RGB, cv::COLOR_BayerGR2BGR},
    Pattern{"GRBG", PixelFormat::BayerGR8, PixelFormat::BayerGR10, PixelFormat::BayerGR12,
            cv::COLOR_BayerGB2GRAY, cv::COLOR_BayerGB2RGB, cv::COLOR_BayerGB2BGR},
    Pattern{"BGGR", PixelFormat::BayerBG8, PixelFormat::BayerBG10, PixelFormat::BayerBG12,
            cv::COLOR_BayerRG2GRAY, cv::COLOR_BayerRG2RGB, cv::COLOR_BayerRG2BGR},
};

/// Differs between pixels and is the same in each run.
template <typename T>
std::vector<T> Noise(size_t count, uint32_t maximum)
{
    std::mt19937 random(1);
    std::vector<T> samples(count);
    for (auto &sample : samples)
    {
        sample = static_cast<T>(random() % (maximum + 1));
    }
    return samples;
}

template <typename T>
std::vector<T> ByOpenCv(std::vector<T> samples, int width, int height, int code)
{
    const cv::Mat source(height, width, cv::traits::Type<T>::value, samples.data());
    cv::Mat target;
    cv::cvtColor(source, target, code);
    return {target.ptr<T>(), target.ptr<T>() + target.total() * static_cast<size_t>(target.channels())};
}

template <typename T>
std::vector<T> Shifted(std::vector<T> samples, int bits)
{
    for (auto &sample : samples)
    {
        sample = static_cast<T>(bits >= 0 ? sample << bits : sample >> -bits);
    }
    return samples;
}

std::vector<uint8_t> BytesOf(const std::vector<uint16_t> &samples)
{
    std::vector<uint8_t> bytes;
    for (const auto sample : samples)
    {
        bytes.push_back(static_cast<uint8_t>(sample));
    }
    return bytes;
}

} // namespace

class VisionDemosaic : public ConversionTest
{
protected:
    static constexpr uint32_t width = 13;
    static constexpr uint32_t height = 7;

    template <typename To, typename From>
    std::vector<To> Converted(PixelFormat from, const std::vector<From> &samples, PixelFormat to,
                              uint32_t columns = width, uint32_t lines = height)
    {
        Pixels source(from, columns, lines);
        source.Set(samples);
        Pixels target(to, columns, lines);
        EXPECT_EQ(Convert(source, target), Answered{});
        return target.template As<To>();
    }

    /// Compares the conversion of the samples with OpenCV's.
    void ExpectAsOpenCv(const Pattern &pattern, const std::vector<uint8_t> &samples, uint32_t columns,
                        uint32_t lines)
    {
        const auto x = static_cast<int>(columns);
        const auto y = static_cast<int>(lines);
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::RGB8, columns, lines),
                  ByOpenCv(samples, x, y, pattern.toRgb));
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::BGR8, columns, lines),
                  ByOpenCv(samples, x, y, pattern.toBgr));
        // From 20 columns on, OpenCV truncates 8-bit grey, except in the last columns, and rounds 16-bit
        // grey: white becomes 254 and 255.
        const std::vector<uint16_t> words(samples.begin(), samples.end());
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::Mono8, columns, lines),
                  BytesOf(ByOpenCv(words, x, y, pattern.toGrey)));
    }

    void ExpectAsOpenCv(const Pattern &pattern, const std::vector<uint16_t> &samples, uint32_t columns,
                        uint32_t lines)
    {
        const auto x = static_cast<int>(columns);
        const auto y = static_cast<int>(lines);
        EXPECT_EQ(Converted<uint16_t>(pattern.of12, samples, PixelFormat::Mono12, columns, lines),
                  ByOpenCv(samples, x, y, pattern.toGrey));
    }
};

TEST_F(VisionDemosaic, FindsOneColourEverywhereInEachPattern)
{
    const std::map<char, uint8_t> colours{{'R', 200}, {'G', 100}, {'B', 50}};
    for (const auto &pattern : patterns)
    {
        std::vector<uint8_t> mosaic;
        for (uint32_t y = 0; y < height; ++y)
        {
            for (uint32_t x = 0; x < width; ++x)
            {
                mosaic.push_back(colours.at(pattern.letters[y % 2 * 2 + x % 2]));
            }
        }
        const auto rgb = Converted<uint8_t>(pattern.of8, mosaic, PixelFormat::RGB8);
        const auto bgr = Converted<uint8_t>(pattern.of8, mosaic, PixelFormat::BGR8);
        const auto grey = Converted<uint8_t>(pattern.of8, mosaic, PixelFormat::Mono8);
        for (size_t pixel = 0; pixel < width * height; ++pixel)
        {
            EXPECT_EQ((std::array{rgb[pixel * 3], rgb[pixel * 3 + 1], rgb[pixel * 3 + 2]}),
                      (std::array<uint8_t, 3>{200, 100, 50}))
                << pattern.letters << ' ' << pixel;
            EXPECT_EQ((std::array{bgr[pixel * 3], bgr[pixel * 3 + 1], bgr[pixel * 3 + 2]}),
                      (std::array<uint8_t, 3>{50, 100, 200}));
            // 0.299 * 200 + 0.587 * 100 + 0.114 * 50
            EXPECT_NEAR(grey[pixel], 124.2, 1);
        }
    }
}

TEST_F(VisionDemosaic, AgreesWithOpenCvAtEightBits)
{
    const auto samples = Noise<uint8_t>(width * height, 255);
    for (const auto &pattern : patterns)
    {
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::RGB8),
                  ByOpenCv(samples, width, height, pattern.toRgb));
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::BGR8),
                  ByOpenCv(samples, width, height, pattern.toBgr));
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, samples, PixelFormat::Mono8),
                  ByOpenCv(samples, width, height, pattern.toGrey));
    }
}

TEST_F(VisionDemosaic, AgreesWithOpenCvAtMoreBitsAndShiftsAfterwards)
{
    for (const auto &pattern : patterns)
    {
        for (const auto &[format, bits] : {std::pair{pattern.of10, 10}, std::pair{pattern.of12, 12}})
        {
            const auto samples = Noise<uint16_t>(width * height, (1U << bits) - 1);
            const auto rgb = ByOpenCv(samples, width, height, pattern.toRgb);
            const auto bgr = ByOpenCv(samples, width, height, pattern.toBgr);
            const auto grey = ByOpenCv(samples, width, height, pattern.toGrey);
            EXPECT_EQ(Converted<uint8_t>(format, samples, PixelFormat::RGB8),
                      BytesOf(Shifted(rgb, 8 - bits)));
            EXPECT_EQ(Converted<uint8_t>(format, samples, PixelFormat::BGR8),
                      BytesOf(Shifted(bgr, 8 - bits)));
            EXPECT_EQ(Converted<uint8_t>(format, samples, PixelFormat::Mono8),
                      BytesOf(Shifted(grey, 8 - bits)));
            EXPECT_EQ(Converted<uint16_t>(format, samples, PixelFormat::Mono10), Shifted(grey, 10 - bits));
            EXPECT_EQ(Converted<uint16_t>(format, samples, PixelFormat::Mono12), Shifted(grey, 12 - bits));
            EXPECT_EQ(Converted<uint16_t>(format, samples, PixelFormat::Mono16), Shifted(grey, 16 - bits));
        }
    }
}

TEST_F(VisionDemosaic, AgreesWithOpenCvAtEverySize)
{
    for (const auto &pattern : patterns)
    {
        for (uint32_t columns = 3; columns < 68; ++columns)
        {
            for (const uint32_t lines : {3U, 4U, 5U})
            {
                SCOPED_TRACE(pattern.letters + ' ' + std::to_string(columns) + " x " + std::to_string(lines));
                ExpectAsOpenCv(pattern, Noise<uint8_t>(size_t{columns} * lines, UINT8_MAX), columns, lines);
                ExpectAsOpenCv(pattern, Noise<uint16_t>(size_t{columns} * lines, 4095), columns, lines);
            }
        }
    }
}

TEST_F(VisionDemosaic, AgreesWithOpenCvOnExtremes)
{
    constexpr uint32_t columns = 101;
    constexpr uint32_t lines = 64;
    auto bytes = Noise<uint8_t>(size_t{columns} * lines, 1);
    auto words = Noise<uint16_t>(size_t{columns} * lines, 1);
    std::ranges::transform(bytes, bytes.begin(), [](uint8_t bit) { return bit != 0 ? UINT8_MAX : 0; });
    std::ranges::transform(words, words.begin(), [](uint16_t bit) { return bit != 0 ? UINT16_MAX : 0; });
    for (const auto &pattern : patterns)
    {
        SCOPED_TRACE(pattern.letters);
        ExpectAsOpenCv(pattern, bytes, columns, lines);
        ExpectAsOpenCv(pattern, words, columns, lines);
    }
}

TEST_F(VisionDemosaic, KeepsWhiteWhite)
{
    constexpr uint32_t columns = 64;
    const std::vector<uint8_t> white(size_t{columns} * height, UINT8_MAX);
    for (const auto &pattern : patterns)
    {
        EXPECT_EQ(Converted<uint8_t>(pattern.of8, white, PixelFormat::Mono8, columns), white);
    }
}

TEST_F(VisionDemosaic, MultipliesTheResult)
{
    const auto samples = Noise<uint8_t>(width * height, 255);
    Pixels source(PixelFormat::BayerGR8, width, height);
    source.Set(samples);
    Pixels target(PixelFormat::RGB8, width, height);
    EXPECT_EQ(ConvertWithFactor(source, target, 2), Answered{});
    auto expected = ByOpenCv(samples, width, height, cv::COLOR_BayerGB2RGB);
    for (auto &sample : expected)
    {
        sample = static_cast<uint8_t>(std::min(sample * 2, 255));
    }
    EXPECT_EQ(target.As<uint8_t>(), expected);
}

TEST_F(VisionDemosaic, NeedsNeighboursOnEachSide)
{
    for (const auto &[narrow, low] : {std::pair{2U, 3U}, std::pair{3U, 2U}, std::pair{1U, 1U}})
    {
        Pixels source(PixelFormat::BayerRG12, narrow, low);
        Pixels target(PixelFormat::RGB8, narrow, low);
        EXPECT_EQ(Convert(source, target),
                  (Answered{TARN_CVL_NOT_POSSIBLE, "The image of BayerRG12 has " + std::to_string(narrow) +
                                                       " x " + std::to_string(low) +
                                                       " pixels, expected from 3 x 3 up to 268435455 x "
                                                       "268435455"}));
    }
    Pixels source(PixelFormat::BayerRG12, 3, 3);
    Pixels target(PixelFormat::RGB8, 3, 3);
    EXPECT_EQ(Convert(source, target), Answered{});
}

class VisionYuv : public ConversionTest
{
protected:
    void ExpectAsOpenCv(PixelFormat format, std::vector<uint8_t> samples, int width, int height, int code)
    {
        Pixels source(format, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
        source.Set(samples);
        Pixels target(PixelFormat::RGB8, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
        EXPECT_EQ(Convert(source, target), Answered{});
        const cv::Mat yuv = format == PixelFormat::YUV422_8_UYVY
                                ? cv::Mat(height, width, CV_8UC2, samples.data())
                                : cv::Mat(height / 2 * 3, width, CV_8UC1, samples.data());
        cv::Mat rgb;
        cv::cvtColor(yuv, rgb, code);
        EXPECT_TRUE(target.As<uint8_t>() ==
                    std::vector<uint8_t>(rgb.data, rgb.data + rgb.total() * rgb.elemSize()))
            << tarn::common::PixelFormatName(format);
    }

    /// A colour by the formula of ITU-R BT.601, luminance from 16 to 235.
    static std::array<double, 3> Rgb(int y, int u, int v)
    {
        const double luminance = 255.0 / 219 * (y - 16);
        const double blue = 255.0 / 112 * (u - 128);
        const double red = 255.0 / 112 * (v - 128);
        const auto within = [](double value) { return std::clamp(value, 0.0, 255.0); };
        return {within(luminance + red * (1 - 0.299)),
                within(luminance - blue * (1 - 0.114) * 0.114 / 0.587 - red * (1 - 0.299) * 0.299 / 0.587),
                within(luminance + blue * (1 - 0.114))};
    }

    static void ExpectColour(const std::vector<uint8_t> &rgb, size_t pixel, int y, int u, int v)
    {
        const auto expected = Rgb(y, u, v);
        for (size_t i = 0; i < 3; ++i)
        {
            EXPECT_NEAR(rgb.at(pixel * 3 + i), expected.at(i), 1.5)
                << "pixel " << pixel << " sample " << i << " of " << y << ' ' << u << ' ' << v;
        }
    }
};

TEST_F(VisionYuv, OfPlanesBecomesRgb)
{
    const std::vector<uint8_t> samples{16,  60,  120, 235, //
                                       100, 110, 120, 130, //
                                       100, 160, 140, 90};
    Pixels uv(PixelFormat::YUV420_8_YY_UV_SemiplanarQVR, 4, 2);
    Pixels vu(PixelFormat::YUV420_8_YY_VU_SemiplanarQVR, 4, 2);
    uv.Set(samples);
    vu.Set(samples);
    Pixels target(PixelFormat::RGB8, 4, 2);
    EXPECT_EQ(Convert(uv, target), Answered{});
    const auto fromUv = target.As<uint8_t>();
    EXPECT_EQ(Convert(vu, target), Answered{});
    const auto fromVu = target.As<uint8_t>();
    for (size_t pixel = 0; pixel < 8; ++pixel)
    {
        const auto pair = 8 + pixel % 4 / 2 * 2;
        ExpectColour(fromUv, pixel, samples[pixel], samples[pair], samples[pair + 1]);
        ExpectColour(fromVu, pixel, samples[pixel], samples[pair + 1], samples[pair]);
    }
}

TEST_F(VisionYuv, OfPairsBecomesRgb)
{
    Pixels source(PixelFormat::YUV422_8_UYVY, 4, 1);
    source.Set(std::vector<uint8_t>{100, 60, 160, 120, 140, 200, 90, 30});
    Pixels target(PixelFormat::RGB8, 4, 1);
    EXPECT_EQ(Convert(source, target), Answered{});
    const auto rgb = target.As<uint8_t>();
    ExpectColour(rgb, 0, 60, 100, 160);
    ExpectColour(rgb, 1, 120, 100, 160);
    ExpectColour(rgb, 2, 200, 140, 90);
    ExpectColour(rgb, 3, 30, 140, 90);
}

TEST_F(VisionYuv, AgreesWithOpenCvForEveryColour)
{
    // Each line has one V and each pair of columns one U, and their luminances differ.
    constexpr int width = 512;
    constexpr int height = 512;
    const auto luminance = [](int x, int y) { return static_cast<uint8_t>(x / 2 + x % 2 * 85 + y * 37); };
    std::vector<uint8_t> pairs;
    std::vector<uint8_t> planes;
    std::vector<uint8_t> colours;
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            const auto colour = static_cast<uint8_t>(x % 2 == 0 ? x / 2 : y / 2);
            pairs.insert(pairs.end(), {colour, luminance(x, y)});
            planes.push_back(luminance(x, y));
            if (y % 2 == 0)
            {
                colours.push_back(colour);
            }
        }
    }
    planes.insert(planes.end(), colours.begin(), colours.end());
    ExpectAsOpenCv(PixelFormat::YUV422_8_UYVY, pairs, width, height, cv::COLOR_YUV2RGB_UYVY);
    ExpectAsOpenCv(PixelFormat::YUV420_8_YY_UV_SemiplanarQVR, planes, width, height, cv::COLOR_YUV2RGB_NV12);
    ExpectAsOpenCv(PixelFormat::YUV420_8_YY_VU_SemiplanarQVR, planes, width, height, cv::COLOR_YUV2RGB_NV21);
}

TEST_F(VisionYuv, AgreesWithOpenCvAtEverySize)
{
    for (int width = 2; width < 70; width += 2)
    {
        for (const int height : {1, 2, 3, 4})
        {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            const auto pixels = static_cast<size_t>(width * height);
            ExpectAsOpenCv(PixelFormat::YUV422_8_UYVY, Noise<uint8_t>(pixels * 2, UINT8_MAX), width, height,
                           cv::COLOR_YUV2RGB_UYVY);
            if (height % 2 == 0)
            {
                ExpectAsOpenCv(PixelFormat::YUV420_8_YY_UV_SemiplanarQVR,
                               Noise<uint8_t>(pixels / 2 * 3, UINT8_MAX), width, height,
                               cv::COLOR_YUV2RGB_NV12);
            }
        }
    }
}

TEST_F(VisionYuv, NeedsAColourForEachPixel)
{
    Pixels planes(PixelFormat::YUV420_8_YY_UV_SemiplanarQVR, 4, 3);
    Pixels planesTarget(PixelFormat::RGB8, 4, 3);
    EXPECT_EQ(Convert(planes, planesTarget),
              (Answered{TARN_CVL_NOT_POSSIBLE, "The image of YUV420_8_YY_UV_SemiplanarQVR has 4 x 3 pixels, "
                                               "expected an even width and height of up to 268435455"}));
    Pixels pairs(PixelFormat::YUV422_8_UYVY, 3, 3);
    Pixels pairsTarget(PixelFormat::RGB8, 3, 3);
    EXPECT_EQ(
        Convert(pairs, pairsTarget),
        (Answered{TARN_CVL_NOT_POSSIBLE, "The image of YUV422_8_UYVY has 3 x 3 pixels, expected an even "
                                         "width of up to 268435455"}));
}

} // namespace GenTL::internal
