#pragma once

#include "support/environment_variable.h"
#include "support/lower_library.h"
#include "support/vision_library.h"

#include <gentl/gentl.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace GenTL::internal
{

/// What GCGetLastError reports. Ask at once: no call of the test framework may come before.
struct LastError
{
    GC_ERROR result{};
    GC_ERROR code{};
    std::string text;

    friend bool operator==(const LastError &, const LastError &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const LastError &error)
    {
        return stream << error.result << ' ' << error.code << " \"" << error.text << '"';
    }
};

/// The producer as an application loads it: the published functions of the shared object.
struct Exports
{
#define FN(group, name, parameters, arguments) decltype(&GenTL::name) name;
#include <gentl/functions.inc>
#undef FN

    explicit Exports(void *library)
    {
#define FN(group, name, parameters, arguments)                                                               \
    name = reinterpret_cast<decltype(name)>(dlsym(library, #name));                                          \
    EXPECT_NE(name, nullptr) << #name;
#include <gentl/functions.inc>
#undef FN
    }
};

inline const Exports &Gentl()
{
    static const VisionLibrary foundByName;
    static const Exports exports(dlopen(QVR_LIB_DIR "/qvr_proxygentl.cti", RTLD_NOW | RTLD_LOCAL));
    return exports;
}

inline LastError GetLastError()
{
    LastError error;
    size_t size = 0;
    error.result = Gentl().GCGetLastError(&error.code, nullptr, &size);
    if (error.result == GC_ERR_SUCCESS)
    {
        std::string text(size, '\0');
        error.result = Gentl().GCGetLastError(&error.code, text.data(), &size);
        text.resize(size - 1);
        error.text = text;
    }
    return error;
}

/// An initialised producer over the tests' lower producer.
class ConsumerTest : public testing::Test
{
protected:
    ConsumerTest() : ctiPath("PROXY_TL_CTI_PATH", lower.Path()) {}

    void SetUp() override { ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << GetLastError(); }
    // Returns GC_ERR_NOT_INITIALIZED, which is right, when the test has closed the library itself.
    void TearDown() override { gentl.GCCloseLib(); }

    TL_HANDLE OpenSystem()
    {
        TL_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.TLOpen(&handle), GC_ERR_SUCCESS) << GetLastError();
        return handle;
    }

    IF_HANDLE OpenInterface(TL_HANDLE system)
    {
        IF_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.TLOpenInterface(system, "if0", &handle), GC_ERR_SUCCESS) << GetLastError();
        return handle;
    }

    DEV_HANDLE OpenDevice(IF_HANDLE interface)
    {
        DEV_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.IFOpenDevice(interface, "cam0", DEVICE_ACCESS_EXCLUSIVE, &handle), GC_ERR_SUCCESS)
            << GetLastError();
        return handle;
    }

    DS_HANDLE OpenStream(DEV_HANDLE device)
    {
        DS_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.DevOpenDataStream(device, "Stream1", &handle), GC_ERR_SUCCESS) << GetLastError();
        return handle;
    }

    struct OpenModules
    {
        TL_HANDLE system;
        IF_HANDLE interface;
        DEV_HANDLE device;
        DS_HANDLE stream;
        PORT_HANDLE remote;
    };

    OpenModules OpenAll()
    {
        OpenModules handles{};
        handles.system = OpenSystem();
        handles.interface = OpenInterface(handles.system);
        handles.device = OpenDevice(handles.interface);
        handles.stream = OpenStream(handles.device);
        EXPECT_EQ(gentl.DevGetPort(handles.device, &handles.remote), GC_ERR_SUCCESS) << GetLastError();
        return handles;
    }

    LowerLibrary lower;
    VisionLibrary vision;
    EnvironmentVariable ctiPath;
    const Exports &gentl = Gentl();
};

} // namespace GenTL::internal
