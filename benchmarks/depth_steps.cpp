// The cost of converting raw Coord3D_C16 to Coord3D_ABC32f: by the producer's task with the open vision
// module, by OpenCV, and as a memcpy of the output, in turns; and the cost of each module function within the
// task. Medians of the CPU time of one thread.
//   depth_steps [rounds]     default: 60

#include "median.h"
#include "processing/coord_task.h"
#include "vision/dynamic.h"

#include <dlfcn.h>
#include <zlib.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <iostream>
#include <limits>
#include <random>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace
{

using namespace GenTL::internal;
using Seconds = std::chrono::duration<double>;
using tarn::common::PixelFormat;
namespace dynamic = tarn::cvl::dynamic;

/// The CPU time of this thread, which excludes other work of the machine.
Seconds Now()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

/// A function of the vision library and its time in the current frame.
struct Timing
{
    std::string_view name;
    Seconds took{};
};

std::vector<Timing> timings;

/// Calls a function of the table and measures it.
template <auto member>
struct Timed;

template <typename... Args, int32_t (*dynamic::FunctionTable::*member)(Args...)>
struct Timed<member>
{
    static inline int32_t (*original)(Args...);
    static inline size_t index;

    static int32_t Call(Args... args)
    {
        const auto begin = Now();
        const auto status = original(args...);
        timings[index].took += Now() - begin;
        return status;
    }

    static void Install(dynamic::FunctionTable &functions, std::string_view name)
    {
        original = std::exchange(functions.*member, &Call);
        index = timings.size();
        timings.push_back({name});
    }
};

void TimeAllFunctions()
{
    // The binding is constant once made. Only this thread uses it, so it may replace functions.
    auto &functions = const_cast<dynamic::FunctionTable &>(dynamic::Binding::Instance().Functions());
#define CVL_CALLED(name) Timed<&dynamic::FunctionTable::name>::Install(functions, #name);
#define CVL_OTHER(name)
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
}

constexpr std::array distortion{-0.2F, 0.08F, 0.001F, -0.0005F, -0.01F};
constexpr double scale = 0.25;
constexpr int lowest = 1;
constexpr int highest = 65535;

struct Frame
{
    uint32_t width;
    uint32_t height;
    /// Percentage of scattered pixels without depth.
    uint32_t noise;

    float FocalLength() const { return static_cast<float>(width) * 0.9F; }
    float PrincipalX() const { return static_cast<float>(width) * 0.51F; }
    float PrincipalY() const { return static_cast<float>(height) * 0.49F; }
    size_t Points() const { return size_t{width} * height; }
};

/// Lens calibration data in the format of the module's header.
std::vector<uint8_t> CalibrationData(const Frame &frame)
{
    struct
    {
        char magic[4] = {'T', 'C', 'A', 'L'};
        uint32_t version = 1;
        uint32_t bytes = 72;
        uint32_t width;
        uint32_t height;
        float focalLength[2];
        float principalPoint[2];
        float terms[8] = {distortion[0], distortion[1], distortion[2], distortion[3], distortion[4]};
    } const record{.width = frame.width,
                   .height = frame.height,
                   .focalLength = {frame.FocalLength(), frame.FocalLength()},
                   .principalPoint = {frame.PrincipalX(), frame.PrincipalY()}};
    std::vector<uint8_t> bytes(sizeof record + sizeof(uint32_t));
    std::memcpy(bytes.data(), &record, sizeof record);
    const auto sum = static_cast<uint32_t>(crc32(0, bytes.data(), sizeof record));
    std::memcpy(bytes.data() + sizeof record, &sum, sizeof sum);
    return bytes;
}

/// Raw depth that changes slowly, with a band without depth.
std::vector<uint16_t> RawDepth(const Frame &frame)
{
    std::minstd_rand random;
    std::vector<uint16_t> raw;
    for (uint32_t y = 0; y < frame.height; ++y)
    {
        for (uint32_t x = 0; x < frame.width; ++x)
        {
            const bool isInBand = y >= frame.height * 3 / 5 && y <= frame.height * 7 / 10;
            const bool hasDepth = !isInBand && random() % 100 >= frame.noise;
            raw.push_back(static_cast<uint16_t>(hasDepth ? 6000 + x + y / 2 : 0));
        }
    }
    return raw;
}

/// The producer's task.
class Task
{
public:
    Task(const Frame &frame, std::vector<uint16_t> &raw)
    {
        Scan3dInfo info;
        info.scan3dCoordinateScale = scale;
        info.scan3dAxisMin = lowest;
        info.scan3dAxisMax = highest;
        m_task.SetScan3dInfo(info);
        const auto data = CalibrationData(frame);
        m_task.SetCalibration(tarn::cvl::ParseCalibrationParameters(data.data(), data.size()), {});
        m_task.SetMode(Scan3dOutputMode::CalibratedABC_Grid);
        m_task.SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
        m_input.data = reinterpret_cast<uint8_t *>(raw.data());
        m_input.size = raw.size() * sizeof raw.front();
        m_input.payloadType = GenTL::PAYLOAD_TYPE_IMAGE;
        m_input.attributes.width = frame.width;
        m_input.attributes.height = frame.height;
        m_input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Coord3D_C16);
    }

    void Process(std::vector<float> &points)
    {
        m_task.Process(m_input, {reinterpret_cast<uint8_t *>(points.data()), points.size() * sizeof(float)});
    }

private:
    CoordTask m_task;
    InputData m_input;
};

