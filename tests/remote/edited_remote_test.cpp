#include "edited_device.h"

#include "remote/edited_remote.h"
#include "remoteport.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_remote_device.h"
#include "support/handles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>

namespace GenTL::internal
{
namespace
{

using namespace edited;

/// A consumer at the port of a lower device with the description of SmallDeviceDescription, or another one.
struct EditedPort : testing::Test
{
    void Open(const std::string &document = SmallDeviceDescription())
    {
        device = FakeRemoteDevice(document);
        device.Serve(*proxy);
        port = std::make_unique<RemotePort>(proxy, nullptr,
                                            [this](ProxyModule &lower)
                                            {
                                                auto view = std::make_unique<EditedRemote>(
                                                    lower, "cam0", UsualConversions(), shared);
                                                remote = view.get();
                                                return view;
                                            });
        delivery.device = [this] { return remote->ReadDeviceState(); };
    }

    std::string Url()
    {
        std::array<char, 300> text{};
        size_t size = text.size();
        port->GetPortURL(text.data(), &size);
        return text.data();
    }

    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeRemoteDevice device;
    FakeDelivery delivery;
    std::shared_ptr<IDelivery> shared{&delivery, [](IDelivery *) {}};
    EditedRemote *remote = nullptr;
    std::unique_ptr<RemotePort> port;
};

TEST_F(EditedPort, WritesNothingToTheDeviceWhileItIsOpened)
{
    Open();
    EXPECT_EQ(proxy->CountOf("GCWritePort"), 0U);
    EXPECT_EQ(device.reads.size(), 1U) << "the document, and no register";
}

TEST_F(EditedPort, OffersOneUrlWithTheEditedDocument)
{
    Open();
    const auto location = ParseLocation(Url());
    ASSERT_EQ(location.Scheme, UrlScheme::Local);
    std::string document(location.Size, '\0');
    size_t size = document.size();
    port->ReadPort(location.Address, document.data(), &size);
    const Parsed parsed(document);
    EXPECT_NE(parsed.graph->Find("DevicePixelFormat"), genapi::noNode);
    uint32_t count = 0;
    port->GetNumPortURLs(&count);
    EXPECT_EQ(count, 1U);
    uint64_t address = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size = sizeof address;
    port->GetPortURLInfo(0, URL_INFO_FILE_REGISTER_ADDRESS, &type, &address, &size);
    EXPECT_EQ(address, location.Address);
}

TEST_F(EditedPort, SplitsAStackedReadOfTheDeviceAndOfTheWindow)
{
    Open();
    device.SetRegister(0x100, 640);
    device.SetRegister(0x108, 4711);
    const auto location = ParseLocation(Url());
    uint32_t width = 0;
    int64_t payloadSize = 0;
    // The registers are those of PixelFormat and PayloadSize.
    const auto registers = location.Address + RegisterWindow::RegistersOffset(location.Size);
    std::array<PORT_REGISTER_STACK_ENTRY, 2> entries{
        {{0x100, &width, sizeof width}, {registers + 8, &payloadSize, sizeof payloadSize}}};
    size_t count = entries.size();
    port->ReadPortStacked(entries.data(), &count);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(width, 640U);
    EXPECT_EQ(payloadSize, 4711);
}

TEST_F(EditedPort, AsksTheDeviceAgainForItsState)
{
    Open();
    device.SetRegister(0x108, 4711);
    EXPECT_EQ(remote->ReadDeviceState().payloadSize, 4711U);
    device.SetRegister(0x108, 815); // by itself: nobody wrote through the port
    EXPECT_EQ(remote->ReadDeviceState().payloadSize, 815U);
}

TEST_F(EditedPort, HasTheDevicesUrlWithoutAWindow)
{
    const auto everywhere =
        "<RegisterDescription><Port Name=\"Device\"/><Register Name=\"All\"><Address>0</Address>"
        "<Length>0x7FFFFFFFFFFFFFFF</Length><pPort>Device</pPort></Register>"
        "</RegisterDescription>";
    Open(everywhere);
    EXPECT_EQ(Url(), device.url);
    uint32_t value = 0;
    size_t size = sizeof value;
    device.SetRegister(0x100, 7);
    port->ReadPort(0x100, &value, &size);
    EXPECT_EQ(value, 7U);
    port->GetNumPortURLs(&value);
    EXPECT_EQ(proxy->CountOf("GCGetNumPortURLs"), 2U);
}

TEST_F(EditedPort, NamesTheDeviceWhenItsDescriptionCannotBeUsed)
{
    EXPECT_EQ(FailureOf([this] { Open("<RegisterDescription>"); }),
              (Failure{"cam0: the description (21 bytes) is not XML: Start-end tags mismatch at line 1.",
                       GC_ERR_ERROR}));
}

} // namespace
} // namespace GenTL::internal
