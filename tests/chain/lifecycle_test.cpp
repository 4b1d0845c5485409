// How hosts load, use and leave the producer.

#include "consumer.h"
#include "resident_memory.h"
#include "support/failure.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace chain
{
namespace
{

using GenTL::internal::FailureOf;

/// A host that has loaded the vision library.
class TheLibrary : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW), nullptr) << dlerror();
    }
};

using ADevice = TheLibrary;

TEST(OpenGrabCloseCycles, DoNotGrow)
{
    const int cycles = hasSanitizer ? 20 : 100; // a leak check needs no growth that stands out
    for (int i = 0; i < cycles / 5; ++i)
    {
        OpenGrabClose(5);
    }
    const auto before = ResidentMemory();
    for (int i = 0; i < cycles; ++i)
    {
        OpenGrabClose(5);
    }
    const auto after = ResidentMemory();
    RecordProperty("growth", std::to_string(static_cast<int64_t>(after) - static_cast<int64_t>(before)));
    if (!hasSanitizer)
    {
        EXPECT_LT(after, before + (1U << 20U));
    }
}

TEST_F(TheLibrary, CanBeInitialisedAndClosedAHundredTimes)
{
    void *library = dlopen(proxyProducer.c_str(), RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto initialise = reinterpret_cast<GC_ERROR (*)()>(dlsym(library, "GCInitLib"));
    const auto close = reinterpret_cast<GC_ERROR (*)()>(dlsym(library, "GCCloseLib"));
    for (int i = 0; i < 100; ++i)
    {
        ASSERT_EQ(initialise(), GC_ERR_SUCCESS);
        ASSERT_EQ(close(), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(dlclose(library), 0);
}

TEST_F(TheLibrary, CanBeUnloadedWhileTheHostGoesOnLogging)
{
    void *library = dlopen(proxyProducer.c_str(), RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto initialise = reinterpret_cast<GC_ERROR (*)()>(dlsym(library, "GCInitLib"));
    const auto close = reinterpret_cast<GC_ERROR (*)()>(dlsym(library, "GCCloseLib"));
    ASSERT_EQ(initialise(), GC_ERR_SUCCESS);
    ASSERT_EQ(close(), GC_ERR_SUCCESS);
    ASSERT_EQ(dlclose(library), 0);
    // Logging must not use code of the unloaded library.
    spdlog::set_level(spdlog::level::info);
    spdlog::info("the host lives on");
}

/// Exit status of a child that runs the action and then ends as `main` does.
template <typename Action>
int StatusOfChild(Action action)
{
    const pid_t child = fork();
    if (child == 0)
    {
        action();
        std::exit(42);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(TheProcess, CanEndWithAStreamRunning)
{
    EXPECT_EQ(StatusOfChild(
                  []
                  {
                      auto *producer = new gentlctl::Producer(proxyProducer);
                      auto *camera = new Camera(*producer, "OVRA-M1");
                      camera->UseSmallImages();
                      camera->AnnounceAndQueue(4);
                      camera->RegisterEvent();
                      camera->Start();
                      camera->Pass(5);
                  }),
              hasSanitizer ? StatusOfChild([] { static_cast<void>(new int(1)); }) : 42);
}

TEST_F(ADevice, CanBeOpenedWithoutAnyUpdate)
{
    const auto proxy = std::make_shared<internal::GenTLProxy>(proxyProducer);
    proxy->GCInitLib();
    TL_HANDLE system = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    proxy->TLOpen(&system);
    EXPECT_EQ(FailureOf([&] { proxy->TLOpenInterface(system, "SIM-GIGE-0", &interface); }).text, "");
    EXPECT_EQ(
        FailureOf([&] { proxy->IFOpenDevice(interface, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device); })
            .text,
        "");
    proxy->GCCloseLib();
}

TEST(ASizeQuery, DoesNotLookAtTheSizeThatItIsGiven)
{
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-M1");
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0xDEADBEEFDEADBEEF;
    camera.Calls().DSGetInfo(camera.Stream(), STREAM_INFO_ID, &type, nullptr, &size);
    EXPECT_EQ(size, 8U);
    size = 0xDEADBEEFDEADBEEF;
    camera.Calls().GCGetPortURL(camera.Device().RemotePortHandle(), nullptr, &size);
    EXPECT_LT(size, 200U);
    size = 0xDEADBEEFDEADBEEF;
    camera.Calls().DevGetDataStreamID(camera.Device().DeviceHandle(), 0, nullptr, &size);
    EXPECT_EQ(size, 8U);
    size = 0xDEADBEEFDEADBEEF;
    camera.Calls().GCGetInfo(TL_INFO_ID, &type, nullptr, &size);
    EXPECT_EQ(size, 22U);
}

class FeaturesOf : public testing::TestWithParam<const char *>
{
};

TEST_P(FeaturesOf, AModuleCanBeReadByName)
{
    gentlctl::Producer producer(proxyProducer);
    gentlctl::OpenDevice device(producer, "OVRA-M5");
    const gentlctl::Features features(device.PortOf(GetParam()));
    const auto names = features.Names();
    EXPECT_GT(names.size(), 3U);
    for (const auto &name : names)
    {
        if (!features.WhyWithoutValue(name)) // as a command has, and what comes with a frame or an event
        {
            EXPECT_NO_THROW(features.Get(name)) << name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modules, FeaturesOf,
                         testing::Values("system", "interface", "device", "remote", "stream"));

} // namespace
} // namespace chain
