#include "remoteport.h"

#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_processor.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"
#include "support/log_capture.h"
#include "support/zip_archive.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using testing::ElementsAre;

/// Keeps the callbacks that a remote port sets.
class CallbackKeeper final : public FakeProcessor
{
public:
    std::function<uint64_t()> askPayloadSize;
    std::function<tarn::common::Size()> askImageSize;
    bool asksForTheImageSizeAtOnce = false;

    void SetPayloadSizeCallback(std::function<uint64_t()> callback) override
    {
        askPayloadSize = std::move(callback);
    }
    void SetImageSizeCallback(std::function<tarn::common::Size()> callback) override
    {
        askImageSize = std::move(callback);
        if (asksForTheImageSizeAtOnce)
        {
            askImageSize();
        }
    }
};

struct RemotePortTest : testing::Test
{
    const PORT_HANDLE lowerHandle = LowerHandle(0x907);
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    std::shared_ptr<CallbackKeeper> processor = std::make_shared<CallbackKeeper>();
    FakeRemoteDevice remoteDevice;

    void SetUp() override { remoteDevice.Serve(*proxy); }

    std::unique_ptr<RemotePort> Make() { return std::make_unique<RemotePort>(proxy, lowerHandle, processor); }

    void OfferArchive(const std::vector<ZipEntry> &entries)
    {
        const auto archive = MakeZip(entries);
        remoteDevice.description.assign(archive.begin(), archive.end());
        remoteDevice.url = fmt::format("local:///Device.zip;10000;{:X}?SchemaVersion=1.1.0", archive.size());
    }

    bool ReadDescriptionAt(uint64_t address, size_t size) const
    {
        return !remoteDevice.reads.empty() &&
               remoteDevice.reads.front() == FakeRemoteDevice::Access{lowerHandle, address, size};
    }
};

using RemotePortLoading = RemotePortTest;

TEST_F(RemotePortLoading, AsksForTheUrlThenReadsTheDescriptionAtOnce)
{
    const auto port = Make();
    const auto calls = proxy->Calls();
    ASSERT_GE(calls.size(), 3U);
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 3),
                ElementsAre("GCGetPortURL", "GCGetPortURL", "GCReadPort"));
    EXPECT_TRUE(ReadDescriptionAt(0x10000, remoteDevice.description.size()));
    EXPECT_EQ(proxy->CountOf("GCGetPortURLInfo"), 0U);
    EXPECT_EQ(port->FindNode("Width").Address, 0x100U);
    EXPECT_EQ(port->FindNode("PayloadSize").Address, 0x108U);
}

TEST_F(RemotePortLoading, TakesAUrlWithoutAQuery)
{
    remoteDevice.url = fmt::format("local:///Cam.xml;10000;{:X}", remoteDevice.description.size());
    EXPECT_NO_THROW(Make());
    EXPECT_TRUE(ReadDescriptionAt(0x10000, remoteDevice.description.size()));
}

TEST_F(RemotePortLoading, ReadsAddressAndSizeFromASingleNumber)
{
    const auto size = remoteDevice.description.size();
    remoteDevice.descriptionAddress = size;
    remoteDevice.url = fmt::format("local:///a.xml;{:X}", size);
    EXPECT_NO_THROW(Make());
    EXPECT_TRUE(ReadDescriptionAt(size, size));
}

TEST_F(RemotePortLoading, TakesAnAddressWithAPrefix)
{
    remoteDevice.url = fmt::format("local:///a.xml;0x10000;{:X}", remoteDevice.description.size());
    EXPECT_NO_THROW(Make());
}

TEST_F(RemotePortLoading, UnpacksAnArchive)
{
    OfferArchive({{"Device.xml", remoteDevice.description}});
    const auto port = Make();
    EXPECT_EQ(port->FindNode("Height").Address, 0x104U);
    EXPECT_TRUE(ReadDescriptionAt(0x10000, remoteDevice.description.size()));
}

TEST_F(RemotePortLoading, KnowsAnArchiveByItsNameAnywhereInTheUrl)
{
    OfferArchive({{"Device.xml", remoteDevice.description}});
    remoteDevice.url =
        fmt::format("local:///Device.xml;10000;{:X}?from=a.zip", remoteDevice.description.size());
    EXPECT_NO_THROW(Make());
}

