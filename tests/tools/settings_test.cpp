// Settings of a device: which features they are, in which order they are written, and their file.

#include "consumer/device.h"
#include "consumer/feature_settings.h"
#include "consumer/features.h"
#include "gentlctl/device_settings.h"

#include "descriptions.h"
#include "gentlctl_run.h"
#include "support/environment_variable.h"
#include "support/failure.h"
#include "support/lower_library.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace gentlctl
{

void PrintTo(const Setting &setting, std::ostream *stream)
{
    *stream << KeyOf(setting) << '=' << setting.value;
}

namespace
{

using GenTL::internal::EnvironmentVariable;
using GenTL::internal::FailureOf;
using GenTL::internal::LowerLibrary;

TEST(SettingKey, NamesTheFeatureAndItsSelections)
{
    const Setting plain{"Width", {}, "64"};
    const Setting selected{"LUTValue", {{"LUTSelector", "Red"}, {"LUTIndex", "3"}}, "9"};
    EXPECT_EQ(KeyOf(plain), "Width");
    EXPECT_EQ(KeyOf(selected), "LUTValue[LUTSelector=Red,LUTIndex=3]");
    for (const auto &setting : {plain, selected})
    {
        auto parsed = SettingOfKey(KeyOf(setting));
        parsed.value = setting.value;
        EXPECT_EQ(parsed, setting);
    }
}

TEST(SettingKey, IsRefusedWhenItsBracketsAreWrong)
{
    for (const auto *key :
         {"", "[A=1]", "Width[", "Width[A=1", "Width[A]", "Width[=1]", "Width[]", "Width[A=1,]"})
    {
        EXPECT_NE(FailureOf([&] { SettingOfKey(key); }).text.find("is not of the form"), std::string::npos)
            << key;
    }
}

/// A feature of four bytes at an address.
std::string Number(const std::string &name, int address, const std::string &properties = "",
                   const std::string &valueProperties = "")
{
    return fmt::format("<Integer Name=\"{0}\">{2}<pValue>{0}Reg</pValue>{3}</Integer>"
                       "<IntReg Name=\"{0}Reg\"><Address>{1}</Address><Length>4</Length><AccessMode>RW"
                       "</AccessMode><pPort>Device</pPort><Cachable>NoCache</Cachable></IntReg>",
                       name, address, properties, valueProperties);
}

/// A device that keeps what is written to its registers, with a description that a test gives.
class Remembering
{
public:
    Remembering(const std::vector<std::string> &features, const std::string &nodes)
    {
        m_lower->remembersRegisters = true;
        m_lower->deviceXml =
            fmt::format("<RegisterDescription><Category Name=\"Root\">{}</Category>{}<Port Name=\"Device\"/>"
                        "</RegisterDescription>",
                        FeatureList(features), nodes);
        m_producer.emplace(m_lower.Path());
        m_device.emplace(*m_producer, "cam0");
        m_features.emplace(m_device->PortOf("remote"));
    }

    const Features &Remote() const { return *m_features; }

    /// "NAME[SELECTOR=VALUE]=VALUE" of each setting that a save finds.
    std::vector<std::string> Saved() const
    {
        const auto saved = SaveSettings(Remote());
        EXPECT_TRUE(saved.failures.empty());
        std::vector<std::string> lines;
        std::ranges::transform(saved.settings, std::back_inserter(lines),
                               [](const Setting &setting) { return KeyOf(setting) + "=" + setting.value; });
        return lines;
    }

private:
    LowerLibrary m_lower;
    std::optional<Producer> m_producer;
    std::optional<OpenDevice> m_device;
    std::optional<Features> m_features;
};

using Lines = std::vector<std::string>;

TEST(SettingsOfADescription, AreTheFeaturesMarkedAsStreamable)
{
    const Remembering device({"Exposure", "Gain"}, Number("Exposure", 0x10, "<Streamable>Yes</Streamable>") +
                                                       Number("Gain", 0x20, "<Streamable>No</Streamable>"));
    EXPECT_EQ(device.Saved(), (Lines{"Exposure=0"}));
}

TEST(SettingsOfADescription, AreAllThatCanBeWrittenWhereTheMarkIsNotUsed)
{
    Lines names{"TLParamsLocked", "DeviceUserID", "GevPersistentIPAddress", "FileAccessOffset"};
    std::string nodes =
        "<Integer Name=\"Fixed\"><ImposedAccessMode>RO</ImposedAccessMode><Value>1</Value></Integer>"
        "<Command Name=\"Start\"><Value>0</Value><CommandValue>1</CommandValue></Command>";
    int address = 0x10;
    for (const auto &name : names)
    {
        nodes += Number(name, address += 0x10);
    }
    names.insert(names.end(), {"Gain", "Fixed", "Start"});
    EXPECT_EQ(Remembering(names, nodes + Number("Gain", 0x100)).Saved(), (Lines{"Gain=0"}));
}

TEST(SettingsOfADescription, DoNotFollowAMarkThatHardlyAnyFeatureHas)
{
    std::string nodes = Number("Feature0", 0x100, "<Streamable>Yes</Streamable>");
    Lines names{"Feature0"};
    for (int i = 1; i <= 10; ++i)
    {
        names.push_back(fmt::format("Feature{}", i));
        nodes += Number(names.back(), 0x100 + i * 4);
    }
    EXPECT_EQ(Remembering(names, nodes).Saved().size(), 11U);
}

const std::string lut =
    Number("LUTSelector", 0x10, "",
           "<Min>0</Min><Max>1</Max><pSelected>LUTValue</pSelected><pSelected>LUTIndex"
           "</pSelected>") +
    Number("LUTIndex", 0x20, "", "<Min>0</Min><Max>2</Max><Inc>2</Inc><pSelected>LUTValue</pSelected>") +
    "<Integer Name=\"LUTValue\"><pValue>LUTReg</pValue></Integer><IntReg Name=\"LUTReg\"><Address>0x100"
    "</Address><pAddress>LUTPlace</pAddress><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</"
    "pPort>"
    "</IntReg><IntSwissKnife Name=\"LUTPlace\"><pVariable Name=\"S\">LUTSelector</pVariable><pVariable "
    "Name=\"I\">LUTIndex</pVariable><Formula>S * 0x100 + I * 4</Formula></IntSwissKnife>";

TEST(SelectedSettings, AreSavedForEachValueOfTheirSelectors)
{
    const Remembering device({"LUTSelector", "LUTIndex", "LUTValue"}, lut);
    device.Remote().Set("LUTSelector", "1");
    device.Remote().Set("LUTIndex", "2");
    device.Remote().Set("LUTValue", "7");
    EXPECT_EQ(device.Saved(),
              (Lines{"LUTValue[LUTSelector=0,LUTIndex=0]=0", "LUTValue[LUTSelector=0,LUTIndex=2]=0",
                     "LUTValue[LUTSelector=1,LUTIndex=0]=0", "LUTValue[LUTSelector=1,LUTIndex=2]=7"}));
    EXPECT_EQ(device.Remote().Get("LUTSelector"), 1);
    EXPECT_EQ(device.Remote().Get("LUTIndex"), 2);
}

TEST(SelectedSettings, AreLoadedBehindTheirSelectorsWhichStayAsTheyWere)
{
    const Remembering device({"LUTSelector", "LUTIndex", "LUTValue"}, lut);
    const auto loaded =
        LoadSettings(device.Remote(), {{"LUTValue", {{"LUTSelector", "1"}, {"LUTIndex", "0"}}, "5"},
                                       {"LUTValue", {{"LUTSelector", "0"}, {"LUTIndex", "2"}}, "6"}});
    EXPECT_EQ(loaded.right, 2U);
    EXPECT_EQ(device.Saved(),
              (Lines{"LUTValue[LUTSelector=0,LUTIndex=0]=0", "LUTValue[LUTSelector=0,LUTIndex=2]=6",
                     "LUTValue[LUTSelector=1,LUTIndex=0]=5", "LUTValue[LUTSelector=1,LUTIndex=2]=0"}));
    EXPECT_EQ(device.Remote().Get("LUTSelector"), 0);
}

const std::string region =
    Number("Width", 0x10, "", "<Min>16</Min><pMax>WidthLimit</pMax>") +
    Number("OffsetX", 0x20, "", "<Min>0</Min><pMax>OffsetLimit</pMax>") +
    "<IntSwissKnife Name=\"WidthLimit\"><pVariable Name=\"X\">OffsetX</pVariable><Formula>100 - X</Formula>"
    "</IntSwissKnife><IntSwissKnife Name=\"OffsetLimit\"><pVariable Name=\"W\">Width</pVariable><Formula>100 "
    "- W"
    "</Formula></IntSwissKnife>";

TEST(LoadedSettings, AreWrittenInTheOrderThatTheirLimitsNeed)
{
    const Remembering device({"Width", "OffsetX"}, region);
    device.Remote().Set("Width", "20");
    device.Remote().Set("OffsetX", "80");
    for (const auto &[width, offset] : {std::pair{"90", "10"}, {"20", "80"}})
    {
        const auto loaded = LoadSettings(device.Remote(), {{"Width", {}, width}, {"OffsetX", {}, offset}});
        EXPECT_TRUE(loaded.failures.empty());
        EXPECT_EQ(device.Saved(), (Lines{fmt::format("Width={}", width), fmt::format("OffsetX={}", offset)}));
    }
}

TEST(LoadedSettings, TellWhatCannotBeSetAndWhy)
{
    const Remembering device({"Width", "OffsetX"}, region);
    const auto loaded = LoadSettings(
        device.Remote(),
        {{"Width", {}, "101"}, {"OffsetX", {}, "12"}, {"Missing", {}, "1"}, {"OffsetX", {}, "many"}});
    EXPECT_EQ(loaded.right, 1U);
    ASSERT_EQ(loaded.failures.size(), 3U);
    EXPECT_EQ(loaded.failures[0].present, "0");
    EXPECT_NE(loaded.failures[0].reason.find("; it takes 16 to 88"), std::string::npos)
        << loaded.failures[0].reason;
    EXPECT_NE(loaded.failures[1].reason.find("There is no feature \"Missing\""), std::string::npos);
    EXPECT_NE(loaded.failures[2].reason.find("not a whole number"), std::string::npos);
}

TEST(LoadedSettings, AreComparedWithWhatTheDeviceMadeOfThem)
{
    // The device counts in steps of four.
    const Remembering device({"Delay"},
                             "<IntConverter Name=\"Delay\"><FormulaTo>FROM / 4</FormulaTo><FormulaFrom>TO * 4"
                             "</FormulaFrom><pValue>Steps</pValue></IntConverter>" +
                                 Number("Steps", 0x10));
    const auto loaded = LoadSettings(device.Remote(), {{"Delay", {}, "10"}});
    ASSERT_EQ(loaded.failures.size(), 1U);
    EXPECT_EQ(loaded.failures[0].present, "8");
    EXPECT_EQ(loaded.failures[0].reason, "the device took another value");
    EXPECT_EQ(LoadSettings(device.Remote(), {{"Delay", {}, "12"}}).right, 1U);
}

TEST(Registers, AreSavedAndLoadedAsBytes)
{
    const Remembering device({"Table"}, "<Register Name=\"Table\"><Address>0x10</Address><Length>3</Length>"
                                        "<AccessMode>RW</AccessMode><pPort>Device</pPort></Register>");
    EXPECT_EQ(LoadSettings(device.Remote(), {{"Table", {}, "0x0102ff"}}).right, 1U);
    EXPECT_EQ(device.Saved(), (Lines{"Table=0x0102ff"}));
    for (const auto *wrong : {"", "0x", "0102ff", "0x0102f", "0x0102fg", "0x01"})
    {
        EXPECT_EQ(LoadSettings(device.Remote(), {{"Table", {}, wrong}}).failures.size(), 1U) << wrong;
    }
}

/// A file with a text, for the life of this object.
class TextFile
{
public:
    explicit TextFile(const std::string &text)
        : m_path(std::filesystem::temp_directory_path() / fmt::format("settings-{}.yaml", getpid()))
    {
        std::ofstream(m_path) << text;
    }
    ~TextFile() { std::filesystem::remove(m_path); }
    TextFile(const TextFile &) = delete;
    TextFile &operator=(const TextFile &) = delete;
    const std::filesystem::path &Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

TEST(FileOfSettings, GivesBackWhatItWasMadeOf)
{
    const std::vector<Setting> settings{{"Name", {}, "two words: \"and\" # more\n"},
                                        {"Pattern", {}, "Off"},
                                        {"Text", {}, ""},
                                        {"Code", {}, "007"},
                                        {"Enable", {{"Selector", "A"}}, "true"}};
    const TextFile file(SettingsText({"Maker", "Model 1", "0123", {{"remote", settings}, {"stream", {}}}}));
    const auto content = ReadSettingsFile(file.Path());
    EXPECT_EQ(content.vendor, "Maker");
    EXPECT_EQ(content.model, "Model 1");
    EXPECT_EQ(content.serialNumber, "0123");
    ASSERT_EQ(content.modules.size(), 2U);
    EXPECT_EQ(content.modules[0].settings, settings);
    EXPECT_TRUE(content.modules[1].settings.empty());
}

TEST(FileOfSettings, QuotesWhatOtherReadersTakeForATruthValue)
{
    const auto text = SettingsText({"", "", "", {{"remote", {{"A", {}, "Off"}, {"B", {}, "true"}}}}});
    EXPECT_NE(text.find("A: \"Off\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("B: true\n"), std::string::npos) << text;
}

TEST(FileOfSettings, IsRefusedWithTheLineThatIsWrong)
{
    const std::string head = "device:\n  model: M\n";
    for (const auto &[text, line] : {std::pair<std::string, int>{"", 1},
                                     {"Width: 5\n", 1},
                                     {"device:\n  - M\n", 2},
                                     {"- 1\n", 1},
                                     {head + "remote: 5\n", 3},
                                     {head + "remote:\n  Width: [1, 2]\n", 4},
                                     {head + "remote:\n  Width[A: 1\n", 4},
                                     {head + "remote:\n  \"x: 1\n", 4},
                                     {std::string("\"\\\0", 3), 1}})
    {
        const TextFile file(text);
        const auto failure = FailureOf([&] { ReadSettingsFile(file.Path()); });
        EXPECT_TRUE(failure.text.starts_with(fmt::format("{}:", file.Path().string())))
            << text << failure.text;
        EXPECT_NE(failure.text.find("gentlctl settings save"), std::string::npos) << failure.text;
        EXPECT_GE(std::stoi(failure.text.substr(file.Path().string().size() + 1)), line)
            << text << failure.text;
    }
    EXPECT_NE(FailureOf([] { ReadSettingsFile("/nowhere/at/all"); }).text.find("Cannot read"),
              std::string::npos);
}

// Round trips over the simulated cameras.

using CameraCase = std::tuple<std::string, std::string>; ///< file of the producer, model

class SimulatedCamera : public testing::TestWithParam<CameraCase>
{
};

/// The settings with other values for some that every camera has.
std::vector<Setting> Changed(std::vector<Setting> settings)
{
    for (auto &[feature, selections, value] : settings)
    {
        value = feature == "Width"               ? "64"
                : feature == "Height"            ? "48"
                : feature == "OffsetX"           ? "32"
                : feature == "BinningHorizontal" ? "2"
                : feature == "ExposureTime"      ? "1234.5"
                : feature == "ChunkModeActive"   ? "true"
                : feature == "ChunkEnable"       ? "true"
                                                 : value;
    }
    return settings;
}

TEST_P(SimulatedCamera, KeepsItsSettingsInAFile)
{
    const EnvironmentVariable wide("QVR_SIM_WIDE", "1");
    const auto &[file, model] = GetParam();
    Producer producer(QVR_LIB_DIR + file);
    OpenDevice device(producer, model);
    const auto before = SaveSettings(device, {"remote", "stream"});
    EXPECT_TRUE(before.failures.empty()) << before.failures.front();
    ASSERT_GT(before.content.modules[0].settings.size(), 10U);
    auto changed = before.content;
    changed.modules[0].settings = Changed(changed.modules[0].settings);
    ASSERT_NE(changed.modules[0].settings, before.content.modules[0].settings);
    for (const auto &wanted : {changed, before.content})
    {
        const TextFile text(SettingsText(wanted));
        const auto loaded = LoadSettings(device, ReadSettingsFile(text.Path()));
        EXPECT_TRUE(loaded.failures.empty()) << loaded.failures.front();
        EXPECT_TRUE(loaded.warning.empty());
        EXPECT_EQ(SaveSettings(device, {"remote"}).content.modules[0].settings, wanted.modules[0].settings);
    }
}

constexpr auto proxy = "/qvr_proxygentl.cti";
constexpr auto any = "/anygentl/qvr_anygentl.cti";

std::string NameOfCase(const testing::TestParamInfo<CameraCase> &tried)
{
    auto name = (std::get<0>(tried.param) == any ? "Any_" : "Proxy_") + std::get<1>(tried.param);
    std::ranges::replace(name, '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(OverAny, SimulatedCamera,
                         testing::Combine(testing::Values(any),
                                          testing::Values("OVRA-M5", "OVRA-M1", "SIM-FOREIGN", "OVRA-C5",
                                                          "OVRA-S2", "OVRA-F1", "OVRA-D1", "WIDE-G2",
                                                          "WIDE-U1")),
                         NameOfCase);
INSTANTIATE_TEST_SUITE_P(OverProxy, SimulatedCamera,
                         testing::Combine(testing::Values(proxy),
                                          testing::Values("OVRA-M5", "OVRA-M1", "OVRA-C5", "OVRA-S2",
                                                          "OVRA-F1", "OVRA-D1")),
                         NameOfCase);

TEST(FileOfSettings, NeedsNoDevice)
{
    const TextFile file("remote:\n  Width: 5\n");
    const auto content = ReadSettingsFile(file.Path());
    EXPECT_EQ(content.model, "");
    ASSERT_EQ(content.modules.size(), 1U);
    EXPECT_EQ(content.modules[0].settings[0].value, "5");
}

TEST(FileOfSettings, IsAFileOrAPipeOfLimitedSize)
{
    const TextFile file("");
    std::filesystem::resize_file(file.Path(), 17 << 20);
    EXPECT_EQ(FailureOf([&] { ReadSettingsFile(file.Path()); }).text,
              fmt::format("Cannot read {}: it has more than 16 MiB", file.Path().string()));
    EXPECT_EQ(FailureOf([] { ReadSettingsFile("/dev/zero"); }).text,
              "Cannot read /dev/zero: it is a device or a socket, and no file");
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const std::string text = "remote:\n  Width: 5\n";
    ASSERT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(ends[1]);
    EXPECT_EQ(ReadSettingsFile(fmt::format("/dev/fd/{}", ends[0])).modules.size(), 1U);
    close(ends[0]);
}

TEST(SettingsOfAnotherModel, GiveAWarning)
{
    LowerLibrary lower;
    Producer producer(lower.Path());
    OpenDevice device(producer, "cam0");
    const auto &entry = device.Entry();
    EXPECT_EQ(LoadSettings(device, {"", "", "", {}}).warning, "");
    EXPECT_EQ(LoadSettings(device, {"", entry.model, "", {}}).warning, "");
    EXPECT_EQ(
        LoadSettings(device, {"", "Other", "", {}}).warning,
        fmt::format("The settings are of a Other, and the device is a {} {}", entry.vendor, entry.model));
    EXPECT_NE(
        LoadSettings(device, {"Maker", "Other", "", {}}).warning.find("The settings are of a Maker Other"),
        std::string::npos);
}

TEST(SettingsCommand, SavesLoadsAndServesAGrab)
{
    const TextFile file("");
    const auto name = file.Path().string();
    const auto saved = gentlctl_run::Gentlctl("settings save " + name + " -d OVRA-F1");
    EXPECT_EQ(saved.status, 0) << saved.output;
    std::ofstream(name, std::ios::app) << "  OffsetX: 641\n";
    const auto loaded = gentlctl_run::Gentlctl("settings load " + name + " -d OVRA-M1");
    EXPECT_EQ(loaded.status, 1);
    for (const auto *line :
         {"gentlctl: The settings are of a QVR OVRA-F1, and the device is a QVR OVRA-M1\n",
          "gentlctl: OffsetX should be \"641\" and is \"0\": ", "SIM-SIM0002: ", " are as in "})
    {
        EXPECT_NE(loaded.output.find(line), std::string::npos) << loaded.output;
    }
    const auto grabbed = gentlctl_run::Gentlctl("grab -n 1 -d OVRA-F1 --settings " + name);
    EXPECT_EQ(grabbed.status, 1);
    EXPECT_NE(grabbed.output.find("1 of the settings in"), std::string::npos) << grabbed.output;
}

} // namespace
} // namespace gentlctl
