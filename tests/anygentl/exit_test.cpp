// The end of a process whose consumer closed nothing: each test runs in a process of its own.

#include "any_producer.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace GenTL::internal
{
namespace
{

/// Opens a device and reports the closing calls of the lower producer on standard error.
struct OpenDevice
{
    OpenDevice()
    {
        setenv("ANYGENTL_CTI_PATH", lower->Path().c_str(), 1);
        (*lower)->onCall = [](std::string_view name)
        {
            if (name.find("Close") != std::string_view::npos)
            {
                std::cerr << name << '\n';
            }
        };
        AnyGentl().GCInitLib();
        TL_HANDLE system = nullptr;
        AnyGentl().TLOpen(&system);
        IF_HANDLE interface = nullptr;
        AnyGentl().TLOpenInterface(system, "if0", &interface);
        DEV_HANDLE device = nullptr;
        AnyGentl().IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device);
    }

    // Both stay loaded and in their state until the process ends.
    LowerLibrary *lower = new LowerLibrary;
    VisionLibrary *vision = new VisionLibrary;
};

TEST(AnyExit, ClosesWhatTheConsumerLeftOpen)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const OpenDevice open;
            std::exit(0);
        },
        testing::ExitedWithCode(0), "DevClose\nIFClose\nTLClose\nGCCloseLib\n$");
}

TEST(AnyExit, LeavesTheCameraToTheParentOfAChild)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const OpenDevice open;
            if (fork() == 0)
            {
                std::exit(0);
            }
            wait(nullptr);
            std::cerr << "child ended\n";
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^child ended\nDevClose\n");
}

} // namespace
} // namespace GenTL::internal
