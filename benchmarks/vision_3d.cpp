// The cost of the 3D functions of the vision module, each compared with a reference, alternating in one run:
// undistortion with cv::remap with precomputed maps, coordinates with a memcpy that writes as many bytes. One
// thread.

#include "median.h"
#include "run.h"
#include "vision_module/coordinates.h"
#include "vision_module/undistortion.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

using tarn::common::PixelFormat;
using tarn::vision::Image;

/// Seconds per pass, averaged over enough passes to take a few milliseconds.
template <class Action>
double Measure(Action action)
{
    constexpr int passes = 4;
    action();
    const auto begin = std::chrono::steady_clock::now();
    for (int pass = 0; pass < passes; ++pass)
    {
        action();
        benchmark::ClobberMemory();
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    return took.count() / passes;
}

template <class Action, class Reference>
void Compare(benchmark::State &state, Action action, Reference reference)
{
    std::vector<double> actions;
    std::vector<double> references;
    for (auto _ : state)
    {
        actions.push_back(Measure(action));
        references.push_back(Measure(reference));
        state.SetIterationTime(actions.back());
    }
    constexpr auto milliseconds = 1e3;
    state.counters["ms"] = MedianOf(actions) * milliseconds;
    state.counters["reference_ms"] = MedianOf(references) * milliseconds;
    state.counters["ratio"] = MedianOf(actions) / MedianOf(references);
}

std::shared_ptr<Image> MakeImage(PixelFormat format, uint32_t width, uint32_t height)
{
    auto image = tarn::vision::MakeZeroedImage(static_cast<uint32_t>(format), {width, height});
    // Touches each page before the measurement.
    std::memset(image->data, 0, image->size);
    return image;
}

tarn_cvl_CalibrationParameters Camera(uint32_t width, uint32_t height)
{
    tarn_cvl_CalibrationParameters camera{};
    camera.width = width;
    camera.height = height;
    camera.focalLengthX = camera.focalLengthY = static_cast<float>(width) * 0.9F;
    camera.principalPointX = static_cast<float>(width) * 0.51F;
    camera.principalPointY = static_cast<float>(height) * 0.49F;
    tarn::vision::SetDistortion(camera, {-0.2F, 0.08F, 0.001F, -0.0005F, -0.01F, 0, 0, 0});
    return camera;
}

/// OpenCV's maps for a camera.
struct Maps
{
    explicit Maps(const tarn_cvl_CalibrationParameters &camera)
    {
        const cv::Mat matrix = (cv::Mat_<double>(3, 3) << camera.focalLengthX, 0, camera.principalPointX, //
                                0, camera.focalLengthY, camera.principalPointY,                           //
                                0, 0, 1);
        const auto terms = tarn::vision::DistortionOf(camera);
        const cv::Mat coefficients =
            (cv::Mat_<double>(1, 5) << terms.k1, terms.k2, terms.p1, terms.p2, terms.k3);
        const cv::Size size(static_cast<int>(camera.width), static_cast<int>(camera.height));
        cv::Mat x;
        cv::Mat y;
        cv::initUndistortRectifyMap(matrix, coefficients, cv::Mat(), matrix, size, CV_32FC1, x, y);
        cv::convertMaps(x, y, places, fractions, CV_16SC2, false);
        cv::Mat none;
        cv::convertMaps(x, y, nearest, none, CV_16SC2, true);
    }

    cv::Mat places;
    cv::Mat fractions;
    cv::Mat nearest;
};

cv::Mat View(const Image &image, int type)
{
    return {static_cast<int>(image.height), static_cast<int>(image.width), type, image.data};
}

void UndistortMono8(benchmark::State &state)
{
    constexpr uint32_t width = 2448;
    constexpr uint32_t height = 2048;
    const auto camera = Camera(width, height);
    tarn_cvl_CalibrationParameters adjusted{};
    const auto undistortion = tarn::vision::MakeUndistortion({}, &camera, TARN_CVL_CAMERA_SIZE, &adjusted);
    const auto source = MakeImage(PixelFormat::Mono8, width, height);
    for (uint64_t i = 0; i < source->size; ++i)
    {
        source->data[i] = static_cast<uint8_t>(i * i >> 9);
    }
    const auto target = MakeImage(PixelFormat::Mono8, width, height);
    const auto reference = MakeImage(PixelFormat::Mono8, width, height);
    const Maps maps(camera);
    const auto from = View(*source, CV_8UC1);
    auto to = View(*reference, CV_8UC1);
    Compare(
        state, [&] { undistortion->Process(*source, *target); },
        [&] { cv::remap(from, to, maps.places, maps.fractions, cv::INTER_LINEAR); });
}

void UndistortFloat(benchmark::State &state)
{
    constexpr uint32_t width = 640;
    constexpr uint32_t height = 480;
    const auto camera = Camera(width, height);
    tarn_cvl_CalibrationParameters adjusted{};
    const auto undistortion = tarn::vision::MakeUndistortion({}, &camera, TARN_CVL_CAMERA_SIZE, &adjusted);
    undistortion->SetInterpolation(1);
    const auto source = MakeImage(PixelFormat::Coord3D_C32f, width, height);
    const auto target = MakeImage(PixelFormat::Coord3D_C32f, width, height);
    const auto reference = MakeImage(PixelFormat::Coord3D_C32f, width, height);
    const Maps maps(camera);
    const auto from = View(*source, CV_32FC1);
    auto to = View(*reference, CV_32FC1);
    Compare(
        state, [&] { undistortion->Process(*source, *target); },
        [&] { cv::remap(from, to, maps.nearest, cv::Mat(), cv::INTER_NEAREST); });
}

void Coordinates(benchmark::State &state, uint32_t width, uint32_t height)
{
    const auto camera = Camera(width, height);
    const auto depth = MakeImage(PixelFormat::Coord3D_C32f, width, height);
    const auto target = MakeImage(PixelFormat::Coord3D_ABC32f, width, height);
    const auto copied = MakeImage(PixelFormat::Coord3D_ABC32f, width, height);
    Compare(
        state, [&] { MakeCoordinates(*depth, camera, *target); },
        [&] { std::memcpy(target->data, copied->data, target->size); });
}

} // namespace

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    constexpr int rounds = 41;
    const auto prepare = [](auto *registered)
    { registered->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(rounds); };
    prepare(benchmark::RegisterBenchmark("undistort/Mono8/2448x2048", UndistortMono8));
    prepare(benchmark::RegisterBenchmark("undistort/Coord3D_C32f/640x480", UndistortFloat));
    prepare(benchmark::RegisterBenchmark("coordinates/640x480", Coordinates, 640, 480));
    prepare(benchmark::RegisterBenchmark("coordinates/2448x2048", Coordinates, 2448, 2048));
    return RunBenchmarks(argc, argv);
}
