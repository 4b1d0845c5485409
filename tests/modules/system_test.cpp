#include "system.h"

#include "device.h"
#include "instance_manager.h"
#include "interface.h"
#include "modules/system_features.h"
#include "nodemap/descriptions.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_info_provider.h"
#include "support/fake_library.h"
#include "support/fake_proxy_system.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"
#include "support/log_capture.h"
#include "utils/info.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

/// A feature of a lower system module.
struct LowerFeature
{
    uint64_t address;
    uint64_t length;
    bool isText = false;
    bool isBigEndian = false;
};

using LowerFeatures = std::map<std::string, LowerFeature>;

/// All features that read through, at addresses that no local register has.
LowerFeatures AllLowerFeatures()
{
    return {{"InterfaceCount", {0x2000, 4}},
            {"InterfaceSelector", {0x2004, 4}},
            {"InterfaceDisplayName", {0x2100, 128, true}},
            {"InterfaceID", {0x2200, 128, true}},
            {"InterfaceType", {0x2300, 4}},
            {"GevInterfaceDefaultIPAddress", {0x2304, 4}},
            {"GevInterfaceDefaultSubnetMask", {0x2308, 4}},
            {"GevInterfaceDefaultGateway", {0x230C, 4}},
            {"GevInterfaceMACAddress", {0x2310, 8}},
            {"NetworkAdapterCount", {0x2318, 4}}};
}

std::string LowerXml(const LowerFeatures &features)
{
    std::string nodes;
    for (const auto &[name, feature] : features)
    {
        const auto body = fmt::format(
            "<Address>0x{:X}</Address><Length>{}</Length><AccessMode>RW</AccessMode><pPort>P</pPort>"
            "<Endianess>{}</Endianess>",
            feature.address, feature.length, feature.isBigEndian ? "BigEndian" : "LittleEndian");
        nodes += feature.isText ? fmt::format("<StringReg Name=\"{}\">{}</StringReg>", name, body)
                                : fmt::format("<Integer Name=\"{0}\"><pValue>{0}Reg</pValue></Integer>"
                                              "<IntReg Name=\"{0}Reg\">{1}<Sign>Unsigned</Sign></IntReg>",
                                              name, body);
    }
    return "<RegisterDescription>" + nodes + "<Port Name=\"P\"/></RegisterDescription>";
}

struct SystemTest : testing::Test
{
    const TL_HANDLE ownHandle = LowerHandle(0x5F5);

    FakeLibrary library;
    FakeInfoProvider info;
    LowerFeatures lowerFeatures = AllLowerFeatures();
    std::shared_ptr<FakeProxySystem> lower = std::make_shared<FakeProxySystem>();

    std::unique_ptr<System> Make()
    {
        lower->xml = LowerXml(lowerFeatures);
        auto system = std::make_unique<System>(library, &info, lower);
        system->SetHandle(ownHandle);
        return system;
    }
};

uint32_t ReadNumber(System &system, uint64_t address)
{
    uint32_t number = 0;
    size_t size = sizeof number;
    system.GetNodeMap()->ReadPort(address, &number, &size);
    return number;
}

void WriteNumber(System &system, uint64_t address, uint32_t number)
{
    size_t size = sizeof number;
    system.GetNodeMap()->WritePort(address, &number, &size);
}

std::string ReadBytes(System &system, uint64_t address, size_t size)
{
    std::string bytes(size, '\xFF');
    system.GetNodeMap()->ReadPort(address, bytes.data(), &size);
    return bytes;
}

std::string Padded(std::string text, size_t size)
{
    text.resize(size, '\0');
    return text;
}

const nodemap::RegisterDefinition &LocalRegister(const std::string &feature)
{
    return *std::ranges::find(SystemFeatures(), feature, &nodemap::RegisterDefinition::Name);
}

using SystemMaking = SystemTest;
using SystemRegisters = SystemTest;
using SystemUpdateCommand = SystemTest;
using SystemForwarding = SystemTest;

