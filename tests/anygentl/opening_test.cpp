// How systems, interfaces and devices are found and opened.

#include "any_producer.h"

#include <gmock/gmock.h>

namespace GenTL::internal
{
namespace
{

using testing::HasSubstr;

class AnyOpening : public AnyProducer
{
protected:
    void SetUp() override { Initialize(); }
};

class AnyType : public AnyProducer, public testing::WithParamInterface<const char *>
{
};

TEST_P(AnyType, IsAccepted)
{
    lower->tlType = GetParam();
    Initialize();
    EXPECT_NE(OpenSystem(), nullptr);
    EXPECT_EQ(Info(TL_INFO_TLTYPE), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Each, AnyType,
                         testing::Values("GEV", "CL", "IIDC", "UVC", "CXP", "CLHS", "U3V", "Ethernet", "PCI",
                                         "Mixed", "Custom", "HomeMade"));

TEST_F(AnyOpening, AdmitsEveryModel)
{
    EXPECT_NE(OpenDevice(OpenInterface(OpenSystem()), "other"), nullptr);
}

TEST_F(AnyOpening, PassesEachAccessMode)
{
    auto *const interface = OpenInterface(OpenSystem());
    for (const auto access : {DEVICE_ACCESS_READONLY, DEVICE_ACCESS_CONTROL, DEVICE_ACCESS_EXCLUSIVE})
    {
        gentl.DevClose(OpenDevice(interface, "cam0", access));
        EXPECT_EQ(lower->lastAccess, access);
    }
}

TEST_F(AnyOpening, LooksOnceForAnUnknownInterface)
{
    lower->FailNext("TLOpenInterface", GC_ERR_INVALID_ID);
    EXPECT_NE(OpenInterface(OpenSystem()), nullptr);
    EXPECT_EQ(lower->CountOf("TLUpdateInterfaceList"), 1U);
}

TEST_F(AnyOpening, LooksOnceForAnUnknownDevice)
{
    auto *const interface = OpenInterface(OpenSystem());
    lower->FailNext("IFOpenDevice", GC_ERR_INVALID_ID);
    EXPECT_NE(OpenDevice(interface), nullptr);
    EXPECT_EQ(lower->CountOf("IFUpdateDeviceList"), 1U);
}

TEST_F(AnyOpening, LooksOnceForTheDeviceOfAQuestion)
{
    auto *const interface = OpenInterface(OpenSystem());
    lower->FailNext("IFGetDeviceInfo", GC_ERR_INVALID_ID);
    size_t size = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(gentl.IFGetDeviceInfo(interface, "cam0", DEVICE_INFO_MODEL, &type, nullptr, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("IFUpdateDeviceList"), 1U);
}

TEST_F(AnyOpening, GivesUpOnAnIdThatStaysUnknown)
{
    auto *const interface = OpenInterface(OpenSystem());
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(gentl.IFOpenDevice(interface, "nobody", DEVICE_ACCESS_CONTROL, &device), GC_ERR_INVALID_ID);
    EXPECT_THAT(Error().text, HasSubstr("No device \"nobody\" on interface \"if0\" (2 known)."));
    EXPECT_EQ(lower->CountOf("IFUpdateDeviceList"), 1U);
}

TEST_F(AnyOpening, TellsWhyADeviceCannotBeOpened)
{
    auto *const interface = OpenInterface(OpenSystem());
    DEV_HANDLE device = nullptr;
    lower->FailNext("IFOpenDevice", GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(gentl.IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device), GC_ERR_ACCESS_DENIED);
    EXPECT_THAT(Error().text, HasSubstr("Cannot open \"cam0\" for CONTROL: lower failed"));
    EXPECT_THAT(Error().text, HasSubstr("Another program may have it."));
}

TEST_F(AnyOpening, ReadsFromTheUrlWhatTheLowerProducerDoesNotKnow)
{
    auto *const device = OpenDevice(OpenInterface(OpenSystem()));
    uint64_t address = 0;
    size_t size = sizeof address;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    lower->FailNext("GCGetPortURLInfo", GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(gentl.GCGetPortURLInfo(device, 0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address, &size),
              GC_ERR_SUCCESS)
        << Error();
    EXPECT_EQ(type, INFO_DATATYPE_UINT64);
    EXPECT_EQ(address, 0x10000U);
}

TEST_F(AnyOpening, ClosesADeviceWhoseDescriptionIsBad)
{
    auto *const interface = OpenInterface(OpenSystem());
    lower->deviceXml = "no description";
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(gentl.IFOpenDevice(interface, "cam0", DEVICE_ACCESS_CONTROL, &device), GC_ERR_ERROR);
    EXPECT_THAT(Error().text, HasSubstr("lower device: the description (14 bytes) is not XML: "));
    EXPECT_EQ(lower->CountOf("DevClose"), 1U);
}

} // namespace
} // namespace GenTL::internal