TEST_F(RemotePortLoading, TakesTheFirstFileOfAnArchive)
{
    const LogCapture log;
    OfferArchive({{"readme.txt", "read me"}, {"Device.xml", remoteDevice.description}});
    EXPECT_EQ(MakeFailure(*this).text, "Did not find node PayloadSize!");
}

TEST_F(RemotePortLoading, KnowsNoArchiveInUpperCase)
{
    const LogCapture log;
    OfferArchive({{"Device.xml", remoteDevice.description}});
    remoteDevice.url = fmt::format("local:///Cam.ZIP;10000;{:X}", remoteDevice.description.size());
    EXPECT_EQ(MakeFailure(*this), (Failure{"Did not find node PayloadSize!", GC_ERR_ERROR}));
}

TEST_F(RemotePortLoading, FailsForABrokenArchive)
{
    const LogCapture log;
    remoteDevice.url = fmt::format("local:///Cam.zip;10000;{:X}", remoteDevice.description.size());
    EXPECT_EQ(MakeFailure(*this), (Failure{"Opening zip from source failed!", GC_ERR_IO}));
}

TEST_F(RemotePortLoading, FailsForBadXml)
{
    const LogCapture log;
    remoteDevice.description = "<RegisterDescription><Integer";
    remoteDevice.url = fmt::format("local:///Cam.xml;10000;{:X}", remoteDevice.description.size());
    EXPECT_EQ(MakeFailure(*this), (Failure{"Did not find node PayloadSize!", GC_ERR_ERROR}));
}

TEST_F(RemotePortLoading, FailsForADescriptionWithoutAPayloadSize)
{
    remoteDevice.description = "<RegisterDescription><Port Name=\"Device\"/></RegisterDescription>";
    remoteDevice.url = fmt::format("local:///Cam.xml;10000;{:X}", remoteDevice.description.size());
    EXPECT_EQ(MakeFailure(*this), (Failure{"Did not find node PayloadSize!", GC_ERR_ERROR}));
}

TEST_F(RemotePortLoading, FailsForAUrlWithoutARange)
{
    for (const auto *url : {"file:///tmp/a.xml", ""})
    {
        remoteDevice.url = url;
        EXPECT_EQ(MakeFailure(*this), (Failure{"Parser not initialized", GC_ERR_ERROR})) << url;
    }
    EXPECT_EQ(proxy->CountOf("GCReadPort"), 0U);
}

TEST_F(RemotePortLoading, FailsForAUrlWithAnEmptyAddress)
{
    remoteDevice.url = "local:///a.xml;;10";
    EXPECT_THROW(Make(), std::invalid_argument);
    EXPECT_EQ(proxy->CountOf("GCReadPort"), 0U);
}

TEST_F(RemotePortLoading, FailsForASizeThatNoMemoryHolds)
{
    remoteDevice.url = "local:///a.xml;10000;FFFFFFFFFFFFFFFF";
    EXPECT_THROW(Make(), std::length_error);
    EXPECT_EQ(proxy->CountOf("GCReadPort"), 0U);
}

