// The cost of unpacking an image of 5 megapixels, compared with a memcpy that writes as many bytes and with
// UnpackScalar, alternating in one run. One thread. Each is measured twice: for writing the image, and until
// its consumer has read each byte once.
//
// hot: the same images each time. cold: another pair of images each time, together more than four times the
// last-level cache.

#include "vision_module/unpack.h"
#include "common/pixel_format.h"
#include "median.h"
#include "run.h"
#include "vision_module/unpack_scalar.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{

using tarn::common::PixelFormat;

constexpr tarn::common::Size size{2448, 2048};

enum class Caches : uint8_t
{
    Hot,
    Cold,
};

size_t LastCacheBytes()
{
    size_t bytes = size_t{32} << 20;
    for (const auto &cache : benchmark::CPUInfo::Get().caches)
    {
        bytes = std::max(bytes, static_cast<size_t>(cache.size));
    }
    return bytes;
}

struct Images
{
    std::vector<uint8_t> packed;
    std::vector<uint8_t> copied; ///< of the size of the target
    std::vector<uint8_t> target;
};

/// Measures all candidates in each round, so that a disturbance affects them all.
class Rounds
{
public:
    Rounds(PixelFormat from, PixelFormat to, Caches caches) : _from(Code(from)), _to(Code(to))
    {
        const auto packedBytes = GetSizeInBytes(from, size);
        const auto targetBytes = GetSizeInBytes(to, size);
        _passes = 8;
        if (caches == Caches::Cold)
        {
            _passes = 4 * LastCacheBytes() / (packedBytes + targetBytes) + 1;
        }
        _images.resize(caches == Caches::Cold ? _passes : 1);
        for (auto &images : _images)
        {
            images.packed.assign(packedBytes, 0x5A);
            images.copied.assign(targetBytes, 0x5A);
            images.target.assign(targetBytes, 0);
        }
    }

    /// Seconds per image.
    double Unpack()
    {
        return Measure([this](Images &images) { UnpackInto(images); });
    }

    double UnpackAndRead()
    {
        return Measure(
            [this](Images &images)
            {
                UnpackInto(images);
                Read(images.target);
            });
    }

    double UnpackScalar()
    {
        return Measure(
            [this](Images &images)
            {
                tarn::vision::UnpackScalar(_from, images.packed.data(), _to, images.target.data(), size.width,
                                           size.height);
            });
    }

    double Copy()
    {
        return Measure([](Images &images)
                       { std::memcpy(images.target.data(), images.copied.data(), images.target.size()); });
    }

    double CopyAndRead()
    {
        return Measure(
            [](Images &images)
            {
                std::memcpy(images.target.data(), images.copied.data(), images.target.size());
                Read(images.target);
            });
    }

private:
    void UnpackInto(Images &images) const
    {
        tarn::vision::Unpack(_from, images.packed.data(), _to, images.target.data(), size.width, size.height);
    }

    static void Read(const std::vector<uint8_t> &bytes)
    {
        benchmark::ClobberMemory();
        uint64_t sum = 0;
        for (size_t done = 0; done + sizeof sum <= bytes.size(); done += sizeof sum)
        {
            uint64_t word = 0;
            std::memcpy(&word, bytes.data() + done, sizeof word);
            sum += word;
        }
        benchmark::DoNotOptimize(sum);
    }

    static uint32_t Code(PixelFormat format) { return static_cast<uint32_t>(format); }

    template <class Action>
    double Measure(Action action)
    {
        // Hot: loads the images into the caches. Cold: evicts what the other candidates left there.
        for (auto &images : _images)
        {
            action(images);
        }
        const auto begin = std::chrono::steady_clock::now();
        for (size_t pass = 0; pass < _passes; ++pass)
        {
            auto &images = _images[pass % _images.size()];
            action(images);
            benchmark::DoNotOptimize(images.target.data());
            benchmark::ClobberMemory();
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        return took.count() / static_cast<double>(_passes);
    }

    uint32_t _from;
    uint32_t _to;
    size_t _passes = 1;
    std::vector<Images> _images;
};

void UnpackImages(benchmark::State &state, PixelFormat from, Caches caches)
{
    Rounds rounds(from, UnpackedFormat(from), caches);
    std::vector<double> unpack;
    std::vector<double> copy;
    std::vector<double> unpackAndRead;
    std::vector<double> copyAndRead;
    for (auto _ : state)
    {
        unpack.push_back(rounds.Unpack());
        copy.push_back(rounds.Copy());
        unpackAndRead.push_back(rounds.UnpackAndRead());
        copyAndRead.push_back(rounds.CopyAndRead());
        state.SetIterationTime(unpack.back());
    }
    constexpr auto milliseconds = 1e3;
    const auto unpackMedian = MedianOf(unpack);
    const auto copyMedian = MedianOf(copy);
    state.counters["unpack_ms"] = unpackMedian * milliseconds;
    state.counters["memcpy_ms"] = copyMedian * milliseconds;
    state.counters["ratio"] = unpackMedian / copyMedian;
    state.counters["ratio_read"] = MedianOf(unpackAndRead) / MedianOf(copyAndRead);
    state.counters["scalar_ms"] = rounds.UnpackScalar() * milliseconds;
}

} // namespace

int main(int argc, char **argv)
{
    for (const auto caches : {Caches::Hot, Caches::Cold})
    {
        for (const auto format :
             {PixelFormat::Mono10p, PixelFormat::Mono12p, PixelFormat::Mono10g40QVR,
              PixelFormat::Mono12g24QVR, PixelFormat::RGB10p32, PixelFormat::Mono8_I_A_B,
              PixelFormat::Mono10p_I_A_B, PixelFormat::Mono12g24QVR_I_A_B, PixelFormat::Mono8_I_AB_CD,
              PixelFormat::Mono10p_I_AB_CD, PixelFormat::Mono12g24QVR_I_AB_CD})
        {
            const auto name = PixelFormatName(format) + (caches == Caches::Hot ? "/hot" : "/cold");
            benchmark::RegisterBenchmark(name.c_str(), UnpackImages, format, caches)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond)
                ->Iterations(caches == Caches::Hot ? 41 : 15);
        }
    }
    return RunBenchmarks(argc, argv);
}