TEST_F(SystemMaking, RefusesANullLowerSystem)
{
    EXPECT_EQ(FailureOf([&] { System(library, &info, nullptr); }),
              PlainFailure("proxySystem argument is invalid!"));
    EXPECT_THAT(info.queries, IsEmpty());
}

TEST_F(SystemMaking, RefusesALowerDescriptionThatIsNoXml)
{
    const LogCapture log;
    lower->xml = "no description";
    EXPECT_EQ(FailureOf([&] { System(library, &info, lower); }),
              PlainFailure("Invalid proxy system XML file content!"));
    EXPECT_THAT(info.queries, IsEmpty());
}

TEST_F(SystemMaking, LetsGoOfTheLowerSystemWhenItFails)
{
    info.answers[TL_INFO_TLTYPE] = "CXP";
    lower->xml = LowerXml(lowerFeatures);
    const std::weak_ptr<FakeProxySystem> observer = lower;
    EXPECT_THROW(System(library, &info, std::exchange(lower, nullptr)), std::runtime_error);
    EXPECT_TRUE(observer.expired());
}

TEST_F(SystemMaking, LetsGoOfTheLowerSystemAtItsEnd)
{
    auto system = Make();
    const std::weak_ptr<FakeProxySystem> observer = std::exchange(lower, nullptr);
    EXPECT_FALSE(observer.expired());
    system.reset();
    EXPECT_TRUE(observer.expired());
}

TEST_F(SystemMaking, AsksTheLowerSystemForItsDescriptionOnly)
{
    const auto system = Make();
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemMaking, FillsTheRegistersInOrder)
{
    const auto system = Make();
    auto order = info.queries;
    // A text takes two queries.
    order.erase(std::unique(order.begin(), order.end()), order.end());
    EXPECT_THAT(order, ElementsAre(TL_INFO_TLTYPE, TL_INFO_GENTL_VER_MAJOR, TL_INFO_GENTL_VER_MINOR,
                                   TL_INFO_DISPLAYNAME, TL_INFO_PATHNAME, TL_INFO_ID, TL_INFO_MODEL,
                                   TL_INFO_PATHNAME, TL_INFO_TLTYPE, TL_INFO_VENDOR, TL_INFO_VERSION));
}

