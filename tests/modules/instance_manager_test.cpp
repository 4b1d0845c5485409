#include "instance_manager.h"

#include "datastream/buffer.h"
#include "datastream/datastream.h"
#include "device.h"
#include "events/event_handler.h"
#include "interface.h"
#include "remoteport.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"
#include "support/log_capture.h"
#include "system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

struct Instance
{
    std::function<void()> atItsEnd = [] {};
    Instance() = default;
    explicit Instance(std::function<void()> action) : atItsEnd(std::move(action)) {}
    Instance(const Instance &) = delete;
    Instance &operator=(const Instance &) = delete;
    ~Instance() { atItsEnd(); }
};

using TestRegistry = InstanceManager::Registry<void *, Instance>;

TEST(Registry, GivesTheAddressAsTheHandle)
{
    TestRegistry registry;
    const auto instance = std::make_shared<Instance>();
    EXPECT_EQ(registry.Add(instance), instance.get());
    EXPECT_EQ(registry.Find(instance.get()), instance);
    EXPECT_TRUE(registry.Contains(instance.get()));
}

TEST(Registry, KeepsAnObjectUntilItIsRemoved)
{
    TestRegistry registry;
    bool ended = false;
    void *handle = registry.Add(std::make_shared<Instance>([&] { ended = true; }));
    EXPECT_FALSE(ended);
    registry.Remove(handle);
    EXPECT_TRUE(ended);
    EXPECT_FALSE(registry.Contains(handle));
}

TEST(Registry, LeavesARemovedObjectToItsOtherOwners)
{
    TestRegistry registry;
    bool ended = false;
    auto instance = std::make_shared<Instance>([&] { ended = true; });
    registry.Remove(registry.Add(instance));
    EXPECT_FALSE(ended);
    instance.reset();
    EXPECT_TRUE(ended);
}

TEST(Registry, RefusesANullPointer)
{
    TestRegistry registry;
    EXPECT_EQ(FailureOf([&] { registry.Add(nullptr); }), PlainFailure("Instance not valid (nullptr)"));
    EXPECT_THROW(registry.Add(nullptr), std::invalid_argument);
}

TEST(Registry, RefusesANullPointerBeforeItTakesItsLock)
{
    TestRegistry registry;
    Failure failure;
    // An object's end runs under the lock.
    void *handle = registry.Add(
        std::make_shared<Instance>([&] { failure = FailureOf([&] { registry.Add(nullptr); }); }));
    registry.Remove(handle);
    EXPECT_EQ(failure, PlainFailure("Instance not valid (nullptr)"));
}

TEST(Registry, KeepsTheFirstEntryWhenAnObjectIsAddedTwice)
{
    TestRegistry registry;
    const auto instance = std::make_shared<Instance>();
    registry.Add(instance);
    EXPECT_EQ(FailureOf([&] { registry.Add(instance); }), PlainFailure("Instance already registered"));
    EXPECT_EQ(registry.Find(instance.get()), instance);
    EXPECT_EQ(instance.use_count(), 2);
}

TEST(Registry, TakesARemovedObjectAgain)
{
    TestRegistry registry;
    const auto instance = std::make_shared<Instance>();
    registry.Remove(registry.Add(instance));
    EXPECT_EQ(registry.Add(instance), instance.get());
}

TEST(Registry, DoesNotRemoveWhatItDoesNotHold)
{
    TestRegistry registry;
    const auto instance = std::make_shared<Instance>();
    registry.Add(instance);
    const Failure expected{"Handle not found!", GC_ERR_INVALID_HANDLE};
    EXPECT_EQ(FailureOf([&] { registry.Remove(LowerHandle(0xBAD)); }), expected);
    EXPECT_EQ(FailureOf([&] { registry.Remove(nullptr); }), expected);
    EXPECT_TRUE(registry.Contains(instance.get()));
    registry.Remove(instance.get());
    EXPECT_EQ(FailureOf([&] { registry.Remove(instance.get()); }), expected);
}

TEST(Registry, FindsNothingForAnAbsentHandle)
{
    TestRegistry registry;
    EXPECT_EQ(registry.Find(LowerHandle(0xBAD)), nullptr);
    EXPECT_EQ(registry.Find(nullptr), nullptr);
    EXPECT_FALSE(registry.Contains(LowerHandle(0xBAD)));
}

