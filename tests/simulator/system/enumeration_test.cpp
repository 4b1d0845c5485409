#include "support/simulator/simulator.h"

namespace simulator_test
{
namespace
{

std::string IdAt(auto function, void *handle, uint32_t index)
{
    size_t size = 0;
    EXPECT_OK(function(handle, index, nullptr, &size));
    std::string text(size, '\0');
    EXPECT_OK(function(handle, index, text.data(), &size));
    return text.c_str();
}

TEST(SimulatorLibrary, CanBeInitialisedAgain)
{
    EXPECT_CODE(GC_ERR_NOT_INITIALIZED, Tl().GCCloseLib());
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_OK(Tl().GCInitLib());
        EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().GCInitLib());
        EXPECT_OK(Tl().GCCloseLib());
    }
    TL_HANDLE system = nullptr;
    EXPECT_CODE(GC_ERR_NOT_INITIALIZED, Tl().TLOpen(&system));
}

TEST(SimulatorLibrary, AnswersGCGetInfoBeforeInitLib)
{
    const auto text = [](TL_INFO_CMD command)
    {
        return AskText([&](auto *type, void *out, size_t *size)
                       { return Tl().GCGetInfo(command, type, out, size); });
    };
    EXPECT_EQ("GEV", text(TL_INFO_TLTYPE));
    EXPECT_EQ("qvr_gevgentl.pr_cti", text(TL_INFO_NAME));
    EXPECT_EQ(LibraryPath(), text(TL_INFO_PATHNAME));
    EXPECT_EQ(6U, Ask<uint32_t>([](auto *type, void *out, size_t *size)
                                { return Tl().GCGetInfo(TL_INFO_GENTL_VER_MINOR, type, out, size); }));
}

TEST(SimulatorLists, AreEmptyBeforeTheirFirstUpdate)
{
    ASSERT_OK(Tl().GCInitLib());
    TL_HANDLE system = nullptr;
    ASSERT_OK(Tl().TLOpen(&system));
    uint32_t count = 9;
    EXPECT_OK(Tl().TLGetNumInterfaces(system, &count));
    EXPECT_EQ(0U, count);
    IF_HANDLE opened = nullptr;
    bool8_t changed = 0;
    EXPECT_OK(Tl().TLUpdateInterfaceList(system, &changed, 0));
    EXPECT_EQ(1, changed);
    EXPECT_OK(Tl().TLUpdateInterfaceList(system, &changed, 0));
    EXPECT_EQ(0, changed);
    EXPECT_OK(Tl().TLGetNumInterfaces(system, &count));
    EXPECT_EQ(2U, count);

    EXPECT_OK(Tl().TLOpenInterface(system, "SIM-GIGE-0", &opened));
    EXPECT_OK(Tl().IFGetNumDevices(opened, &count));
    EXPECT_EQ(0U, count);
    EXPECT_OK(Tl().IFUpdateDeviceList(opened, &changed, 0));
    EXPECT_EQ(1, changed);
    EXPECT_OK(Tl().GCCloseLib());
}

TEST(SimulatorDevices, TakeAnotherAddressByForce)
{
    ASSERT_OK(Tl().GCInitLib());
    TL_HANDLE system = nullptr;
    IF_HANDLE opened = nullptr;
    ASSERT_OK(Tl().TLOpen(&system));
    ASSERT_OK(Tl().TLOpenInterface(system, "SIM-GIGE-0", &opened));
    const Nodes nodes(opened);
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE, nodes.Set("GevDeviceForceIP", 1)) << "the list is empty";
    ASSERT_OK(Tl().IFUpdateDeviceList(opened, nullptr, 0));
    ASSERT_OK(nodes.Set("DeviceSelector", 1));
    ASSERT_OK(nodes.Set("GevDeviceForceIPAddress", 0x0A000102));
    EXPECT_EQ(0xC0A80A16, nodes.Get("GevDeviceIPAddress"));
    ASSERT_OK(nodes.Set("GevDeviceForceIP", 1));
    EXPECT_EQ(0x0A000102, nodes.Get("GevDeviceIPAddress"));
    ASSERT_OK(nodes.Set("DeviceSelector", 0));
    EXPECT_EQ(0xC0A80A15, nodes.Get("GevDeviceIPAddress"));

    DEV_HANDLE device = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0004", DEVICE_ACCESS_CONTROL, &device));
    EXPECT_EQ(0x0A000102, Nodes(device).Get("GevDeviceIPAddress"));
    ASSERT_OK(nodes.Set("DeviceSelector", 1));
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, nodes.Set("GevDeviceForceIP", 1));
    EXPECT_OK(Tl().GCCloseLib());
}

