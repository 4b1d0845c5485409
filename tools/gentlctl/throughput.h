#pragma once

#include "consumer/json.h"
#include "gentlctl/percentiles.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

class Interrupt;
class OpenDevice;

struct ThroughputOptions
{
    std::string device;    ///< as for Producer::Choose
    uint64_t frames = 500; ///< of a round
    uint64_t rounds = 5;
    size_t buffers = 8;
    uint64_t timeoutMs = 5000;                       ///< longest wait for a frame
    std::function<void(OpenDevice &device)> prepare; ///< sets the device up, each time that it is opened
};

/// What a producer achieved.
struct Throughput
{
    std::string producer; ///< its file
    std::string device;   ///< its id
    // Medians of the rounds.
    double framesPerSecond = 0;
    double bytesPerSecond = 0;
    double cpuPerFrame = 0; ///< s of all threads of this process
    // Of the frames of all rounds, s.
    Percentiles intervals; ///< from a frame to the next
    Percentiles latency;   ///< from the frame's time stamp until it came
    std::string noLatency; ///< why there is none; else empty
};

/// Measures producers in turn, round by round: what disturbs the machine for longer than a round disturbs
/// all. The consumer reads each byte of each frame once, as any that does something with it.
/// @return the producers that were measured: those for which there was time before an interrupt
/// @throws std::exception a producer cannot be loaded, or the device cannot stream
std::vector<Throughput> MeasureThroughput(const std::vector<std::string> &producers,
                                          const ThroughputOptions &options, const Interrupt &interrupt);

/// A table with a line for each producer; all but the first beside the first.
std::string ToText(const std::vector<Throughput> &results);
Json ToJson(const std::vector<Throughput> &results);

} // namespace gentlctl
