#pragma once

#include "consumer/json.h"
#include "gentlctl/process_usage.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace gentlctl
{

class Interrupt;

struct SoakOptions
{
    std::string producer; ///< its file
    std::string device;   ///< as for Producer::Choose
    uint64_t cycles = 0;  ///< 0: no limit
    std::optional<std::chrono::nanoseconds> duration{};
    uint64_t frames = 10;                    ///< in each cycle
    uint64_t timeoutMs = 5000;               ///< longest wait for a frame
    int64_t memoryLimit = int64_t{16} << 20; ///< bytes that the memory may grow by
};

/// The counts and the usage so far.
struct SoakReport
{
    uint64_t cycles = 0;
    uint64_t frames = 0;
    uint64_t failures = 0; ///< cycles that failed
    ProcessUsage first;    ///< after the first rounds, which fill caches
    ProcessUsage now;
    bool isMeasured = false; ///< there were rounds enough to compare

    ProcessUsage Growth() const
    {
        return {now.memory - first.memory, now.handles - first.handles, now.threads - first.threads};
    }
};

struct SoakHooks
{
    std::function<void(const std::string &failure)> tell; ///< takes the failure of a cycle, in words
    std::function<void(const SoakReport &report)> eachMinute;
};

/// Opens the library, the device and a stream, grabs, and closes, again and again. Each cycle stops in the
/// next of the StopOrders. A round of all orders ends with the library closed; then freed memory goes back to
/// the system, and the usage is read.
/// @throws std::exception the producer cannot be loaded, or there is no such device
SoakReport Soak(const SoakOptions &options, const SoakHooks &hooks, const Interrupt &interrupt);

/// What is wrong after a soak, a line each; empty when all is well.
std::vector<std::string> FaultsIn(const SoakReport &report, const SoakOptions &options);

/// "240 cycles, 2400 frames, 0 failures, memory 35.2 MiB (+0.1), 12 handles (+0), 3 threads (+0)".
std::string ToText(const SoakReport &report);
Json ToJson(const SoakReport &report);

} // namespace gentlctl
