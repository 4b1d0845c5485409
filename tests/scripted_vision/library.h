#pragma once

// A scriptable vision library: a shared object with the whole interface that follows a test's script, counts
// its live objects, and returns wrong results on request. The test reaches it through the extra export
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

/// A scripted status with which the function works normally.
inline constexpr int32_t works = 0;

/// A value of a metadata object: the type in the function's name, the key, and the value as text.
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

/// The script and the record of the library. By default, every function works.
///
/// "Conversion" copies bytes, "undistortion" adds 1 to each byte, and the adjusted camera is the given one
/// with its principal point moved by 1.
struct Script
{
    // Behaviour.
    /// Statuses that a function returns from its next calls, in this order, without doing its work.
    std::map<std::string, std::deque<int32_t>, std::less<>> failures;
    std::string lastErrorText = "vision failed"; ///< of the next failure
    bool isLastErrorTerminated = true;
    bool acceptsCalibration = true;
    bool exchangesRegions = false;                    ///< a threshold gives a new handle
    std::function<void(tarn_cvl_ImageInfo &)> onInfo; ///< changes the info of an image
    /// Called with its name at the start of each function, without the lock.
    std::function<void(std::string_view)> onCall;

    // Record.
    int initialized = 0;
    std::vector<std::string> calls;
    int staleHandles = 0; ///< uses of stale handles
    std::map<void *, Image> images;
    std::map<void *, std::vector<Entry>> metadata;
    std::map<void *, std::vector<uint32_t>> regions; ///< indices of the pixels
    std::map<void *, Undistortion> undistortions;

    // Arguments of the last call of each kind.
    std::vector<Entry> convertedMetadata; ///< the metadata object when it was destroyed
    double factor = 0;
    uint8_t zeroInitFlag = 0xFF;
    uint32_t convertedFormat = 0;
    std::array<double, 3> colour{};
    std::array<uint8_t, TARN_CVL_CAMERA_SIZE> camera{};
    tarn_cvl_Range range{};
    Image thresholded;            ///< the image of the last threshold call
    Image undistorted;            ///< the last undistorted image
    int32_t undistortedWith = -1; ///< its interpolation
    tarn_cvl_ImageInfo xyz{};     ///< the last target of coordinates
    std::vector<uint8_t> calibration;
    bool wasRecordZero = false; ///< whether the record for calibration data was zeroed
    bool wasTextZero = false;   ///< whether the buffer for the last error was zeroed

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
