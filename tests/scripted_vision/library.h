#pragma once

// A vision library of the tests' own: a shared object with the whole interface that does what a test tells
// it to, counts its live objects, and lies when asked. The test reaches it through the one extra export,
// VisionScript().

#include <tarn_cvl/tarn_cvl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace scripted
{

/// A scripted status that lets the function work.
inline constexpr int32_t works = 0;

/// A value in a metadata store: the name of the function's type, the key, and the value as text.
struct Entry
{
    std::string type;
    std::string key;
    std::string value;

    friend bool operator==(const Entry &, const Entry &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const Entry &entry)
    {
        return stream << entry.type << ' ' << entry.key << " = " << entry.value;
    }
};

struct Image
{
    int owners = 1;
    tarn_cvl_ImageInfo info{};
    std::vector<uint8_t> ownMemory;
    std::vector<Entry> metadata;
    void *region = nullptr;
};

struct Undistortion
{
    std::vector<Entry> metadata;
    int32_t interpolation = -1;
};

/// What the library is and does. By default everything works.
///
/// "Conversion" copies bytes, "undistortion" adds 1 to each byte, and the adjusted camera is the given one
/// with its principal point moved by 1.
struct Script
{
    // What it does.
    /// Statuses that a function gives on its next calls, first in first out, instead of working.
    std::map<std::string, std::deque<int32_t>, std::less<>> failures;
    std::string lastErrorText = "vision failed"; ///< of the next failure
    bool isLastErrorTerminated = true;
    bool acceptsCalibration = true;
    bool exchangesRegions = false;                    ///< a threshold gives a new handle
    std::function<void(tarn_cvl_ImageInfo &)> onInfo; ///< changes what an image tells of itself
    /// Called at the start of each function, with its name, outside of the lock.
    std::function<void(std::string_view)> onCall;

    // What happened.
    int initialized = 0;
    std::vector<std::string> calls;
    int staleHandles = 0; ///< uses of handles that are not alive
    std::map<void *, Image> images;
    std::map<void *, std::vector<Entry>> metadata;
    std::map<void *, std::vector<uint32_t>> regions; ///< the numbers of the pixels
    std::map<void *, Undistortion> undistortions;

    // What the last call of its kind was given.
    std::vector<Entry> convertedMetadata; ///< the store at its end
    double factor = 0;
    uint8_t zeroInitFlag = 0xFF;
    uint32_t convertedFormat = 0;
    std::array<double, 3> colour{};
    std::array<uint8_t, TARN_CVL_CAMERA_SIZE> camera{};
    tarn_cvl_Range range{};
    Image thresholded;            ///< the image that a threshold was taken of
    Image undistorted;            ///< the image that was undistorted
    int32_t undistortedWith = -1; ///< its interpolation
    tarn_cvl_ImageInfo xyz{};     ///< the image that coordinates were written into
    std::vector<uint8_t> calibration;
    bool wasRecordZero = false; ///< the record that calibration data were to be read into
    bool wasTextZero = false;   ///< the buffer that the last error was to be read into

    mutable std::mutex mutex;

    size_t LiveObjects() const
    {
        const std::lock_guard guard(mutex);
        return images.size() + metadata.size() + regions.size() + undistortions.size();
    }

    size_t CountOf(std::string_view name) const
    {
        const std::lock_guard guard(mutex);
        return static_cast<size_t>(std::count(calls.begin(), calls.end(), name));
    }

    void FailNext(const std::string &function, int32_t status)
    {
        const std::lock_guard guard(mutex);
        failures[function].push_back(status);
    }
};

} // namespace scripted
