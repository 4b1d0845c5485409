#include "vision_test.h"

#include "support/loaded.h"
#include "vision/backend.h"
#include "vision/dynamic.h"
#include "vision/status.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;

constexpr auto fileName = "libqvr_tarn_cvl.so";

const std::vector<std::string> symbols{
#define CVL_CALLED(name) "tarn_cvl_" #name,
#define CVL_OTHER(name) "tarn_cvl_" #name,
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
};

bool IsLoaded()
{
    return IsLibraryLoaded(fileName);
}

const std::string &FullLibrary()
{
    static const std::string bytes = []
    {
        std::ostringstream text;
        text << std::ifstream(QVR_LIB_DIR "/test/full/libqvr_tarn_cvl.so", std::ios::binary).rdbuf();
        return text.str();
    }();
    return bytes;
}

/// The scripted library without some functions, loaded for the life of this object: a copy of the file with
/// their names changed.
class LibraryWithout
{
public:
    explicit LibraryWithout(std::initializer_list<std::string> missing)
        : m_file(std::filesystem::temp_directory_path() /
                 ("libqvr_tarn_cvl." + std::to_string(getpid()) + ".so"))
    {
        auto bytes = FullLibrary();
        for (const auto &symbol : missing)
        {
            const std::string name = '\0' + symbol + '\0';
            const auto place = bytes.find(name);
            EXPECT_NE(place, std::string::npos) << symbol;
            bytes.at(place + 1) = 'T';
        }
        std::ofstream(m_file, std::ios::binary) << bytes;
        m_library = dlopen(m_file.c_str(), RTLD_NOW);
        EXPECT_NE(m_library, nullptr) << dlerror();
    }
    ~LibraryWithout()
    {
        dlclose(m_library);
        std::filesystem::remove(m_file);
    }
    LibraryWithout(const LibraryWithout &) = delete;
    LibraryWithout &operator=(const LibraryWithout &) = delete;

private:
    std::filesystem::path m_file;
    void *m_library;
};

/// Ends the process of a death test, with 0 when the condition holds.
[[noreturn]] void ExitWith(bool isAsExpected)
{
    std::exit(isAsExpected && !testing::Test::HasFailure() ? 0 : 1);
}

TEST(VisionLoading, NeedsAFileName)
{
    EXPECT_EQ(VisionFailureOf([] { dynamic::Binding binding(nullptr); }),
              Failing<dynamic::LoadLibraryException>("Filename empty"));
}

TEST(VisionLoading, FailsWithoutTheLibrary)
{
    const auto absent = Failing<dynamic::LoadLibraryException>("Lib load failed: libqvr_tarn_cvl.so");
    EXPECT_EQ(VisionFailureOf([] { dynamic::Init(); }), absent);
    EXPECT_EQ(VisionFailureOf([] { Call(dynamic::Exit); }), absent);
}

TEST(VisionLoading, FailsForALibraryThatDoesNotResolveAtOnce)
{
    static constexpr auto path = QVR_LIB_DIR "/test/unresolved/libqvr_tarn_cvl.so";
    {
        const VisionLibrary loadsOtherwise("unresolved");
    }
    EXPECT_EQ(VisionFailureOf([] { dynamic::Binding binding(path); }),
              Failing<dynamic::LoadLibraryException>(std::string("Lib load failed: ") + path));
}

TEST(VisionLoading, NeedsEachFunction)
{
    ASSERT_EQ(symbols.size(), 302U);
    for (const auto &symbol : symbols)
    {
        {
            const LibraryWithout library{symbol};
            EXPECT_EQ(VisionFailureOf([] { dynamic::Init(); }),
                      Failing<std::runtime_error>("Failed to load " + symbol));
        }
        ASSERT_FALSE(IsLoaded()) << symbol;
    }
}

TEST(VisionLoading, NamesTheFirstMissingFunctionOfTheList)
{
    const LibraryWithout library{symbols.back(), "tarn_cvl_Image_Create",
                                 "tarn_cvl_CalibrationParameters_ToBinary"};
    EXPECT_EQ(VisionFailureOf([] { dynamic::Exit(); }),
              Failing<std::runtime_error>("Failed to load tarn_cvl_CalibrationParameters_ToBinary"));
}

TEST(VisionLoading, CallsNoFunctionOfAnIncompleteLibrary)
{
    const VisionLibrary library("incomplete");
    EXPECT_EQ(VisionFailureOf([] { dynamic::Init(); }),
              Failing<std::runtime_error>("Failed to load tarn_cvl_CalibrationParameters_ToBinary"));
    EXPECT_TRUE(library->calls.empty());
}

TEST(VisionLoadingDeathTest, IsTriedAgainAfterAFailure)
{
    EXPECT_EXIT(
        {
            const bool wasAbsent = VisionFailureOf([] { dynamic::Init(); }) != VisionFailure{};
            bool wasIncomplete = false;
            {
                const VisionLibrary library("incomplete");
                wasIncomplete = VisionFailureOf([] { dynamic::Init(); }) != VisionFailure{};
            }
            const VisionLibrary library;
            const auto status = dynamic::Init();
            ExitWith(wasAbsent && wasIncomplete && status == 0 && library->initialized == 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(VisionLoadingDeathTest, AnOwnerWithoutALibraryEndsTheProcess)
{
    EXPECT_EXIT(
        {
            int object = 0;
            {
                const tarn::cvl::detail::Handle<dynamic::Image_Destroy> owner(&object);
            }
            std::exit(0);
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST(VisionLoadingDeathTest, KeepsTheLibraryLoadedAfterItsEnd)
{
    EXPECT_EXIT(
        {
            {
                const VisionLibrary library;
                dynamic::Init();
                dynamic::Exit();
            }
            ExitWith(IsLoaded() && dynamic::Init() == 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(VisionLoadingDeathTest, HappensOnceForManyThreads)
{
    EXPECT_EXIT(
        {
            const VisionLibrary library;
            std::barrier start(8);
            std::atomic<int> failures = 0;
            {
                std::vector<std::jthread> threads(8);
                for (auto &thread : threads)
                {
                    thread = std::jthread(
                        [&]
                        {
                            start.arrive_and_wait();
                            failures += dynamic::Init() != 0 ? 1 : 0;
                        });
                }
            }
            ExitWith(failures == 0 && library->initialized == 8);
        },
        testing::ExitedWithCode(0), "");
}

TEST(VisionLoadingDeathTest, EndsWithTheProcess)
{
    EXPECT_EXIT(
        {
            // Registered before the binding exists, so it runs after the binding is unloaded.
            std::atexit(
                []
                {
                    const auto failure = VisionFailureOf([] { dynamic::Init(); });
                    _exit(failure == Failing<std::runtime_error>("Library not loaded!") && !IsLoaded() ? 0
                                                                                                       : 1);
                });
            {
                const VisionLibrary library;
                dynamic::Init();
            }
            std::exit(2);
        },
        testing::ExitedWithCode(0), "");
}

TEST(VisionLoadingDeathTest, EndsBehindTheExitHandlersOfItsUsers)
{
    EXPECT_EXIT(
        {
            const VisionLibrary library;
            dynamic::Init();
            std::atexit([] { _exit(dynamic::Exit()); });
            std::exit(2);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace GenTL::internal