TEST(SimulatorDevices, OpenByIdWithoutAnUpdate)
{
    ASSERT_OK(Tl().GCInitLib());
    TL_HANDLE system = nullptr;
    ASSERT_OK(Tl().TLOpen(&system));
    IF_HANDLE opened = nullptr;
    EXPECT_CODE(GC_ERR_INVALID_ID, Tl().TLOpenInterface(system, "SIM-GIGE-9", &opened));
    ASSERT_OK(Tl().TLOpenInterface(system, "SIM-GIGE-0", &opened));
    DEV_HANDLE device = nullptr;
    EXPECT_CODE(GC_ERR_INVALID_ID, Tl().IFOpenDevice(opened, "SIM-SIM9999", DEVICE_ACCESS_CONTROL, &device));
    EXPECT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device));
    EXPECT_OK(Tl().GCCloseLib());
}

using SimulatorEnumeration = LibraryTest;

TEST_F(SimulatorEnumeration, ListsCamerasOnTheirInterfaces)
{
    std::vector<std::string> models;
    uint32_t interfaces = 0;
    ASSERT_OK(Tl().TLGetNumInterfaces(m_system, &interfaces));
    for (uint32_t i = 0; i < interfaces; ++i)
    {
        const IF_HANDLE opened = OpenInterface(IdAt(Tl().TLGetInterfaceID, m_system, i));
        uint32_t devices = 0;
        ASSERT_OK(Tl().IFGetNumDevices(opened, &devices));
        for (uint32_t k = 0; k < devices; ++k)
        {
            const std::string id = IdAt(Tl().IFGetDeviceID, opened, k);
            models.push_back(AskText(
                [&](auto *type, void *out, size_t *size)
                { return Tl().IFGetDeviceInfo(opened, id.c_str(), DEVICE_INFO_MODEL, type, out, size); }));
        }
        size_t size = 0;
        EXPECT_CODE(GC_ERR_INVALID_INDEX, Tl().IFGetDeviceID(opened, devices, nullptr, &size));
    }
    EXPECT_EQ((std::vector<std::string>{"OVRA-M5", "OVRA-C5", "OVRA-M1", "SIM-FOREIGN", "OVRA-S2", "OVRA-F1",
                                        "OVRA-D1"}),
              models);
}

TEST_F(SimulatorEnumeration, SystemShowsTheSelectedInterface)
{
    const Nodes nodes(m_system);
    EXPECT_EQ(2, nodes.Get("InterfaceCount"));
    EXPECT_EQ("SIM-GIGE-0", nodes.GetText("InterfaceID"));
    ASSERT_OK(nodes.Set("InterfaceSelector", 1));
    EXPECT_EQ("SIM-GIGE-1", nodes.GetText("InterfaceID"));
    EXPECT_EQ("Simulated GigE 1", nodes.GetText("InterfaceDisplayName"));
    EXPECT_EQ(0, nodes.Get("InterfaceType"));
    EXPECT_EQ(1, nodes.Get("NetworkAdapterCount"));
    EXPECT_EQ(0x020000000002, nodes.Get("GevInterfaceMACAddress"));
    EXPECT_EQ(0xC0A80B01, nodes.Get("GevInterfaceDefaultIPAddress"));
    EXPECT_EQ(0xFFFFFF00, nodes.Get("GevInterfaceDefaultSubnetMask"));
    EXPECT_EQ(0, nodes.Get("GevInterfaceDefaultGateway"));
    EXPECT_CODE(GC_ERR_INVALID_VALUE, nodes.Set("InterfaceSelector", 2));
    EXPECT_EQ(1, nodes.Get("InterfaceSelector"));
}

