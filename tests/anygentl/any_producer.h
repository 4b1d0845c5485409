#pragma once

#include "boundary/consumer.h"

namespace GenTL::internal
{

inline const Exports &AnyGentl()
{
    static const Exports exports(dlopen(QVR_LIB_DIR "/anygentl/qvr_anygentl.cti", RTLD_NOW | RTLD_LOCAL));
    return exports;
}

/// The producer for any camera over the tests' lower producer and vision library. GCInitLib is the test's.
class AnyProducer : public testing::Test
{
protected:
    AnyProducer() : ctiPath("ANYGENTL_CTI_PATH", lower.Path()) {}
    ~AnyProducer() override { gentl.GCCloseLib(); }

    void Initialize() { ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << Error(); }

    /// What GCGetLastError reports.
    LastError Error()
    {
        LastError error;
        size_t size = 0;
        error.result = gentl.GCGetLastError(&error.code, nullptr, &size);
        if (error.result == GC_ERR_SUCCESS)
        {
            error.text.resize(size);
            error.result = gentl.GCGetLastError(&error.code, error.text.data(), &size);
            error.text.resize(size - 1);
        }
        return error;
    }

    std::string Info(TL_INFO_CMD command)
    {
        std::string text(256, '\0');
        size_t size = text.size();
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        EXPECT_EQ(gentl.GCGetInfo(command, &type, text.data(), &size), GC_ERR_SUCCESS) << Error();
        text.resize(size - 1);
        return text;
    }

    TL_HANDLE OpenSystem()
    {
        TL_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.TLOpen(&handle), GC_ERR_SUCCESS) << Error();
        return handle;
    }

    IF_HANDLE OpenInterface(TL_HANDLE system)
    {
        IF_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.TLOpenInterface(system, "if0", &handle), GC_ERR_SUCCESS) << Error();
        return handle;
    }

    DEV_HANDLE OpenDevice(IF_HANDLE interface, const char *id = "cam0",
                          DEVICE_ACCESS_FLAGS access = DEVICE_ACCESS_CONTROL)
    {
        DEV_HANDLE handle = nullptr;
        EXPECT_EQ(gentl.IFOpenDevice(interface, id, access, &handle), GC_ERR_SUCCESS) << Error();
        return handle;
    }

    LowerLibrary lower;
    VisionLibrary vision;
    EnvironmentVariable ctiPath;
    const Exports &gentl = AnyGentl();
};

} // namespace GenTL::internal