TEST(Registry, WritesNothingWhenItIsClearedEmpty)
{
    TestRegistry registry;
    const LogCapture log;
    registry.ClearAndWarn("Anything");
    registry.Remove(registry.Add(std::make_shared<Instance>()));
    registry.ClearAndWarn("Anything");
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(Registry, WarnsOnceAndReleasesAllWhenItIsCleared)
{
    TestRegistry registry;
    int ended = 0;
    for (int i = 0; i < 3; ++i)
    {
        registry.Add(std::make_shared<Instance>([&] { ++ended; }));
    }
    const LogCapture log;
    registry.ClearAndWarn("Thing");
    EXPECT_EQ(ended, 3);
    EXPECT_THAT(log.Lines(), ElementsAre("warning: Cleanup: 3 instances of Thing were still registered!"));
}

TEST(Registry, WarnsBeforeItReleases)
{
    TestRegistry registry;
    const LogCapture log;
    size_t linesAtTheEnd = 0;
    registry.Add(std::make_shared<Instance>([&] { linesAtTheEnd = log.Lines().size(); }));
    registry.ClearAndWarn("Thing");
    EXPECT_EQ(linesAtTheEnd, 1U);
}

TEST(Registry, ServesManyThreadsAtOnce)
{
    TestRegistry registry;
    const auto common = std::make_shared<Instance>();
    registry.Add(common);
    constexpr int rounds = 500;
    std::vector<int> hits(4);
    std::vector<std::thread> threads;
    for (auto &count : hits)
    {
        threads.emplace_back(
            [&]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    void *own = registry.Add(std::make_shared<Instance>());
                    const bool found = registry.Find(own) && registry.Contains(common.get());
                    registry.Remove(own);
                    count += found ? 1 : 0;
                }
            });
    }
    for (auto &thread : threads)
    {
        thread.join();
    }
    EXPECT_THAT(hits, testing::Each(rounds));
    EXPECT_EQ(registry.Find(common.get()), common);
}

/// One entry in each registry, which tells when it is released. Its handles point to no objects: a registry
/// never looks into them.
struct SevenEntries
{
    std::vector<std::string> released;

    void FillParentsFirst(InstanceManager &manager)
    {
        manager.systems.Add(Entry<System>("System"));
        manager.interfaces.Add(Entry<Interface>("Interface"));
        manager.devices.Add(Entry<Device>("Device"));
        manager.remotePorts.Add(Entry<RemotePort>("RemotePort"));
        manager.datastreams.Add(Entry<Datastream>("Datastream"));
        manager.buffers.Add(Entry<Buffer>("Buffer"));
        manager.events.Add(Entry<EventHandler>("Event"));
    }

private:
    template <typename T>
    std::shared_ptr<T> Entry(std::string name)
    {
        const auto owner = std::make_shared<Instance>([this, name] { released.push_back(name); });
        return {owner, reinterpret_cast<T *>(&m_memory)};
    }

    alignas(std::max_align_t) std::byte m_memory{};
};

const std::vector<std::string> fromChildrenToParents{"Event",  "Buffer",    "Datastream", "RemotePort",
                                                     "Device", "Interface", "System"};

std::vector<std::string> WarningsForOneEach()
{
    std::vector<std::string> lines;
    for (const auto &label : fromChildrenToParents)
    {
        lines.push_back("warning: Cleanup: 1 instances of " + label + " were still registered!");
    }
    return lines;
}

TEST(InstanceManager, ClearsChildrenBeforeTheirParents)
{
    InstanceManager manager;
    SevenEntries entries;
    entries.FillParentsFirst(manager);
    const LogCapture log;
    manager.ClearAll();
    EXPECT_EQ(entries.released, fromChildrenToParents);
    EXPECT_EQ(log.Lines(), WarningsForOneEach());
}

TEST(InstanceManager, ClearsWhatIsLeftAtItsEnd)
{
    SevenEntries entries;
    const LogCapture log;
    {
        InstanceManager manager;
        entries.FillParentsFirst(manager);
    }
    EXPECT_EQ(entries.released, fromChildrenToParents);
    EXPECT_EQ(log.Lines(), WarningsForOneEach());
}

TEST(InstanceManager, WarnsOnlyOnceAboutWhatWasCleared)
{
    SevenEntries entries;
    std::optional<InstanceManager> manager(std::in_place);
    entries.FillParentsFirst(*manager);
    {
        const LogCapture log;
        manager->ClearAll();
    }
    const LogCapture log;
    manager.reset();
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(InstanceManager, LeavesOpenDevicesToTheLowerLibrary)
{
    const auto proxy = std::make_shared<FakeGenTLProxy>();
    FakeRemoteDevice remoteDevice;
    remoteDevice.Serve(*proxy);
    InstanceManager manager;
    for (const uintptr_t lowerHandle : {1U, 2U})
    {
        manager.devices.Add(std::make_shared<Device>(&manager, proxy, LowerHandle(lowerHandle), nullptr));
    }
    const LogCapture log;
    manager.ClearAll();
    EXPECT_THAT(log.Lines(), ElementsAre("warning: Cleanup: 2 instances of RemotePort were still registered!",
                                         "warning: Cleanup: 2 instances of Device were still registered!"));
    EXPECT_EQ(proxy->CountOf("DevClose"), 0U);
}

} // namespace
} // namespace GenTL::internal
