// What each step costs on the way from raw Coord3D_C16 to Coord3D_ABC32f: the producer's own task over the
// open vision module, whose functions are timed one by one. CPU time of one thread, medians.
//   depth_steps [frames]     default: 300

#include "median.h"
#include "processing/coord_task.h"
#include "vision/dynamic.h"

#include <dlfcn.h>
#include <zlib.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iostream>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace
{

using namespace GenTL::internal;
using Seconds = std::chrono::duration<double>;
using tarn::common::PixelFormat;
namespace dynamic = tarn::cvl::dynamic;

/// The CPU time of this thread, which does not count what the machine does beside it.
Seconds Now()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

/// A function of the vision library, and what it took of the current frame.
struct Timing
{
    std::string_view name;
    Seconds took{};
};

std::vector<Timing> timings;

/// A function of the table, measured.
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
    // The binding is written by nobody once it is made; here, by the only thread.
    auto &functions = const_cast<dynamic::FunctionTable &>(dynamic::Binding::Instance().Functions());
#define CVL_CALLED(name) Timed<&dynamic::FunctionTable::name>::Install(functions, #name);
#define CVL_OTHER(name)
#include <functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
}

/// Lens calibration data, in the form that the module's header describes.
std::vector<uint8_t> CalibrationData(uint32_t width, uint32_t height)
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
        float distortion[8] = {-0.2F, 0.08F, 0.001F, -0.0005F, -0.01F};
    } const record{.width = width,
                   .height = height,
                   .focalLength = {static_cast<float>(width) * 0.9F, static_cast<float>(width) * 0.9F},
                   .principalPoint = {static_cast<float>(width) * 0.51F, static_cast<float>(height) * 0.49F}};
    std::vector<uint8_t> bytes(sizeof record + sizeof(uint32_t));
    std::memcpy(bytes.data(), &record, sizeof record);
    const auto sum = static_cast<uint32_t>(crc32(0, bytes.data(), sizeof record));
    std::memcpy(bytes.data() + sizeof record, &sum, sizeof sum);
    return bytes;
}

/// Raw depth with a band without it and slow changes elsewhere.
std::vector<uint16_t> RawDepth(uint32_t width, uint32_t height)
{
    std::vector<uint16_t> raw;
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const bool hasDepth = y % height < height * 3 / 5 || y % height > height * 7 / 10;
            raw.push_back(static_cast<uint16_t>(hasDepth ? 6000 + x + y / 2 : 0));
        }
    }
    return raw;
}

void Show(uint32_t width, uint32_t height, size_t frames)
{
    CoordTask task;
    Scan3dInfo info;
    info.scan3dCoordinateScale = 0.25;
    info.scan3dAxisMin = 1;
    info.scan3dAxisMax = 65535;
    task.SetScan3dInfo(info);
    const auto data = CalibrationData(width, height);
    task.SetCalibration(tarn::cvl::ParseCalibrationParameters(data.data(), data.size()), {});
    task.SetMode(Scan3dOutputMode::CalibratedABC_Grid);
    task.SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    auto raw = RawDepth(width, height);
    InputData input;
    input.data = reinterpret_cast<uint8_t *>(raw.data());
    input.size = raw.size() * sizeof raw.front();
    input.payloadType = GenTL::PAYLOAD_TYPE_IMAGE;
    input.attributes.width = width;
    input.attributes.height = height;
    input.attributes.pixelFormat = static_cast<uint64_t>(PixelFormat::Coord3D_C16);
    std::vector<uint8_t> output(raw.size() * 3 * sizeof(float));

    // The first frame makes the rectifier's map.
    task.Process(input, output);
    std::vector<double> whole;
    std::vector<std::vector<double>> steps(timings.size());
    for (size_t frame = 0; frame < frames; ++frame)
    {
        std::ranges::for_each(timings, [](auto &timing) { timing.took = {}; });
        const auto begin = Now();
        task.Process(input, output);
        whole.push_back((Now() - begin).count());
        for (size_t i = 0; i < timings.size(); ++i)
        {
            steps[i].push_back(timings[i].took.count());
        }
    }

    const auto total = MedianOf(whole);
    std::cout << fmt::format("{} x {}: {:.3f} ms a frame\n", width, height, total * 1e3);
    double rest = total;
    for (size_t i = 0; i < timings.size(); ++i)
    {
        const auto took = MedianOf(steps[i]);
        rest -= took;
        if (took > 0.005 * total)
        {
            std::cout << fmt::format("  {:5.1f} %  {:.3f} ms  {}\n", took / total * 100, took * 1e3,
                                     timings[i].name);
        }
    }
    std::cout << fmt::format("  {:5.1f} %  {:.3f} ms  all else\n", rest / total * 100, rest * 1e3);
}

} // namespace

int main(int argc, char **argv)
{
    size_t frames = 300;
    const std::string_view wanted = argc > 1 ? argv[1] : "300";
    if (std::from_chars(wanted.begin(), wanted.end(), frames).ec != std::errc() || frames == 0)
    {
        std::cerr << "usage: depth_steps [frames]\n";
        return 2;
    }
    if (dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW) == nullptr)
    {
        std::cerr << dlerror() << '\n';
        return 1;
    }
    TimeAllFunctions();
    Show(640, 480, frames);
    Show(2448, 2048, frames / 4 + 1);
    return 0;
}