TEST_F(SimulatorEnumeration, OpensADeviceOnce)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    const auto status = [&]
    {
        return Ask<int32_t>(
            [&](auto *type, void *out, size_t *size) {
                return Tl().IFGetDeviceInfo(opened, "SIM-SIM0001", DEVICE_INFO_ACCESS_STATUS, type, out,
                                            size);
            });
    };
    EXPECT_EQ(DEVICE_ACCESS_STATUS_READWRITE, status());
    DEV_HANDLE device = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_EXCLUSIVE, &device));
    EXPECT_EQ(DEVICE_ACCESS_STATUS_OPEN_READWRITE, status());
    DEV_HANDLE second = nullptr;
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE,
                Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &second));
    ASSERT_OK(Tl().DevClose(device));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DevClose(device));
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_READONLY, &device));
    EXPECT_EQ(DEVICE_ACCESS_STATUS_OPEN_READONLY, status());
}

TEST_F(SimulatorEnumeration, ReadOnlyDeviceRefusesWrites)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_READONLY, &device));
    ASSERT_OK(Tl().DevGetPort(device, &port));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, Nodes(port).Set("Width", 640));
    DS_HANDLE stream = nullptr;
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, Tl().DevOpenDataStream(device, "Stream0", &stream));
}

TEST_F(SimulatorEnumeration, RefusesUnknownAccessFlags)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    DEV_HANDLE device = nullptr;
    for (const DEVICE_ACCESS_FLAGS access : {-1, 0, 1, 5, 1000})
    {
        EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().IFOpenDevice(opened, "SIM-SIM0001", access, &device));
    }
}

TEST_F(SimulatorEnumeration, ClosingAModuleClosesItsChildren)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;
    BUFFER_HANDLE buffer = nullptr;
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device));
    ASSERT_OK(Tl().DevOpenDataStream(device, "Stream0", &stream));
    ASSERT_OK(Tl().DSAllocAndAnnounceBuffer(stream, 100, nullptr, &buffer));
    ASSERT_OK(Tl().GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event));
    ASSERT_OK(Tl().IFClose(opened));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DevClose(device));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSClose(stream));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().EventKill(event));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSQueueBuffer(stream, buffer));
    OpenInterface("SIM-GIGE-0");
}

TEST_F(SimulatorEnumeration, ReturnsTheParents)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device));
    ASSERT_OK(Tl().DevOpenDataStream(device, "Stream0", &stream));
    void *parent = nullptr;
    EXPECT_OK(Tl().DSGetParentDev(stream, &parent));
    EXPECT_EQ(device, parent);
    EXPECT_OK(Tl().DevGetParentIF(device, &parent));
    EXPECT_EQ(opened, parent);
    EXPECT_OK(Tl().IFGetParentTL(opened, &parent));
    EXPECT_EQ(m_system, parent);
}

TEST_F(SimulatorEnumeration, KeepsTheUserNameOfACamera)
{
    const IF_HANDLE opened = OpenInterface("SIM-GIGE-0");
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device));
    ASSERT_OK(Tl().DevGetPort(device, &port));
    ASSERT_OK(Nodes(port).SetText("DeviceUserID", "left"));
    ASSERT_OK(Tl().DevClose(device));
    EXPECT_EQ("left", AskText(
                          [&](auto *type, void *out, size_t *size) {
                              return Tl().IFGetDeviceInfo(opened, "SIM-SIM0001",
                                                          DEVICE_INFO_USER_DEFINED_NAME, type, out, size);
                          }));
    ASSERT_OK(Tl().IFOpenDevice(opened, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &device));
    ASSERT_OK(Tl().DevGetPort(device, &port));
    EXPECT_EQ("left", Nodes(port).GetText("DeviceUserID"));
}

} // namespace
} // namespace simulator_test
