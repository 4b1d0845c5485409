// Which device a user means.

#include "consumer/device_choice.h"

#include "support/failure.h"

#include <gentl/gentl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using internal::FailureOf;

DeviceEntry Device(const std::string &id, const std::string &model, const std::string &userName = "",
                   int32_t status = DEVICE_ACCESS_STATUS_READWRITE)
{
    return {"IF0", id, "Maker", model, "S" + id, userName, status};
}

std::string Chosen(const std::vector<DeviceEntry> &devices, const std::string &selection)
{
    return ChooseDevice(devices, selection).id;
}

TEST(DeviceChoice, FindsADeviceByEachOfItsNames)
{
    const std::vector devices{Device("1", "Left"), Device("2", "Right", "door")};
    EXPECT_EQ(Chosen(devices, "2"), "2");
    EXPECT_EQ(Chosen(devices, "Right"), "2");
    EXPECT_EQ(Chosen(devices, "S2"), "2");
    EXPECT_EQ(Chosen(devices, "door"), "2");
}

TEST(DeviceChoice, DoesNotRegardCase)
{
    const std::vector devices{Device("Id-A", "CamX"), Device("Id-B", "CamY", "Door")};
    EXPECT_EQ(Chosen(devices, "id-b"), "Id-B");
    EXPECT_EQ(Chosen(devices, "CAMY"), "Id-B");
    EXPECT_EQ(Chosen(devices, "sid-b"), "Id-B");
    EXPECT_EQ(Chosen(devices, "dOOR"), "Id-B");
}

TEST(DeviceChoice, PrefersAnExactMatchToOneThatDiffersInCase)
{
    const std::vector devices{Device("1", "cam"), Device("2", "CAM"), Device("3", "X", "Cam")};
    EXPECT_EQ(Chosen(devices, "CAM"), "2");
    EXPECT_EQ(Chosen(devices, "Cam"), "3");
}

TEST(DeviceChoice, PrefersAnIdToOtherNames)
{
    const std::vector devices{Device("1", "2"), Device("2", "1")};
    EXPECT_EQ(Chosen(devices, "2"), "2");
}

TEST(DeviceChoice, NamesTheDevicesThatShareAName)
{
    const std::vector devices{Device("1", "Cam"), Device("2", "Cam"), Device("3", "Other")};
    EXPECT_EQ(FailureOf([&] { Chosen(devices, "cam"); }).text,
              "Several devices are \"cam\": 1 (Cam), 2 (Cam). Choose one by its id");
}

TEST(DeviceChoice, TakesADeviceThatTwoInterfacesShowAsOne)
{
    EXPECT_EQ(Chosen({Device("1", "Cam"), Device("1", "Cam")}, "Cam"), "1");
}

TEST(DeviceChoice, TakesTheFirstThatOpensWithoutASelection)
{
    const std::vector devices{Device("1", "Cam", "", DEVICE_ACCESS_STATUS_BUSY), Device("2", "Cam")};
    EXPECT_EQ(Chosen(devices, ""), "2");
    EXPECT_EQ(FailureOf([&] { Chosen({devices[0]}, ""); }).text,
              "No device can be opened; `gentlctl list` says why.");
}

TEST(DeviceChoice, SaysWhatThereIs)
{
    EXPECT_EQ(FailureOf([&] { Chosen({Device("1", "Cam")}, "nope"); }).text,
              "There is no device \"nope\". Known: 1 (Cam)");
    EXPECT_EQ(FailureOf([&] { Chosen({}, "nope"); }).text,
              "The producer lists no device. Is a camera connected and powered?");
}

} // namespace
} // namespace gentlctl
