#include "recorded_device.h"

#include "recording/device_file.h"

#include <gtest/gtest.h>

#include <string>

using namespace recording;
using recording_test::MakeDevice;

namespace
{

/// The text with its first `from` replaced.
std::string Changed(const std::string &from, const std::string &to)
{
    auto text = ToJson(MakeDevice());
    const auto place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

std::string FailureOf(const std::string &text)
{
    return recording_test::MessageOf([&] { DeviceFromJson(text); });
}

} // namespace

TEST(DeviceFile, KeepsAllButTheContentsOfOtherFiles)
{
    auto device = MakeDevice();
    const auto read = DeviceFromJson(ToJson(device));
    device.description.clear();
    device.registers.fileAccess.files[0].content.clear();
    EXPECT_EQ(read, device);
}

TEST(DeviceFile, TakesANameThatIsNoUtf8)
{
    auto device = MakeDevice();
    device.model = "M\xFC";
    EXPECT_EQ(DeviceFromJson(ToJson(device)).model, "M\xEF\xBF\xBD");
}

TEST(DeviceFile, NamesWhatIsWrong)
{
    EXPECT_NE(FailureOf("").find("parse error"), std::string::npos);
    EXPECT_EQ(FailureOf("[]").find("none"), std::string::npos);
    EXPECT_EQ(FailureOf(Changed("\"version\": 1", "\"version\": 2")),
              "it has version 2 of the format, this program reads version 1");
    EXPECT_EQ(FailureOf(Changed("\"model\"", "\"mode\"")), "key 'model' not found");
    EXPECT_EQ(FailureOf(Changed("\"61626364\"", "\"6162636\"")), "\"6162636\" are no bytes");
    EXPECT_EQ(FailureOf(Changed("\"61626364\"", "\"616263zz\"")), "\"616263zz\" are no bytes");
    EXPECT_EQ(FailureOf(Changed("\"payloadSize\": 12", "\"payloadSize\": 1.8e19 ,\"x\":1")),
              "1.8e+19 is out of range");
    EXPECT_EQ(FailureOf(Changed("\"payloadSize\": 12", "\"payloadSize\": -12")), "-12 is out of range");
    EXPECT_NE(FailureOf(Changed("\"payloadSize\": 12", "\"payloadSize\": \"12\"")).find("must be number"),
              std::string::npos);
}