TEST_F(SystemMaking, PassesAFailureOfTheInfoProviderOn)
{
    info.answers.erase(TL_INFO_VENDOR);
    EXPECT_EQ(MakeFailure(*this), (Failure{"no such answer", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(SystemMaking, RefusesTypesOutsideOfTheMapping)
{
    for (const auto *type : {"CXP", "gev", "GEV ", "CL", "", "PCI", "mixed"})
    {
        info.answers[TL_INFO_TLTYPE] = type;
        EXPECT_EQ(MakeFailure(*this), PlainFailure("Mapping TL type failed!")) << type;
    }
}

TEST_F(SystemMaking, MapsTheTypes)
{
    for (const auto &[type, value] :
         std::map<std::string, uint32_t>{{"GEV", 0}, {"U3V", 4}, {"Mixed", 5}, {"Custom", 1000}})
    {
        info.answers[TL_INFO_TLTYPE] = type;
        EXPECT_EQ(ReadNumber(*Make(), 0x360), value) << type;
    }
}

TEST_F(SystemMaking, RefusesATextThatIsTooLongForItsRegister)
{
    // A file name that fits, so that it is the path's turn.
    const std::string path = "/" + std::string(510, 'd') + "/f";
    info.answers[TL_INFO_PATHNAME] = path;
    ASSERT_EQ(path.size(), 513U);
    EXPECT_EQ(MakeFailure(*this),
              PlainFailure("Register with address 0x160 is too small! [Size: 512 | Required-Size: 513]"));
    info.answers[TL_INFO_PATHNAME] = "/" + std::string(65, 'f');
    EXPECT_EQ(MakeFailure(*this),
              PlainFailure("Register with address 0xe0 is too small! [Size: 64 | Required-Size: 65]"));
}

TEST_F(SystemMaking, TakesATextThatFillsItsRegister)
{
    const std::string path = "/" + std::string(509, 'd') + "/f";
    ASSERT_EQ(path.size(), 512U);
    info.answers[TL_INFO_PATHNAME] = path;
    info.answers[TL_INFO_VERSION] = std::string(32, 'v');
    const auto system = Make();
    EXPECT_EQ(ReadBytes(*system, 0x160, 512), path);
    EXPECT_EQ(ReadBytes(*system, 0xC0, 32), std::string(32, 'v'));
    EXPECT_EQ(ReadBytes(*system, 0xE0, 64), Padded("f", 64));
}

TEST_F(SystemMaking, RefusesABigEndianFeatureThatReadsThrough)
{
    for (const std::string feature : readThroughFeatures)
    {
        lowerFeatures = AllLowerFeatures();
        lowerFeatures.at(feature).isBigEndian = true;
        EXPECT_EQ(MakeFailure(*this),
                  PlainFailure(fmt::format("Endianness mismatch detected! [Node: '{}']", feature)));
    }
}

TEST_F(SystemMaking, NamesTheFirstBigEndianFeature)
{
    std::vector<std::string> named;
    for (const std::string feature :
         {"InterfaceCount", "InterfaceSelector", "InterfaceDisplayName", "InterfaceID", "InterfaceType",
          "GevInterfaceDefaultIPAddress", "GevInterfaceDefaultSubnetMask", "GevInterfaceDefaultGateway",
          "GevInterfaceMACAddress", "NetworkAdapterCount"})
    {
        for (auto &[name, lowerFeature] : lowerFeatures)
        {
            lowerFeature.isBigEndian = true;
        }
        EXPECT_EQ(MakeFailure(*this),
                  PlainFailure(fmt::format("Endianness mismatch detected! [Node: '{}']", feature)));
        lowerFeatures.erase(feature);
    }
    EXPECT_THAT(lowerFeatures, IsEmpty());
}

TEST_F(SystemMaking, ChecksTheByteOrderOfNothingElse)
{
    lowerFeatures["TLType"] = {0x2400, 4, false, true};
    EXPECT_NO_THROW(Make());
}

TEST_F(SystemMaking, ChecksTheByteOrderAfterTheTypeIsMapped)
{
    info.answers[TL_INFO_TLTYPE] = "CXP";
    lowerFeatures.at("InterfaceCount").isBigEndian = true;
    EXPECT_EQ(MakeFailure(*this), PlainFailure("Mapping TL type failed!"));
}

TEST_F(SystemMaking, TakesALowerDescriptionWithoutAnyOfTheFeatures)
{
    lowerFeatures.clear();
    EXPECT_NO_THROW(Make());
}

TEST_F(SystemMaking, HasANodeMapOfItsOwn)
{
    info.answers[TL_INFO_TLTYPE] = "U3V";
    const auto system = Make();
    auto &port = *system->GetNodeMap();
    EXPECT_EQ(port.GetModuleType(), ModuleType::System);

    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 16> text{};
    size_t size = text.size();
    port.GetPortInfo(PORT_INFO_PORTNAME, &type, text.data(), &size);
    EXPECT_STREQ(text.data(), "TLPort");
    size = text.size();
    port.GetPortInfo(PORT_INFO_TLTYPE, &type, text.data(), &size);
    EXPECT_STREQ(text.data(), "U3V");

    uint64_t address = 0;
    size = sizeof address;
    port.GetPortURLInfo(0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address, &size);
    EXPECT_EQ(ReadBytes(*system, address, nodemap::SystemDescription().size()), nodemap::SystemDescription());
}

TEST_F(SystemRegisters, TellAboutThisProducer)
{
    const auto system = Make();
    EXPECT_EQ(ReadBytes(*system, 0x0, 64), Padded("the id", 64));
    EXPECT_EQ(ReadBytes(*system, 0x40, 64), Padded("the vendor", 64));
    EXPECT_EQ(ReadBytes(*system, 0x80, 64), Padded("the model", 64));
    EXPECT_EQ(ReadBytes(*system, 0xC0, 32), Padded("9.8.7", 32));
    EXPECT_EQ(ReadBytes(*system, 0xE0, 64), Padded("this.cti", 64));
    EXPECT_EQ(ReadBytes(*system, 0x120, 64), Padded("the display name", 64));
    EXPECT_EQ(ReadBytes(*system, 0x160, 512), Padded("/opt/producers/this.cti", 512));
    EXPECT_EQ(ReadNumber(*system, 0x360), 0U);
    EXPECT_EQ(ReadNumber(*system, 0x364), 1U);
    EXPECT_EQ(ReadNumber(*system, 0x368), 6U);
    EXPECT_EQ(ReadNumber(*system, 0x36C), 1U);
    EXPECT_EQ(ReadNumber(*system, 0x370), 1U);
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemRegisters, ReadThroughToTheLowerAddressOfTheFeature)
{
    const auto system = Make();
    std::vector<std::tuple<uint64_t, size_t>> reads;
    lower->onReadPort = [&](uint64_t address, void *buffer, size_t *size)
    {
        reads.emplace_back(address, *size);
        std::memset(buffer, static_cast<int>(reads.size()), *size);
    };
    char expected = 0;
    for (const std::string feature : readThroughFeatures)
    {
        const auto &row = LocalRegister(feature);
        const auto &lowerFeature = lowerFeatures.at(feature);
        ++expected;
        EXPECT_EQ(ReadBytes(*system, row.Address, row.Size), std::string(row.Size, expected)) << feature;
        EXPECT_EQ(reads.back(), std::tuple(lowerFeature.address, lowerFeature.length)) << feature;
    }
    EXPECT_EQ(reads.size(), 10U);
}

TEST_F(SystemRegisters, ReadTheLowerModuleAnewEachTime)
{
    const auto system = Make();
    uint32_t count = 2;
    lower->onReadPort = [&](uint64_t, void *buffer, size_t *) { std::memcpy(buffer, &count, sizeof count); };
    EXPECT_EQ(ReadNumber(*system, 0x37C), 2U);
    count = 5;
    EXPECT_EQ(ReadNumber(*system, 0x37C), 5U);
}

TEST_F(SystemRegisters, FailForAFeatureThatTheLowerModuleLacks)
{
    lowerFeatures.erase("GevInterfaceMACAddress");
    const auto system = Make();
    EXPECT_EQ(FailureOf([&] { ReadBytes(*system, 0x48C, 8); }),
              PlainFailure("Interface Node GevInterfaceMACAddress not found!"));
    EXPECT_NO_THROW(ReadNumber(*system, 0x494));
}

TEST_F(SystemRegisters, FailForAFeatureOfAnotherLength)
{
    lowerFeatures.at("InterfaceCount").length = 8;
    lowerFeatures.at("InterfaceID").length = 64;
    lowerFeatures.at("InterfaceSelector").length = 8;
    const auto system = Make();
    EXPECT_EQ(FailureOf([&] { ReadNumber(*system, 0x37C); }),
              PlainFailure("Proxy system node 'InterfaceCount' has unexpected length!"));
    EXPECT_EQ(FailureOf([&] { ReadBytes(*system, 0x384, 128); }),
              PlainFailure("Proxy system node 'InterfaceID' has unexpected length!"));
    EXPECT_EQ(FailureOf([&] { WriteNumber(*system, 0x380, 1); }),
              PlainFailure("Proxy system node 'InterfaceSelector' has unexpected length!"));
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemRegisters, KeepTheCodeOfALowerFailure)
{
    const auto system = Make();
    lower->onReadPort = [](uint64_t, void *, size_t *) { LowerFailure(GC_ERR_IO, "cannot read"); };
    lower->onWritePort = [](uint64_t, const void *, size_t *) { LowerFailure(GC_ERR_BUSY, "cannot write"); };
    EXPECT_EQ(FailureOf([&] { ReadNumber(*system, 0x37C); }), (Failure{"cannot read", GC_ERR_IO}));
    EXPECT_EQ(FailureOf([&] { WriteNumber(*system, 0x380, 1); }), (Failure{"cannot write", GC_ERR_BUSY}));
}

TEST_F(SystemRegisters, WriteTheSelectorThrough)
{
    const auto system = Make();
    std::vector<std::tuple<uint64_t, uint32_t, size_t>> writes;
    lower->onWritePort = [&](uint64_t address, const void *buffer, size_t *size)
    {
        uint32_t value = 0;
        std::memcpy(&value, buffer, sizeof value);
        writes.emplace_back(address, value, *size);
    };
    WriteNumber(*system, 0x380, 3);
    EXPECT_THAT(writes, ElementsAre(std::tuple(0x2004, 3, 4)));
}

TEST_F(SystemRegisters, WriteTheSelectorWholeOnly)
{
    const auto system = Make();
    const uint16_t half = 1;
    size_t size = sizeof half;
    EXPECT_EQ(FailureOf([&] { system->GetNodeMap()->WritePort(0x380, &half, &size); }),
              PlainFailure("Unexpected data size!"));
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemRegisters, WriteNoSelectorThatTheLowerModuleLacks)
{
    lowerFeatures.erase("InterfaceSelector");
    const auto system = Make();
    EXPECT_EQ(FailureOf([&] { WriteNumber(*system, 0x380, 1); }),
              PlainFailure("Interface Node InterfaceSelector not found!"));
}

TEST_F(SystemRegisters, RefuseWritesToAllOthersThatReadThrough)
{
    const auto system = Make();
    for (const std::string feature : readThroughFeatures)
    {
        if (feature == "InterfaceSelector")
        {
            continue;
        }
        const auto &row = LocalRegister(feature);
        std::string bytes(row.Size, 'x');
        EXPECT_EQ(FailureOf(
                      [&]
                      {
                          size_t size = bytes.size();
                          system->GetNodeMap()->WritePort(row.Address, bytes.data(), &size);
                      })
                      .code,
                  GC_ERR_ACCESS_DENIED)
            << feature;
    }
}

TEST_F(SystemUpdateCommand, RunsOnceWithTheTimeoutAndReadsBackAsDone)
{
    const auto system = Make();
    std::vector<std::tuple<bool8_t *, uint64_t>> updates;
    lower->onTLUpdateInterfaceList = [&](bool8_t *changed, uint64_t timeout)
    { updates.emplace_back(changed, timeout); };
    WriteNumber(*system, 0x378, 750);
    WriteNumber(*system, 0x374, 1);
    EXPECT_THAT(updates, ElementsAre(std::tuple(nullptr, 750)));
    EXPECT_EQ(ReadNumber(*system, 0x374), 0U);
    EXPECT_EQ(ReadNumber(*system, 0x378), 750U);
    EXPECT_EQ(updates.size(), 1U);
}

TEST_F(SystemUpdateCommand, StoresAnotherValueAndDoesNothing)
{
    const auto system = Make();
    WriteNumber(*system, 0x374, 2);
    EXPECT_EQ(ReadNumber(*system, 0x374), 2U);
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemUpdateCommand, TakesFourBytesOnly)
{
    const auto system = Make();
    const uint16_t half = 1;
    size_t size = sizeof half;
    EXPECT_EQ(FailureOf([&] { system->GetNodeMap()->WritePort(0x374, &half, &size); }),
              PlainFailure("Unexpected data size!"));
    const uint64_t both = 1;
    size = sizeof both;
    EXPECT_EQ(FailureOf([&] { system->GetNodeMap()->WritePort(0x374, &both, &size); }),
              PlainFailure("Unexpected data size!"));
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemUpdateCommand, FailsWithTheLowerUpdateAndStoresNothing)
{
    const auto system = Make();
    lower->onTLUpdateInterfaceList = [](bool8_t *, uint64_t) { LowerFailure(GC_ERR_TIMEOUT, "too slow"); };
    EXPECT_EQ(FailureOf([&] { WriteNumber(*system, 0x374, 1); }), (Failure{"too slow", GC_ERR_TIMEOUT}));
    EXPECT_EQ(ReadNumber(*system, 0x374), 0U);
}

TEST_F(SystemForwarding, AnswersInfoQueriesFromTheProvider)
{
    const auto system = Make();
    info.queries.clear();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<char, 16> text{};
    size_t size = text.size();
    system->TLGetInfo(TL_INFO_TLTYPE, &type, text.data(), &size);
    EXPECT_STREQ(text.data(), "GEV");
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 4U);
    EXPECT_THAT(info.queries, ElementsAre(TL_INFO_TLTYPE));
    EXPECT_THAT(lower->calls, ElementsAre("GetXml"));
}

TEST_F(SystemForwarding, AsksTheLowerModuleForTheInterfaces)
{
    const auto system = Make();
    bool8_t changed = 0;
    uint32_t count = 0;
    char id{};
    size_t size = 1;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char buffer{};
    lower->onTLUpdateInterfaceList = [&](bool8_t *pbChanged, uint64_t timeout)
    {
        EXPECT_EQ(pbChanged, &changed);
        EXPECT_EQ(timeout, 99U);
    };
    lower->onTLGetNumInterfaces = [&](uint32_t *piNumIfaces) { EXPECT_EQ(piNumIfaces, &count); };
    lower->onTLGetInterfaceID = [&](uint32_t index, char *sID, size_t *piSize)
    {
        EXPECT_EQ(index, 4U);
        EXPECT_EQ(sID, &id);
        EXPECT_EQ(piSize, &size);
    };
    lower->onTLGetInterfaceInfo = [&](const char *sIfaceID, INTERFACE_INFO_CMD command, INFO_DATATYPE *piType,
                                      void *pBuffer, size_t *piSize)
    {
        EXPECT_STREQ(sIfaceID, "eth0");
        EXPECT_EQ(command, INTERFACE_INFO_TLTYPE);
        EXPECT_EQ(piType, &type);
        EXPECT_EQ(pBuffer, &buffer);
        EXPECT_EQ(piSize, &size);
    };
    lower->calls.clear();
    system->TLUpdateInterfaceList(&changed, 99);
    system->TLGetNumInterfaces(&count);
    system->TLGetInterfaceID(4, &id, &size);
    system->TLGetInterfaceInfo("eth0", INTERFACE_INFO_TLTYPE, &type, &buffer, &size);
    EXPECT_THAT(lower->calls, ElementsAre("TLUpdateInterfaceList", "TLGetNumInterfaces", "TLGetInterfaceID",
                                          "TLGetInterfaceInfo"));
}

TEST_F(SystemForwarding, RegistersEventsOnTheLowerModule)
{
    const auto system = Make();
    EVENT_HANDLE event = nullptr;
    lower->onRegisterEvent = [](EVENT_TYPE type, EVENT_HANDLE *handle)
    {
        EXPECT_EQ(type, EVENT_MODULE);
        *handle = LowerHandle(0xE);
    };
    lower->onUnregisterEvent = [](EVENT_TYPE type) { EXPECT_EQ(type, EVENT_ERROR); };
    lower->calls.clear();
    system->RegisterEvent(EVENT_MODULE, &event);
    system->UnregisterEvent(EVENT_ERROR);
    EXPECT_EQ(event, LowerHandle(0xE));
    EXPECT_THAT(lower->calls, ElementsAre("RegisterEvent", "UnregisterEvent"));
}

TEST_F(SystemForwarding, OpensAFilteringInterfaceOverTheLowerOne)
{
    const auto system = Make();
    lower->onTLOpenInterface = [](const char *id, IF_HANDLE *handle)
    {
        EXPECT_STREQ(id, "eth0");
        *handle = LowerHandle(0x1F);
    };
    IF_HANDLE handle = nullptr;
    system->TLOpenInterface("eth0", &handle);
    const auto interface = library.instances.interfaces.Find(handle);
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->GetLowerHandle(), LowerHandle(0x1F));
    EXPECT_EQ(interface->GetParentSystem(), ownHandle);

    auto &proxy = dynamic_cast<FakeGenTLProxy &>(*lower->proxy);
    proxy.onIFGetDeviceInfo =
        [](IF_HANDLE, const char *, DEVICE_INFO_CMD, INFO_DATATYPE *type, void *buffer, size_t *size)
    {
        utils::WriteStringInfo("other", type, buffer, size);
        return GC_ERR_SUCCESS;
    };
    EXPECT_EQ(FailureOf(
                  [&]
                  {
                      DEV_HANDLE device = nullptr;
                      interface->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &device);
                  }),
              (Failure{"Access denied!", GC_ERR_ACCESS_DENIED}));
    library.instances.interfaces.Remove(handle);
}

TEST_F(SystemForwarding, TellsAnInterfaceItsOwnHandle)
{
    const auto system = Make();
    auto &proxy = dynamic_cast<FakeGenTLProxy &>(*lower->proxy);
    FakeRemoteDevice remoteDevice;
    remoteDevice.Serve(proxy);
    proxy.onIFGetDeviceInfo =
        [](IF_HANDLE, const char *, DEVICE_INFO_CMD, INFO_DATATYPE *type, void *buffer, size_t *size)
    {
        utils::WriteStringInfo("ovra", type, buffer, size);
        return GC_ERR_SUCCESS;
    };
    IF_HANDLE interface = nullptr;
    system->TLOpenInterface("eth0", &interface);
    DEV_HANDLE device = nullptr;
    library.instances.interfaces.Find(interface)->IFOpenDevice("device", DEVICE_ACCESS_CONTROL, &device);
    EXPECT_EQ(library.instances.devices.Find(device)->GetParentHandle(), interface);
    library.instances.devices.Remove(device);
    library.instances.interfaces.Remove(interface);
}

TEST_F(SystemForwarding, OpensTheSameInterfaceTwice)
{
    const auto system = Make();
    IF_HANDLE first = nullptr;
    IF_HANDLE second = nullptr;
    system->TLOpenInterface("eth0", &first);
    system->TLOpenInterface("eth0", &second);
    EXPECT_NE(first, second);
    EXPECT_TRUE(library.instances.interfaces.Contains(first));
    EXPECT_TRUE(library.instances.interfaces.Contains(second));
    library.instances.interfaces.Remove(first);
    library.instances.interfaces.Remove(second);
}

TEST_F(SystemForwarding, GivesNoHandleWhenTheLowerOpenFails)
{
    const auto system = Make();
    lower->onTLOpenInterface = [](const char *, IF_HANDLE *)
    { LowerFailure(GC_ERR_INVALID_ID, "which one"); };
    IF_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { system->TLOpenInterface("x", &handle); }),
              (Failure{"which one", GC_ERR_INVALID_ID}));
    EXPECT_EQ(handle, nullptr);
}

TEST_F(SystemForwarding, ChecksItsHandleBeforeTheLowerOpen)
{
    const auto system = Make();
    bool wasAsked = false;
    lower->onTLOpenInterface = [&wasAsked](const char *, IF_HANDLE *) { wasAsked = true; };
    EXPECT_EQ(FailureOf([&] { system->TLOpenInterface("x", nullptr); }),
              (Failure{"phIface must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_FALSE(wasAsked);
}

TEST_F(SystemForwarding, LeavesItsInterfacesOpenAtItsEnd)
{
    auto system = Make();
    IF_HANDLE handle = nullptr;
    system->TLOpenInterface("eth0", &handle);
    system.reset();
    EXPECT_TRUE(library.instances.interfaces.Contains(handle));
    library.instances.interfaces.Remove(handle);
}

} // namespace
} // namespace GenTL::internal