/// The same conversion by OpenCV, with precomputed maps and slopes.
class OpenCvChain
{
public:
    OpenCvChain(const Frame &frame, std::vector<uint16_t> &raw)
        : m_raw(static_cast<int>(frame.height), static_cast<int>(frame.width), CV_16UC1, raw.data()),
          m_slopesX(m_raw.size(), CV_32FC1), m_slopesY(m_raw.size(), CV_32FC1)
    {
        const cv::Mat camera = (cv::Mat_<double>(3, 3) << frame.FocalLength(), 0, frame.PrincipalX(), //
                                0, frame.FocalLength(), frame.PrincipalY(),                           //
                                0, 0, 1);
        cv::Mat x;
        cv::Mat y;
        cv::Mat none;
        cv::initUndistortRectifyMap(camera, distortion, cv::Mat(), camera, m_raw.size(), CV_32FC1, x, y);
        cv::convertMaps(x, y, m_map, none, CV_16SC2, true);
        for (int line = 0; line < m_raw.rows; ++line)
        {
            for (int column = 0; column < m_raw.cols; ++column)
            {
                m_slopesX.at<float>(line, column) =
                    (static_cast<float>(column) - frame.PrincipalX()) / frame.FocalLength();
                m_slopesY.at<float>(line, column) =
                    (static_cast<float>(line) - frame.PrincipalY()) / frame.FocalLength();
            }
        }
    }

    void Process(std::vector<float> &points)
    {
        constexpr auto nan = std::numeric_limits<double>::quiet_NaN();
        cv::inRange(m_raw, lowest, highest, m_valid);
        cv::bitwise_not(m_valid, m_invalid);
        m_raw.convertTo(m_depth, CV_32F, scale);
        m_depth.setTo(0, m_invalid);
        cv::remap(m_depth, m_point[2], m_map, cv::Mat(), cv::INTER_NEAREST);
        cv::remap(m_invalid, m_noPoint, m_map, cv::Mat(), cv::INTER_NEAREST, cv::BORDER_CONSTANT, 255);
        cv::multiply(m_point[2], m_slopesX, m_point[0]);
        cv::multiply(m_point[2], m_slopesY, m_point[1]);
        cv::Mat target(m_raw.size(), CV_32FC3, points.data());
        cv::merge(m_point, target);
        target.setTo(cv::Scalar(nan, nan, 0), m_noPoint);
    }

private:
    cv::Mat m_raw;
    cv::Mat m_map;
    cv::Mat m_slopesX;
    cv::Mat m_slopesY;
    // Memory reused between frames.
    cv::Mat m_valid;
    cv::Mat m_invalid;
    cv::Mat m_noPoint;
    cv::Mat m_depth;
    std::array<cv::Mat, 3> m_point;
};

