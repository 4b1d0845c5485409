// Mode, formats, components, region and binning of the depth camera change in every order, and while frames
// come: the producer delivers what it announces.

#include "depth_axis.h"
#include "depth_points.h"
#include "support/failure.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace chain
{
namespace
{

using internal::FailureOf;
using Features = gentlctl::Features;

const std::vector<std::string> components{"Range", "Intensity", "Confidence"};

struct Format
{
    uint64_t code;
    size_t bytes; // of a pixel
};

Format FormatOf(const std::string &name)
{
    static const std::map<std::string, Format> formats{
        {"Coord3D_C8", {coord3dC8, 1}},     {"Coord3D_C16", {coord3dC16, 2}},
        {"Coord3D_C32f", {coord3dC32f, 4}}, {"Coord3D_ABC32f", {coord3dAbc32f, 12}},
        {"Mono8", {0x01080001, 1}},         {"Confidence8", {0x010800C6, 1}}};
    return formats.at(name);
}

size_t DataTypeOf(const std::string &component)
{
    static const std::map<std::string, size_t> types{{"Range", PART_DATATYPE_3D_IMAGE},
                                                     {"Intensity", PART_DATATYPE_2D_IMAGE},
                                                     {"Confidence", PART_DATATYPE_CONFIDENCE_MAP}};
    return types.at(component);
}

/// What the features say about the frames to come.
struct Announced
{
    explicit Announced(const Features &remote)
    {
        const auto selected = remote.Get("ComponentSelector").get<std::string>();
        for (const auto &component : components)
        {
            remote.Set("ComponentSelector", component);
            const auto format = remote.Get("PixelFormat").get<std::string>();
            const auto available = remote.AvailableEntries("PixelFormat");
            EXPECT_NE(std::find(available.begin(), available.end(), format), available.end()) << component;
            if (remote.Get("ComponentEnable").get<bool>())
            {
                enabled.push_back(component);
                formats.push_back(FormatOf(format));
            }
        }
        remote.Set("ComponentSelector", selected);
        const auto number = [&remote](const char *name) { return static_cast<int>(remote.GetInteger(name)); };
        view = {"",
                number("BinningHorizontal"),
                number("BinningVertical"),
                number("DecimationHorizontal"),
                number("DecimationVertical"),
                number("Width"),
                number("Height"),
                number("OffsetX"),
                number("OffsetY")};
        mode = remote.Get("Scan3dOutputMode").get<std::string>();
    }

    size_t Pixels() const { return static_cast<size_t>(view.width) * static_cast<size_t>(view.height); }

    std::vector<std::string> enabled;
    std::vector<Format> formats; // of the enabled components
    View view;
    std::string mode;
};

/// Compares the layout of a frame with the announced one. Returns the bytes of its images.
size_t ExpectLayout(const Shot &shot, const Announced &announced)
{
    const bool isAlone = announced.enabled.size() == 1;
    EXPECT_EQ(shot.payloadType, static_cast<size_t>(isAlone ? PAYLOAD_TYPE_IMAGE : PAYLOAD_TYPE_MULTI_PART));
    EXPECT_EQ(shot.parts.size(), announced.enabled.size());
    size_t size = 0;
    for (size_t i = 0; i < std::min(shot.parts.size(), announced.enabled.size()); ++i)
    {
        const auto &part = shot.parts[i];
        EXPECT_EQ(part.pixelFormat, announced.formats[i].code) << announced.enabled[i];
        EXPECT_EQ(part.width, static_cast<size_t>(announced.view.width));
        EXPECT_EQ(part.height, static_cast<size_t>(announced.view.height));
        EXPECT_EQ(part.bytes.size(), announced.Pixels() * announced.formats[i].bytes);
        EXPECT_EQ(part.offset, size);
        if (!isAlone)
        {
            EXPECT_EQ(part.dataType, DataTypeOf(announced.enabled[i]));
        }
        size += part.bytes.size();
    }
    EXPECT_EQ(shot.sizeFilled, size);
    return size;
}

/// The bytes of PayloadSize for a range that is not enabled: the processing keeps room for what it adds to
/// it.
size_t RoomForAbsentRange(const Announced &announced)
{
    const bool isThere = std::ranges::count(announced.enabled, "Range") != 0;
    const size_t added = announced.mode == "UncalibratedC" ? 0 : announced.mode == "CalibratedC" ? 2 : 10;
    return isThere ? 0 : added * announced.Pixels();
}

/// Expects the middle pixel of a range image to show the plane at its depth.
void ExpectDepth(const Features &remote, const ShotPart &range, const Announced &announced)
{
    const auto &view = announced.view;
    const auto column = static_cast<size_t>(view.width / 2);
    const auto row = static_cast<size_t>(view.height / 2);
    const size_t i = row * static_cast<size_t>(view.width) + column;
    const auto ray = RayOf(PlaceOf(view, column, row));
    ASSERT_TRUE(ShowsPlaneAlone(ray) && DistanceFromBand(ray) > 2 * halfBand) << "choose another region";
    const Axis c(remote, "CoordinateC");
    double depth = 0;
    if (range.pixelFormat == coord3dC16)
    {
        depth = c.Of(ValueAt<uint16_t>(range, i));
    }
    else
    {
        const bool isGrid = range.pixelFormat == coord3dAbc32f;
        depth = c.Of(ValueAt<float>(range, isGrid ? 3 * i + 2 : i));
    }
    const double known = OnPlane(ray).z;
    // The raw image has distortion, so the pixel shows a place beside the expected one.
    EXPECT_NEAR(depth, known, (announced.mode == "UncalibratedC" ? 0.01 : 0.004) * known);
}

void ExpectConsistency(Camera &camera)
{
    const auto &remote = camera.Remote();
    const Announced announced(remote);
    const auto payloadSize = static_cast<size_t>(remote.GetInteger("PayloadSize"));
    EXPECT_EQ(camera.PayloadSize(), payloadSize);
    const auto shot = TakeShot(camera);
    const auto size = ExpectLayout(shot, announced);
    EXPECT_EQ(payloadSize, size + RoomForAbsentRange(announced));
    if (announced.enabled.front() == "Range" && !shot.parts.empty())
    {
        ExpectDepth(remote, shot.parts.front(), announced);
    }
}

void Enable(const Features &remote, const std::string &component, bool isOn)
{
    remote.Set("ComponentSelector", component);
    remote.Set("ComponentEnable", isOn ? "1" : "0");
    EXPECT_EQ(remote.Get("ComponentEnable").get<bool>(), isOn) << component;
}

/// Enables the wanted components first, because at least one must stay enabled.
void EnableOnly(const Features &remote, const std::vector<std::string> &wanted)
{
    for (const auto &component : wanted)
    {
        Enable(remote, component, true);
    }
    for (const auto &component : components)
    {
        Enable(remote, component, std::ranges::count(wanted, component) != 0);
    }
}

/// Chooses every available format of every component, one after the other.
void ChooseAllFormats(const Features &remote, bool isForward)
{
    auto order = components;
    if (!isForward)
    {
        std::ranges::reverse(order);
    }
    for (const auto &component : order)
    {
        remote.Set("ComponentSelector", component);
        for (const auto &format : remote.AvailableEntries("PixelFormat"))
        {
            remote.Set("PixelFormat", format);
        }
    }
}

/// A change of features that can be taken back.
struct Step
{
    const char *name;
    std::function<void(const Features &, bool isForward)> go;
};

struct Goal
{
    std::string name;
    std::string mode;
    std::vector<std::string> components;
};

void PrintTo(const Goal &goal, std::ostream *stream)
{
    *stream << goal.name;
}

std::array<Step, 5> StepsTo(const Goal &goal)
{
    const auto set = [](const Features &remote, const char *feature, int value)
    { remote.Set(feature, std::to_string(value)); };
    return {Step{"mode", [goal](const Features &remote, bool isForward)
                 { remote.Set("Scan3dOutputMode", isForward ? goal.mode : "CalibratedABC_Grid"); }},
            Step{"formats", ChooseAllFormats},
            Step{"components", [goal](const Features &remote, bool isForward)
                 { EnableOnly(remote, isForward ? goal.components : std::vector<std::string>{"Range"}); }},
            Step{"region",
                 [set](const Features &remote, bool isForward)
                 {
                     set(remote, "Height", isForward ? 32 : 40);
                     set(remote, "OffsetX", isForward ? 100 : 150);
                     set(remote, "Width", isForward ? 48 : 64);
                 }},
            Step{"binning", [set](const Features &remote, bool isForward)
                 {
                     set(remote, "BinningHorizontal", isForward ? 2 : 1);
                     set(remote, "DecimationVertical", isForward ? 2 : 1);
                     // Moves the region up, because the picture is smaller.
                     set(remote, "OffsetY", isForward ? 130 : 270);
                 }}};
}

class ChangesTo : public testing::TestWithParam<Goal>
{
};

TEST_P(ChangesTo, LeaveTheSameInEveryOrder)
{
    DepthCamera opened(proxyProducer);
    auto &camera = opened.camera;
    const auto &remote = camera.Remote();
    Use(camera, {"", 1, 1, 1, 1, 32, 20, 150, 270});
    ExpectConsistency(camera);
    const auto steps = StepsTo(GetParam());
    std::set<std::string> seen; // sequences of steps checked already: many orders begin alike
    std::array<size_t, 5> order{0, 1, 2, 3, 4};
    // A sanitizer looks for other faults than a wrong order, and would take a minute for all of them.
    const size_t step = hasSanitizer ? 23 : 1;
    for (size_t number = 0; number < 120; ++number, std::next_permutation(order.begin(), order.end()))
    {
        if (number % step != 0)
        {
            continue;
        }
        std::string way;
        for (const bool isForward : {true, false})
        {
            for (const size_t i : order)
            {
                way += std::string(isForward ? " " : " back ") + steps.at(i).name;
                SCOPED_TRACE(way);
                steps.at(i).go(remote, isForward);
                if (seen.insert(way).second)
                {
                    ExpectConsistency(camera);
                }
                if (HasFailure())
                {
                    FAIL() << "after" << way;
                }
            }
            EXPECT_EQ(remote.Get("Scan3dOutputMode"), isForward ? GetParam().mode : "CalibratedABC_Grid");
        }
    }
    EXPECT_TRUE(std::ranges::is_sorted(order)) << "not all orders were taken";
}

INSTANTIATE_TEST_SUITE_P(Goals, ChangesTo,
                         testing::Values(Goal{"CalibratedAll", "CalibratedC", components},
                                         Goal{"UncalibratedAll", "UncalibratedC", components},
                                         Goal{"CalibratedIntensity", "CalibratedC", {"Intensity"}},
                                         Goal{
                                             "UncalibratedTwo", "UncalibratedC", {"Intensity", "Confidence"}},
                                         Goal{"GridConfidence", "CalibratedABC_Grid", {"Confidence"}}),
                         [](const auto &instance) { return instance.param.name; });

/// A change that is refused while frames may be under way.
struct Change
{
    std::string feature;
    std::string value;
    std::string component = "Range";      // the selected component
    std::string text = "is locked while"; // part of the failure's text; by default from the camera
};

void PrintTo(const Change &change, std::ostream *stream)
{
    *stream << change.feature << " to " << change.value << " of " << change.component;
}

/// A running acquisition of the enabled components.
class Acquisition
{
public:
    explicit Acquisition(Camera &camera) : m_camera(camera)
    {
        camera.Remote().Set("AcquisitionMode", "Continuous");
        camera.AnnounceAndQueue(4);
        camera.RegisterEvent();
        camera.Start();
    }
    Acquisition(const Acquisition &) = delete;
    Acquisition &operator=(const Acquisition &) = delete;

    ~Acquisition() { StopAndRevoke(m_camera); }

    /// Takes more frames than there are buffers, so that some of them begin after this call.
    void ExpectFrames(const Announced &announced)
    {
        for (int i = 0; i < 6; ++i)
        {
            auto *const buffer = m_camera.Take();
            ExpectLayout(Describe(m_camera, buffer), announced);
            m_camera.Give(buffer);
        }
    }

private:
    Camera &m_camera;
};

class ChangeInFlight : public testing::TestWithParam<Change>
{
};

TEST_P(ChangeInFlight, IsRefusedAndPossibleAfterwards)
{
    const auto &change = GetParam();
    DepthCamera opened(proxyProducer);
    auto &camera = opened.camera;
    const auto &remote = camera.Remote();
    Use(camera, {"", 1, 1, 1, 1, 64, 40, 150, 270});
    UseAllComponents(camera);
    const Announced announced(remote);
    const auto payloadSize = remote.GetInteger("PayloadSize");
    {
        Acquisition acquisition(camera);
        acquisition.ExpectFrames(announced);
        remote.Set("ComponentSelector", change.component);
        const auto failure = FailureOf([&] { remote.Set(change.feature, change.value); });
        EXPECT_EQ(failure.code, GC_ERR_ACCESS_DENIED) << failure;
        EXPECT_NE(failure.text.find(change.text), std::string::npos) << failure.text;
        EXPECT_EQ(remote.GetInteger("PayloadSize"), payloadSize);
        acquisition.ExpectFrames(Announced(remote));
        acquisition.ExpectFrames(announced);
    }
    remote.Set("ComponentSelector", change.component);
    remote.Set(change.feature, change.value);
    ExpectConsistency(camera);
}

const std::string frozenFormat = "Cannot change PixelFormat while acquisition is running!";
const std::string frozenMode = "Cannot change Scan3dOutputMode while acquisition is running!";

INSTANTIATE_TEST_SUITE_P(Changes, ChangeInFlight,
                         testing::Values(Change{"Scan3dOutputMode", "UncalibratedC", "Range", frozenMode},
                                         Change{"Scan3dOutputMode", "CalibratedC", "Intensity", frozenMode},
                                         Change{"PixelFormat", "Coord3D_ABC32f", "Range", frozenFormat},
                                         Change{"PixelFormat", "Mono8", "Intensity", frozenFormat},
                                         Change{"PixelFormat", "Confidence8", "Confidence", frozenFormat},
                                         Change{"ComponentEnable", "0", "Range"},
                                         Change{"ComponentEnable", "0", "Intensity"},
                                         Change{"ComponentEnable", "0", "Confidence"}, Change{"Width", "48"},
                                         Change{"Height", "32"}, Change{"OffsetX", "100"},
                                         Change{"OffsetY", "272"}, Change{"BinningHorizontal", "2"},
                                         Change{"DecimationVertical", "2"}, Change{"UserSetLoad", "1"}),
                         [](const auto &instance) {
                             return instance.param.feature + instance.param.component + instance.param.value;
                         });

class LoadedUserSet : public testing::TestWithParam<std::string>
{
};

TEST_P(LoadedUserSet, RefreshesWhatEveryModeDelivers)
{
    DepthCamera opened(proxyProducer);
    auto &camera = opened.camera;
    const auto &remote = camera.Remote();
    Use(camera, {"", 1, 1, 1, 1, 64, 40, 150, 270});
    UseAllComponents(camera);
    const std::map<std::string, double> scales{{"Default", 0.5}, {"UserSet0", 0.125}, {"UserSet1", 8.0}};
    // Covers the change from each set to each other and to itself.
    for (const auto *userSet :
         {"Default", "UserSet0", "UserSet1", "UserSet1", "UserSet0", "Default", "UserSet1", "Default"})
    {
        SCOPED_TRACE(userSet);
        remote.Set("Scan3dOutputMode", GetParam());
        remote.Set("UserSetSelector", userSet);
        remote.Execute("UserSetLoad");
        EXPECT_EQ(remote.Get("Scan3dOutputMode"), GetParam());
        const Axis c(remote, "CoordinateC");
        EXPECT_EQ(c.scale, GetParam() == "UncalibratedC" ? scales.at(userSet) : 1);
        ExpectConsistency(camera);
        // A mode that was not selected at the load is refreshed, too.
        remote.Set("Scan3dOutputMode", GetParam() == "CalibratedC" ? "CalibratedABC_Grid" : "CalibratedC");
        ExpectConsistency(camera);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, LoadedUserSet,
                         testing::Values("UncalibratedC", "CalibratedC", "CalibratedABC_Grid"),
                         [](const auto &instance) { return instance.param; });

} // namespace
} // namespace chain
