#pragma once

// A lower producer of the tests' own: a shared object with the published interface that does what a test
// tells it to, and lies when asked. The test reaches it through the one extra export, LowerProducer().

#include <gentl/gentl.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lower
{

using namespace GenTL;

/// A scripted result that lets the function work.
inline constexpr GC_ERROR works = 1;

struct Frame
{
    std::vector<uint8_t> bytes;
    bool isIncomplete = false;
};

/// A call of a function of events: the handle, and the timeout or the command where there is one.
struct EventCall
{
    std::string function;
    void *event = nullptr;
    uint64_t argument = 0;

    friend bool operator==(const EventCall &, const EventCall &) = default;
};

struct DeviceEntry
{
    std::string id;
    std::string model;
};

/// A part of each buffer, as the producer reports it.
struct Part
{
    size_t type = PART_DATATYPE_2D_IMAGE;
    uint64_t format = 0x01080001;
    size_t size = 64;
    bool hasMemory = true; ///< when false, its base is null, whatever its size
};

/// What the producer is and does. By default: one interface "if0" with the devices "cam0" (admitted) and
/// "other" (not admitted), each with one stream, a small description and 16 x 4 pixels.
struct Producer
{
    // What it reports.
    uint32_t versionMajor = 1;
    uint32_t versionMinor = 6;
    std::string tlType = "GEV";
    std::vector<DeviceEntry> devices{{"cam0", "OVRA Test"}, {"other", "Else"}};
    std::string url = "local:///Cam.xml;10000;{}";
    bool knowsUrlParts = true; ///< whether it tells more of a URL than its text, versions and hash
    std::string systemXml;
    std::string streamXml;
    std::string deviceXml;
    size_t minimumBuffers = 3;
    size_t payloadSize = 64;
    bool definesPayloadSize = true; ///< whether its stream tells the payload size
    uint64_t droppedFrames = 0;
    /// Whether the remote device has registers everywhere, which hold what was written. If not, it answers
    /// with constants.
    bool remembersRegisters = false;
    std::map<uint64_t, uint8_t> memory; ///< what those registers hold, where it is not 0

    // What it reports about each buffer, true or not.
    uint64_t pixelFormat = 0x01080001;
    size_t width = 16;
    size_t height = 4;
    bool hasMemory = true; ///< when false, the buffer's base is null, whatever its size
    /// Numbers that it reports besides; of those above, they take precedence.
    std::map<BUFFER_INFO_CMD, uint64_t> bufferInfos;
    bool answersAtOnce = false; ///< whether it has DSGetBufferInfoStacked
    std::vector<SINGLE_CHUNK_DATA> chunks;
    size_t maxChunks = 0;            ///< 0: not told
    uint64_t timestampFrequency = 0; ///< 0: not told
    std::vector<Part> parts; ///< all begin where the buffer begins; not empty: the payload is multi-part

    /// Not success: each call that needs the device fails so, as when it was pulled out.
    std::atomic<GC_ERROR> gone = GC_ERR_SUCCESS; // a test sets it while calls run
    /// Results that a function returns from its next calls, in this order, without doing its work.
    std::map<std::string, std::deque<GC_ERROR>, std::less<>> failures;
    /// The text and the code that GCGetLastError reports, whatever failed.
    std::string lastErrorText = "lower failed";
    GC_ERROR lastErrorCode = GC_ERR_ERROR;
    /// Called at the start of each function, with its name, outside of the lock.
    std::function<void(std::string_view)> onCall;

    // What happened.
    int initialized = 0;
    std::vector<std::string> calls;
    std::vector<EventCall> eventCalls;
    std::vector<TL_INFO_CMD> infoCommands;                  ///< commands of the calls of GCGetInfo
    DEVICE_ACCESS_FLAGS lastAccess = DEVICE_ACCESS_UNKNOWN; ///< with which a device was opened last
    std::set<void *> open;                                  ///< handles of modules that are open now

    size_t CountOf(std::string_view name) const
    {
        const std::lock_guard guard(mutex);
        return static_cast<size_t>(std::count(calls.begin(), calls.end(), name));
    }

    size_t OpenHandles() const
    {
        const std::lock_guard guard(mutex);
        return open.size();
    }

    void FailNext(const std::string &function, GC_ERROR result)
    {
        const std::lock_guard guard(mutex);
        failures[function].push_back(result);
    }

    /// Fills the next queued buffer and fires the event. False when none is queued.
    bool Deliver(const Frame &frame)
    {
        const std::lock_guard guard(mutex);
        if (queued.empty())
        {
            return false;
        }
        auto *const buffer = queued.front();
        queued.pop_front();
        std::copy_n(frame.bytes.begin(), std::min(frame.bytes.size(), buffers[buffer].size()),
                    buffers[buffer].begin());
        incomplete[buffer] = frame.isIncomplete;
        filled.push_back(buffer);
        changed.notify_all();
        return true;
    }

    /// Waits until acquisition runs and a buffer is queued, then delivers.
    void DeliverWhenReady(const Frame &frame)
    {
        {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return isGrabbing && !queued.empty(); });
        }
        Deliver(frame);
    }

    /// Fires EVENT_ERROR, and waits until the consumer has taken it and waits for the next one.
    void FireError(const std::string &text)
    {
        std::unique_lock lock(mutex);
        errors.push_back(text);
        isErrorAwaited = false;
        changed.notify_all();
        changed.wait(lock, [this] { return isErrorAwaited; });
    }

    // The stream, and what fires EVENT_ERROR.
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<void *, std::vector<uint8_t>> buffers;
    std::map<void *, bool> incomplete;
    std::deque<void *> queued;
    std::deque<void *> filled;
    bool isGrabbing = false;
    uint64_t kills = 0;
    void *errorEvent = nullptr; ///< of the registration
    std::deque<std::string> errors;
    bool isErrorAwaited = false; ///< the consumer waits, and has taken all that came before
    uint64_t errorKills = 0;
    std::map<uint64_t, std::vector<uint8_t>> registers; ///< what was written to the remote device
};

} // namespace lower