/// Whether two results agree. OpenCV's map has single precision and may pick a neighbouring pixel.
bool Agree(const std::vector<float> &points, const std::vector<float> &others)
{
    size_t different = 0;
    for (size_t i = 0; i < points.size(); ++i)
    {
        const bool areNone = std::isnan(points[i]) && std::isnan(others[i]);
        different += !areNone && !(std::abs(points[i] - others[i]) <= std::abs(points[i]) * 1e-3F) ? 1 : 0;
    }
    return different < points.size() / 100;
}

/// Seconds of one pass.
template <class Action>
double Measure(Action action)
{
    constexpr int passes = 4;
    std::ranges::for_each(timings, [](auto &timing) { timing.took = {}; });
    const auto begin = Now();
    for (int pass = 0; pass < passes; ++pass)
    {
        action();
        // Each pass rewrites the whole output.
        asm volatile("" : : : "memory");
    }
    std::ranges::for_each(timings, [](auto &timing) { timing.took /= passes; });
    return (Now() - begin).count() / passes;
}

void ShowSteps(double total, const std::vector<std::vector<double>> &steps)
{
    double rest = total;
    const auto show = [total](double took, std::string_view name)
    { std::cout << fmt::format("  {:5.1f} %  {:.3f} ms  {}\n", took / total * 100, took * 1e3, name); };
    for (size_t i = 0; i < timings.size(); ++i)
    {
        const auto took = MedianOf(steps[i]);
        rest -= took;
        if (took > 0.005 * total)
        {
            show(took, timings[i].name);
        }
    }
    show(rest, "all else");
}

bool Show(const Frame &frame, size_t rounds)
{
    auto raw = RawDepth(frame);
    Task task(frame, raw);
    OpenCvChain chain(frame, raw);
    std::vector<float> points(frame.Points() * 3);
    auto others = points;
    auto copied = points;
    // The first frame computes the undistortion map.
    task.Process(points);
    chain.Process(others);
    if (!Agree(points, others))
    {
        std::cerr << "OpenCV makes other points.\n";
        return false;
    }
    std::vector<double> ours;
    std::vector<double> copies;
    std::vector<double> chains;
    std::vector<std::vector<double>> steps(timings.size());
    for (size_t round = 0; round < rounds; ++round)
    {
        ours.push_back(Measure([&] { task.Process(points); }));
        for (size_t i = 0; i < timings.size(); ++i)
        {
            steps[i].push_back(timings[i].took.count());
        }
        copies.push_back(
            Measure([&] { std::memcpy(copied.data(), points.data(), points.size() * sizeof(float)); }));
        chains.push_back(Measure([&] { chain.Process(others); }));
    }
    const auto total = MedianOf(ours);
    std::cout << fmt::format("{} x {}, noise {} %: {:.3f} ms a frame, {:.2f} of memcpy, {:.2f} of OpenCV\n",
                             frame.width, frame.height, frame.noise, total * 1e3, total / MedianOf(copies),
                             total / MedianOf(chains));
    ShowSteps(total, steps);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    size_t rounds = 60;
    const std::string_view wanted = argc > 1 ? argv[1] : "60";
    if (std::from_chars(wanted.begin(), wanted.end(), rounds).ec != std::errc() || rounds == 0)
    {
        std::cerr << "usage: depth_steps [rounds]\n";
        return 2;
    }
    if (dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW) == nullptr)
    {
        std::cerr << dlerror() << '\n';
        return 1;
    }
    TimeAllFunctions();
    cv::setNumThreads(1);
    for (const uint32_t noise : {0U, 5U})
    {
        if (!Show({640, 480, noise}, rounds) || !Show({2448, 2048, noise}, rounds / 4 + 1))
        {
            return 1;
        }
    }
    return 0;
}
