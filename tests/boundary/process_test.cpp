// What begins and ends with a process: each test runs in a process of its own.

#include "support/environment_variable.h"
#include "support/lower_library.h"
#include "support/vision_library.h"

#include <gentl/gentl.h>

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace GenTL::internal
{
namespace
{

/// Shows failures of the producer on standard error.
void ShowFailures()
{
    setenv("PROXY_TL_LOG_LEVEL", "error", 1);
    setenv("PROXY_TL_LOG_PATTERN", "%v", 1);
    spdlog::register_logger(std::make_shared<spdlog::logger>(
        "gentli_proxy", std::make_shared<spdlog::sinks::ostream_sink_mt>(std::cerr, true)));
}

template <typename Function>
void Load(void *library, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
}

/// The functions that these tests call, out of the producer's file.
struct Producer
{
    Producer()
    {
        void *const library = dlopen(QVR_LIB_DIR "/qvr_proxygentl.cti", RTLD_NOW | RTLD_LOCAL);
        Load(library, "GCGetInfo", info);
        Load(library, "GCInitLib", initialize);
        Load(library, "GCGetLastError", lastError);
        Load(library, "EventFlush", flushEvent);
        Load(library, "GCCloseLib", close);
        Load(library, "TLOpen", openSystem);
        Load(library, "TLClose", closeSystem);
        Load(library, "TLOpenInterface", openInterface);
    }

    decltype(&GCGetInfo) info{};
    decltype(&GCInitLib) initialize{};
    decltype(&GCGetLastError) lastError{};
    decltype(&EventFlush) flushEvent{};
    decltype(&GCCloseLib) close{};
    decltype(&TLOpen) openSystem{};
    decltype(&TLClose) closeSystem{};
    decltype(&TLOpenInterface) openInterface{};
};

class ProcessDeathTest : public testing::Test
{
protected:
    LowerLibrary lower;
    EnvironmentVariable ctiPath{"PROXY_TL_CTI_PATH", lower.Path()};
};

TEST_F(ProcessDeathTest, IsNotInitialisedWithoutAVisionLibrary)
{
    EXPECT_EXIT(
        {
            ShowFailures();
            _exit(Producer().initialize() == GC_ERR_ERROR && lower->initialized == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^Lib load failed: libqvr_tarn_cvl.so\n$");
}

TEST_F(ProcessDeathTest, LogsAtDebugWhyAVisionLibraryDoesNotLoad)
{
    EXPECT_EXIT(
        {
            ShowFailures();
            setenv("PROXY_TL_LOG_LEVEL", "debug", 1);
            _exit(Producer().initialize() == GC_ERR_ERROR ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        "^libqvr_tarn_cvl.so cannot be loaded: .*No such file.*\n"
        "Lib load failed: libqvr_tarn_cvl.so\n$");
}

TEST_F(ProcessDeathTest, FailsWithAnIncompleteVisionLibrary)
{
    EXPECT_EXIT(
        {
            ShowFailures();
            const VisionLibrary vision("incomplete");
            _exit(Producer().initialize() == GC_ERR_ERROR && lower->initialized == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^Failed to load tarn_cvl_CalibrationParameters_ToBinary\n$");
}

TEST_F(ProcessDeathTest, IsInitialisedOnceTheVisionLibraryIsThere)
{
    EXPECT_EXIT(
        {
            const Producer producer;
            const auto withoutLibrary = producer.initialize();
            const VisionLibrary vision;
            const auto withLibrary = producer.initialize();
            _exit(withoutLibrary == GC_ERR_ERROR && withLibrary == GC_ERR_SUCCESS ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(ProcessDeathTest, HasNoTransportTypeBeforeTheSystemIsOpen)
{
    EXPECT_EXIT(
        {
            const VisionLibrary vision;
            const Producer producer;
            producer.initialize();
            INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
            char text[] = "unchanged";
            size_t size = sizeof text;
            const auto result = producer.info(TL_INFO_TLTYPE, &type, text, &size);
            std::cerr << result << ' ' << type << ' ' << size << " \"" << text << '"';
            _exit(0);
        },
        testing::ExitedWithCode(0), "^0 1 1 \"\"$");
}

TEST_F(ProcessDeathTest, SharesTheSymbolsOfTheLowerProducerWithAll)
{
    EXPECT_EXIT(
        {
            const VisionLibrary vision;
            const Producer producer;
            const auto *const before = dlsym(RTLD_DEFAULT, "LowerProducer");
            producer.initialize();
            const auto *const after = dlsym(RTLD_DEFAULT, "LowerProducer");
            _exit(before == nullptr && after != nullptr ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

const Producer *producerAtExit;

TEST_F(ProcessDeathTest, HasNoLowerProducerDuringItsExit)
{
    EXPECT_EXIT(
        {
            ShowFailures();
            const VisionLibrary vision;
            const Producer producer;
            producerAtExit = &producer;
            // This call makes the library object, so the handler below runs before the end of that object.
            producer.flushEvent(nullptr);
            std::atexit([] { _exit(producerAtExit->flushEvent(nullptr) == GC_ERR_ERROR ? 0 : 1); });
            std::exit(producer.initialize() == GC_ERR_SUCCESS ? 2 : 3);
        },
        testing::ExitedWithCode(0), "^Proxy is not available!\n$");
}

TEST_F(ProcessDeathTest, MayCloseTheLibraryAfterItsThreadEnded)
{
    EXPECT_EXIT(
        {
            const VisionLibrary vision;
            const Producer producer;
            producerAtExit = &producer;
            if (producer.initialize() != GC_ERR_SUCCESS || producer.closeSystem(nullptr) == GC_ERR_SUCCESS)
            {
                _exit(2);
            }
            std::atexit(
                []
                {
                    const auto failure = producerAtExit->closeSystem(nullptr);
                    GC_ERROR code = GC_ERR_ERROR;
                    size_t size = 0;
                    const auto told = producerAtExit->lastError(&code, nullptr, &size);
                    const auto closed = producerAtExit->close();
                    std::cerr << failure << ' ' << told << ' ' << code << ' ' << size << ' ' << closed;
                    _exit(0);
                });
            std::exit(3);
        },
        // The main thread's last error has been destroyed by then.
        testing::ExitedWithCode(0), "^-1006 0 0 9 0$");
}

LowerLibrary *lowerAtExit;
VisionLibrary *visionAtExit;

TEST_F(ProcessDeathTest, ClosesHandlesButNoLibraryAtExit)
{
    EXPECT_EXIT(
        {
            lowerAtExit = &lower;
            visionAtExit = new VisionLibrary;
            // Registered before the producer's own handlers, so it runs after them.
            std::atexit(
                []
                {
                    const auto &calls = (*lowerAtExit)->calls;
                    // The one GCCloseLib belongs to the query of the version.
                    _exit((*lowerAtExit)->OpenHandles() == 0 && calls.back() == "TLClose" &&
                                  (*lowerAtExit)->CountOf("IFClose") == 1 &&
                                  (*lowerAtExit)->CountOf("GCCloseLib") == 1 &&
                                  (*visionAtExit)->CountOf("Exit") == 0
                              ? 0
                              : 1);
                });
            const Producer producer;
            TL_HANDLE system = nullptr;
            IF_HANDLE interface = nullptr;
            if (producer.initialize() == GC_ERR_SUCCESS && producer.openSystem(&system) == GC_ERR_SUCCESS &&
                producer.openInterface(system, "if0", &interface) == GC_ERR_SUCCESS)
            {
                std::exit(2);
            }
            _exit(3);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace GenTL::internal