TEST_F(RemotePortLoading, KeepsTheCodeOfALowerFailure)
{
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "no answer"); };
    EXPECT_EQ(MakeFailure(*this), (Failure{"no answer", GC_ERR_IO}));
    proxy->onGCGetPortURL = [](PORT_HANDLE, char *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_NOT_AVAILABLE, "no URL"); };
    EXPECT_EQ(MakeFailure(*this), (Failure{"no URL", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(RemotePortLoading, CallsTheProcessorAfterTheDescription)
{
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "no answer"); };
    MakeFailure(*this);
    EXPECT_FALSE(processor->askImageSize);
    EXPECT_FALSE(processor->askPayloadSize);
}

TEST_F(RemotePortTest, IsARemoteDeviceOverTheLowerPort)
{
    const auto port = Make();
    EXPECT_EQ(port->GetModuleType(), ModuleType::RemoteDevice);
    EXPECT_EQ(port->GetLowerHandle(), lowerHandle);
}

TEST_F(RemotePortTest, GivesTheProcessorTheImageSizeAsItIsNow)
{
    const auto port = Make();
    remoteDevice.SetRegister(0x100, 640);
    remoteDevice.SetRegister(0x104, 480);
    const auto first = processor->askImageSize();
    EXPECT_EQ(first.width, 640U);
    EXPECT_EQ(first.height, 480U);
    remoteDevice.SetRegister(0x100, 0xFFFFFFFF);
    EXPECT_EQ(processor->askImageSize().width, 0xFFFFFFFFU);
}

TEST_F(RemotePortTest, GivesTheProcessorThePayloadSizeAsItIsNow)
{
    const auto port = Make();
    remoteDevice.SetRegister(0x108, 307200);
    EXPECT_EQ(processor->askPayloadSize(), 307200U);
    remoteDevice.SetRegister(0x108, 0xFFFFFFFF);
    EXPECT_EQ(processor->askPayloadSize(), 0xFFFFFFFFU);
}

TEST_F(RemotePortTest, GivesAPayloadSizeOfEightBytesWhole)
{
    auto &text = remoteDevice.description;
    text.replace(text.find("<Length>4", text.find("0x108")), 9, "<Length>8");
    const auto port = Make();
    remoteDevice.SetRegister(0x108, 7);
    remoteDevice.SetRegister(0x10C, 0x80000000);
    EXPECT_EQ(processor->askPayloadSize(), 0x8000000000000007U);
}

TEST_F(RemotePortTest, HasNoImageSizeWithoutAValidDescription)
{
    const LogCapture log;
    processor->asksForTheImageSizeAtOnce = true;
    const Failure expected{"XML not parsed or not valid!", GC_ERR_ERROR};
    remoteDevice.url = "file:///tmp/a.xml";
    EXPECT_EQ(MakeFailure(*this), expected);
    remoteDevice.description = "no xml";
    remoteDevice.url = "local:///Cam.xml;10000;6";
    EXPECT_EQ(MakeFailure(*this), expected);
}

TEST_F(RemotePortTest, TellsAboutNodesOfTheDescription)
{
    const auto port = Make();
    EXPECT_EQ(port->FindNode("Height").Length, 4U);
    EXPECT_EQ(FailureOf([&] { port->FindNode("Nowhere"); }),
              (Failure{"Did not find node Nowhere!", GC_ERR_ERROR}));
    EXPECT_EQ(port->TryFindNode("Height")->Address, 0x104U);
    EXPECT_FALSE(port->TryFindNode("Nowhere").has_value());
}

TEST_F(RemotePortTest, ReadsAndWritesTheDevice)
{
    const auto port = Make();
    uint32_t value = 77;
    size_t size = sizeof value;
    port->WriteRegisters(0x10, &value, &size);
    port->WritePort(0x14, &value, &size);
    EXPECT_EQ(remoteDevice.registers[0x10], 77);
    EXPECT_EQ(remoteDevice.registers[0x14], 77);
    remoteDevice.SetRegister(0x20, 88);
    port->ReadRegisters(0x20, &value, &size);
    EXPECT_EQ(value, 88U);
    remoteDevice.SetRegister(0x20, 99);
    port->ReadPort(0x20, &value, &size);
    EXPECT_EQ(value, 99U);
    EXPECT_EQ(remoteDevice.reads.back().port, lowerHandle);
}

TEST_F(RemotePortTest, GivesTheDevicesOwnDescription)
{
    OfferArchive({{"Device.xml", remoteDevice.description}});
    const auto port = Make();
    std::string url(200, '\0');
    size_t size = url.size();
    port->GetPortURL(url.data(), &size);
    url.resize(size - 1);
    EXPECT_EQ(url, remoteDevice.url);
    std::string bytes(remoteDevice.description.size(), '\0');
    size = bytes.size();
    port->ReadPort(0x10000, bytes.data(), &size);
    EXPECT_EQ(bytes, remoteDevice.description);
}

TEST_F(RemotePortTest, ClosesNothingAtItsEnd)
{
    auto port = Make();
    proxy->ForgetCalls();
    port.reset();
    EXPECT_THAT(proxy->Calls(), testing::IsEmpty());
}

} // namespace
} // namespace GenTL::internal
