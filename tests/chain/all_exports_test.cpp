// Eight threads call all exports at once, on the handles of one camera that sends frames, while a sanitizer
// watches. They make a few thousand calls each, or run for the minutes that the environment asks for.

#include "consumer.h"
#include "consumer/description.h"
#include "nodemap/nodemap_parser.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace chain
{
namespace
{

using Clock = std::chrono::steady_clock;

constexpr size_t threadCount = 8;
constexpr uint64_t shortRounds = 100;
constexpr uint64_t roundsBetweenStops = 4; ///< of all threads together

struct Exports
{
#define FN(group, name, parameters, arguments) decltype(&GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN

    explicit Exports(void *library)
    {
#define FN(group, name, parameters, arguments) name = reinterpret_cast<decltype(name)>(dlsym(library, #name));
#include <gentl/functions.inc>
#undef FN
    }
};

/// A handle that the threads share. Its accesses are relaxed: an order between the threads would hide races
/// from a sanitizer.
class Slot
{
public:
    void *Get() const { return m_value.load(std::memory_order_relaxed); }
    void *Exchange(void *value) { return m_value.exchange(value, std::memory_order_relaxed); }

private:
    std::atomic<void *> m_value = nullptr;
};

/// A register of the camera as it is after the features were set.
struct Setting
{
    uint64_t address;
    std::vector<uint8_t> bytes;
};

struct Shared
{
    const Exports &gentl;
    std::string interfaceId{};
    std::string deviceId{};
    std::vector<Setting> settings{};
    uint64_t startAddress = 0; ///< of the command AcquisitionStart
    size_t frameBytes = 0;

    Slot system{};
    Slot iface{};
    Slot device{};
    Slot remote{};
    Slot stream{};
    Slot event{};
    std::array<Slot, 6> buffers{};
    std::mutex startAndStop{}; ///< these two must not run beside each other
    std::atomic<uint64_t> frames = 0;
};

/// The arguments of one thread's calls.
class Caller
{
public:
    Caller(Shared &shared, unsigned id) : s(shared), gentl(shared.gentl), m_random(id) {}

    template <typename T>
    void Shuffle(std::vector<T> &list)
    {
        std::ranges::shuffle(list, m_random);
    }

    size_t Number(size_t count) { return m_random() % count; }
    int32_t Command(size_t count) { return static_cast<int32_t>(Number(count)); }
    void *Buffer() { return AnyBuffer().Get(); }
    void *Port() { return Number(6) == 5 ? Buffer() : EventSource(); }
    void *EventSource()
    {
        const std::array sources{&s.system, &s.iface, &s.device, &s.remote, &s.stream};
        return sources.at(Number(sources.size()))->Get();
    }
    void *Bytes() { return m_bytes.data(); }
    char *Text() { return reinterpret_cast<char *>(m_bytes.data()); }
    size_t *Size(size_t size = maximumAnswer)
    {
        m_size = size;
        return &m_size;
    }
    PORT_REGISTER_STACK_ENTRY *Entry(void *bytes)
    {
        m_entry = {s.startAddress, bytes, sizeof(uint32_t)};
        return &m_entry;
    }
    template <typename Info>
    Info *StackedInfo(Info &info, size_t commands)
    {
        info = {};
        info.iInfoCmd = Command(commands);
        info.pBuffer = m_bytes.data();
        info.iSize = m_bytes.size();
        return &info;
    }

    /// Opens a module into a slot, and closes the one that the slot held.
    template <typename Opening>
    GC_ERROR Open(Slot &slot, Opening opening, decltype(Exports::TLClose) close = nullptr)
    {
        void *opened = nullptr;
        const auto result = opening(&opened);
        void *const old = opened != nullptr ? slot.Exchange(opened) : nullptr;
        if (old != nullptr && close != nullptr)
        {
            close(old);
        }
        return result;
    }

    /// Opens the camera and writes its settings again, which it forgets when it is closed.
    GC_ERROR OpenDevice()
    {
        const auto result = Open(
            s.device,
            [&](void **opened) {
                return gentl.IFOpenDevice(s.iface.Get(), s.deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, opened);
            },
            gentl.DevClose);
        if (result == GC_ERR_SUCCESS)
        {
            Open(s.remote, [&](void **opened) { return gentl.DevGetPort(s.device.Get(), opened); });
            for (const auto &setting : s.settings)
            {
                gentl.GCWritePort(s.remote.Get(), setting.address, setting.bytes.data(),
                                  Size(setting.bytes.size()));
            }
        }
        return result;
    }

    GC_ERROR OpenStream()
    {
        const auto result = Open(s.stream, [&](void **opened)
                                 { return gentl.DevOpenDataStream(s.device.Get(), "Stream1", opened); });
        if (result == GC_ERR_SUCCESS)
        {
            std::ranges::for_each(s.buffers, [](Slot &slot) { slot.Exchange(nullptr); });
        }
        return result;
    }

    /// Announces a buffer into an empty slot. Makes the call without a place for the handle when the slot is
    /// taken. No thread may use the announced memory.
    template <typename Announcing>
    GC_ERROR Announce(Announcing announcing)
    {
        auto &slot = AnyBuffer();
        return slot.Get() == nullptr ? Open(slot, announcing) : announcing(nullptr);
    }

    GC_ERROR Revoke()
    {
        auto &slot = AnyBuffer();
        const auto result = gentl.DSRevokeBuffer(s.stream.Get(), slot.Get(), nullptr, nullptr);
        if (result == GC_ERR_SUCCESS)
        {
            slot.Exchange(nullptr);
        }
        return result;
    }

    GC_ERROR TakeFrame(uint64_t timeoutMs)
    {
        const auto result = gentl.EventGetData(s.event.Get(), Bytes(), Size(), timeoutMs);
        s.frames += result == GC_ERR_SUCCESS ? 1 : 0;
        return result;
    }

    template <typename StartOrStop>
    GC_ERROR Alone(StartOrStop startOrStop)
    {
        const std::lock_guard guard(s.startAndStop);
        return startOrStop();
    }

    Shared &s;
    const Exports &gentl;
    // Calls write here; nobody reads it.
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    bool8_t flag = 0;
    uint32_t number = 0;
    void *handle = nullptr;
    void *segment = this;
    uint32_t one = 1;
    DS_BUFFER_INFO_STACKED bufferInfo{};
    DS_BUFFER_PART_INFO_STACKED partInfo{};
    std::vector<uint8_t> ownFrame = std::vector<uint8_t>(s.frameBytes);

private:
    static constexpr size_t maximumAnswer = 4096;

    Slot &AnyBuffer() { return s.buffers.at(Number(s.buffers.size())); }

    std::mt19937 m_random;
    std::array<uint8_t, maximumAnswer> m_bytes{};
    size_t m_size = 0;
    PORT_REGISTER_STACK_ENTRY m_entry{};
};

struct Call
{
    Call(std::string_view calledName, GC_ERROR (*call)(Caller &), bool isStopping = false)
        : name(calledName), run(call), stopsFrames(isStopping)
    {
    }

    std::string_view name;
    GC_ERROR (*run)(Caller &);
    bool stopsFrames;
};

#define RUN(name, call) Call(#name, [](Caller &c) -> GC_ERROR { return call; })
#define STOPPING_RUN(name, call)                                                                             \
    Call(                                                                                                    \
        #name, [](Caller &c) -> GC_ERROR { return call; }, true)
#define CALL(name, ...) RUN(name, c.gentl.name(__VA_ARGS__))
#define STOPPING(name, ...) STOPPING_RUN(name, c.gentl.name(__VA_ARGS__))
#define OPEN(name, slot, close, ...)                                                                         \
    RUN(name, c.Open(                                                                                        \
                  c.s.slot, [&](void **opened) { return c.gentl.name(__VA_ARGS__); }, close))
#define ANNOUNCE(name, ...) RUN(name, c.Announce([&](void **opened) { return c.gentl.name(__VA_ARGS__); }))

#define QUERY &c.type, c.Bytes(), c.Size()
#define SYSTEM c.s.system.Get()
#define INTERFACE c.s.iface.Get()
#define DEVICE c.s.device.Get()
#define STREAM c.s.stream.Get()
#define BUFFER STREAM, c.Buffer()
#define INTERFACE_ID c.s.interfaceId.c_str()
#define DEVICE_ID c.s.deviceId.c_str()

// All exports but GCCloseLib, which has to run alone and is called at the end. GCInitLib is refused. The only
// register written is that of AcquisitionStart, because only one thread at a time may use a device's
// features. DSFlushQueue only discards the output: a flush that takes buffers away from a running acquisition
// is documented to end the process.
const std::vector<Call> calls{
    CALL(GCGetInfo, c.Command(11), QUERY),
    CALL(GCGetLastError, &c.type, c.Text(), c.Size()),
    CALL(GCInitLib),
    CALL(GCReadPort, c.Port(), c.s.startAddress, c.Bytes(), c.Size(sizeof(uint32_t))),
    CALL(GCWritePort, c.s.remote.Get(), c.s.startAddress, &c.one, c.Size(sizeof c.one)),
    CALL(GCGetPortURL, c.Port(), c.Text(), c.Size()),
    CALL(GCGetPortInfo, c.Port(), c.Command(15), QUERY),
    OPEN(GCRegisterEvent, event, nullptr, STREAM, EVENT_NEW_BUFFER, opened),
    STOPPING(GCUnregisterEvent, STREAM, EVENT_NEW_BUFFER),
    RUN(EventGetData, c.TakeFrame(c.Number(2))),
    CALL(EventGetDataInfo, c.s.event.Get(), c.Bytes(), sizeof(EVENT_NEW_BUFFER_DATA), c.Command(4), QUERY),
    CALL(EventGetInfo, c.s.event.Get(), c.Command(5), QUERY),
    STOPPING(EventFlush, c.s.event.Get()),
    STOPPING(EventKill, c.s.event.Get()),
    OPEN(TLOpen, system, c.gentl.TLClose, opened),
    STOPPING(TLClose, SYSTEM),
    CALL(TLGetInfo, SYSTEM, c.Command(11), QUERY),
    CALL(TLGetNumInterfaces, SYSTEM, &c.number),
    CALL(TLGetInterfaceID, SYSTEM, 0, c.Text(), c.Size()),
    CALL(TLGetInterfaceInfo, SYSTEM, INTERFACE_ID, c.Command(4), QUERY),
    OPEN(TLOpenInterface, iface, c.gentl.IFClose, SYSTEM, INTERFACE_ID, opened),
    CALL(TLUpdateInterfaceList, SYSTEM, &c.flag, 0),
    STOPPING(IFClose, INTERFACE),
    CALL(IFGetInfo, INTERFACE, c.Command(4), QUERY),
    CALL(IFGetNumDevices, INTERFACE, &c.number),
    CALL(IFGetDeviceID, INTERFACE, 0, c.Text(), c.Size()),
    CALL(IFUpdateDeviceList, INTERFACE, &c.flag, 0),
    CALL(IFGetDeviceInfo, INTERFACE, DEVICE_ID, c.Command(12), QUERY),
    RUN(IFOpenDevice, c.OpenDevice()),
    OPEN(DevGetPort, remote, nullptr, DEVICE, opened),
    CALL(DevGetNumDataStreams, DEVICE, &c.number),
    CALL(DevGetDataStreamID, DEVICE, 0, c.Text(), c.Size()),
    RUN(DevOpenDataStream, c.OpenStream()),
    CALL(DevGetInfo, DEVICE, c.Command(12), QUERY),
    STOPPING(DevClose, DEVICE),
    ANNOUNCE(DSAnnounceBuffer, STREAM, c.ownFrame.data(), c.ownFrame.size(), nullptr, opened),
    ANNOUNCE(DSAllocAndAnnounceBuffer, STREAM, c.s.frameBytes, nullptr, opened),
    STOPPING(DSFlushQueue, STREAM, ACQ_QUEUE_OUTPUT_DISCARD),
    RUN(DSStartAcquisition,
        c.Alone([&] { return c.gentl.DSStartAcquisition(STREAM, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE); })),
    STOPPING_RUN(DSStopAcquisition, c.Alone([&] { return c.gentl.DSStopAcquisition(STREAM, c.Command(2)); })),
    CALL(DSGetInfo, STREAM, c.Command(16), QUERY),
    CALL(DSGetBufferID, STREAM, 0, &c.handle),
    STOPPING(DSClose, STREAM),
    STOPPING_RUN(DSRevokeBuffer, c.Revoke()),
    CALL(DSQueueBuffer, BUFFER),
    CALL(DSGetBufferInfo, BUFFER, c.Command(30), QUERY),
    CALL(GCGetNumPortURLs, c.Port(), &c.number),
    CALL(GCGetPortURLInfo, c.Port(), 0, c.Command(9), QUERY),
    CALL(GCReadPortStacked, c.Port(), c.Entry(c.Bytes()), c.Size(1)),
    CALL(GCWritePortStacked, c.s.remote.Get(), c.Entry(&c.one), c.Size(1)),
    CALL(DSGetBufferChunkData, BUFFER, nullptr, c.Size()),
    CALL(IFGetParentTL, INTERFACE, &c.handle),
    CALL(DevGetParentIF, DEVICE, &c.handle),
    CALL(DSGetParentDev, STREAM, &c.handle),
    CALL(DSGetNumBufferParts, BUFFER, &c.number),
    CALL(DSGetBufferPartInfo, BUFFER, 0, c.Command(10), QUERY),
    CALL(DSAnnounceCompositeBuffer, STREAM, 1, &c.segment, c.Size(), nullptr, &c.handle),
    CALL(DSGetBufferInfoStacked, BUFFER, c.StackedInfo(c.bufferInfo, 30), 1),
    CALL(DSGetBufferPartInfoStacked, BUFFER, c.StackedInfo(c.partInfo, 10), 1),
    CALL(DSGetNumFlows, STREAM, &c.number),
    CALL(DSGetFlowInfo, STREAM, 0, 0, QUERY),
    CALL(DSGetNumBufferSegments, BUFFER, &c.number),
    CALL(DSGetBufferSegmentInfo, BUFFER, 0, 0, QUERY),
};

GC_ERROR CallByName(Caller &caller, std::string_view name)
{
    return std::ranges::find(calls, name, &Call::name)->run(caller);
}

class AllExports : public testing::Test
{
protected:
    AllExports()
    {
        Camera camera(m_producer, "OVRA-M1");
        camera.UseSmallImages();
        m_shared.interfaceId = camera.Device().Entry().interfaceId;
        m_shared.deviceId = camera.Device().Entry().id;
        m_shared.system.Exchange(m_producer.System());
        m_shared.iface.Exchange(camera.Device().InterfaceHandle());
        m_shared.frameBytes = camera.PayloadSize();
        const auto remote = camera.Device().PortOf("remote");
        const GenTL::internal::nodemap::NodeMapParser description(gentlctl::LoadDescription(*remote));
        m_shared.startAddress = description.FindNode("AcquisitionStart").Address;
        for (const auto *feature : {"Width", "Height", "AcquisitionFrameRate"})
        {
            const auto &node = description.FindNode(feature);
            Setting setting{node.Address, std::vector<uint8_t>(node.Length)};
            size_t size = setting.bytes.size();
            remote->ReadPort(setting.address, setting.bytes.data(), &size);
            m_shared.settings.push_back(std::move(setting));
        }
        for (unsigned id = 1; id <= threadCount; ++id)
        {
            m_callers.push_back(std::make_unique<Caller>(m_shared, id));
        }
    }

    static int MinutesAsked()
    {
        const char *const minutes = std::getenv("QVR_TEST_SOAK_MINUTES");
        return minutes != nullptr ? std::stoi(minutes) : 0;
    }

    bool IsOver(uint64_t rounds) const
    {
        return m_minutes > 0 ? Clock::now() >= m_begin + std::chrono::minutes(m_minutes)
                             : rounds >= shortRounds;
    }

    /// Makes the calls of a consumer in their order, up to the first frame.
    void StartFrames()
    {
        auto &caller = *m_callers.front();
        for (const auto *name : {"IFOpenDevice", "DevGetPort", "DevOpenDataStream", "GCRegisterEvent"})
        {
            ASSERT_EQ(CallByName(caller, name), GC_ERR_SUCCESS) << name;
        }
        for (auto &slot : m_shared.buffers)
        {
            void *buffer = nullptr;
            void *const stream = m_shared.stream.Get();
            ASSERT_EQ(m_exports.DSAllocAndAnnounceBuffer(stream, m_shared.frameBytes, nullptr, &buffer),
                      GC_ERR_SUCCESS);
            ASSERT_EQ(m_exports.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
            slot.Exchange(buffer);
        }
        ASSERT_EQ(CallByName(caller, "DSStartAcquisition"), GC_ERR_SUCCESS);
        ASSERT_EQ(CallByName(caller, "GCWritePort"), GC_ERR_SUCCESS);
        ASSERT_EQ(caller.TakeFrame(30000), GC_ERR_SUCCESS);
    }

    /// Makes each call once in a round, in random order. The calls that stop the frames come singly: every
    /// few rounds, one thread makes one of them, so that the others open everything again in between.
    void CallAll(uint64_t thread)
    {
        auto &caller = *m_callers[thread];
        auto order = Select(false);
        const auto stops = Select(true);
        for (uint64_t round = 0; !IsOver(round); ++round)
        {
            caller.Shuffle(order);
            for (const auto &call : order)
            {
                call.run(caller);
            }
            if (round % (threadCount * roundsBetweenStops) == thread * roundsBetweenStops)
            {
                stops[(round / roundsBetweenStops) % stops.size()].run(caller);
            }
        }
    }

    static std::vector<Call> Select(bool areStopping)
    {
        std::vector<Call> selected;
        std::ranges::copy_if(calls, std::back_inserter(selected),
                             [&](const Call &call) { return call.stopsFrames == areStopping; });
        return selected;
    }

    const int m_minutes = MinutesAsked();
    const Clock::time_point m_begin = Clock::now();
    gentlctl::Producer m_producer{proxyProducer};
    const Exports m_exports{dlopen(proxyProducer.c_str(), RTLD_NOW | RTLD_NOLOAD)};
    Shared m_shared{.gentl = m_exports};
    std::vector<std::unique_ptr<Caller>> m_callers; ///< they own memory that is announced
};

TEST_F(AllExports, WorkBesideEachOther)
{
    StartFrames();
    ASSERT_FALSE(HasFatalFailure());
    {
        std::vector<std::jthread> threads;
        for (uint64_t i = 0; i < threadCount; ++i)
        {
            threads.emplace_back([this, i] { CallAll(i); });
        }
    }
    std::cout << m_shared.frames << " frames" << std::endl;
    EXPECT_EQ(m_exports.GCCloseLib(), GC_ERR_SUCCESS);
    OpenGrabClose(10);
}

TEST(AllExportsList, HasEachExportButTheOneThatRunsAlone)
{
    std::vector<std::string_view> called{"GCCloseLib"};
    for (const auto &call : calls)
    {
        called.push_back(call.name);
    }
    std::vector<std::string_view> exported{
#define FN(group, name, parameters, arguments) #name,
#include <gentl/functions.inc>
#undef FN
    };
    std::ranges::sort(called);
    std::ranges::sort(exported);
    EXPECT_EQ(called, exported);
}

} // namespace
} // namespace chain
