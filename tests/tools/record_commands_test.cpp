#include "gentlctl_run.h"

#include "gentlctl/lens_calibration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

using namespace gentlctl_run;

namespace
{

std::string ContentOf(const fs::path &file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

constexpr auto small = " -s Width=64 -s Height=64 ";

} // namespace

TEST(RecordAndReplay, ShowTheSameCamera)
{
    const Folder folder;
    const auto depth = (folder.Path() / "depth").string();
    const auto recorded = JsonOf("record -d OVRA-D1 -n 3 -o " + depth + small);
    EXPECT_EQ(recorded["recorded"], 3);
    EXPECT_EQ(recorded["notRecorded"], 0);

    const auto info = JsonOf("replay --info --check " + depth);
    EXPECT_EQ(info[0]["model"], "OVRA-D1");
    EXPECT_EQ(info[0]["frames"], 3);
    EXPECT_EQ(info[0]["complete"], true);
    EXPECT_EQ(info[0]["files"], Json{"LensCalibrationData"});

    const auto grabbed = JsonOf("replay --rate 0 " + depth + " grab -n 5");
    EXPECT_EQ(grabbed["delivered"], 5);
    EXPECT_EQ(grabbed["incomplete"], 0);
    // The lens in the recording is the one that the replayed camera has.
    EXPECT_EQ(Gentlctl("replay " + depth + " calibration --yaml").output,
              ContentOf(depth + "/calibration.yaml"));
}

TEST(RecordAndReplay, TellWhatIsWrong)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto again = Gentlctl("record -d OVRA-M1 -n 1 -o " + mono);
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.output, "gentlctl: " + mono + " holds a recording already; name another folder\n");

    const auto set = Gentlctl("replay " + mono + " set Width=32");
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.output.find("Width is as it was recorded and cannot change"), std::string::npos)
        << set.output;

    fs::remove(mono + "/frames.data");
    const auto torn = Gentlctl("replay " + mono);
    EXPECT_EQ(torn.status, 1);
    EXPECT_EQ(torn.output,
              "gentlctl: " + mono + "/frames.data cannot be opened: No such file or directory\n");
}

TEST(RecordAndReplay, TellWhatIsDamaged)
{
    const Folder folder;
    const auto mono = (folder.Path() / "mono").string();
    EXPECT_EQ(JsonOf("record -d OVRA-M1 -n 1 -o " + mono + small)["recorded"], 1);
    const auto original = ContentOf(mono + "/description.zip");
    for (const auto size : {size_t{0}, original.size() / 2})
    {
        fs::resize_file(mono + "/description.zip", size);
        const auto run = Gentlctl("replay --check " + mono);
        EXPECT_EQ(run.status, 1);
        EXPECT_TRUE(run.output.starts_with("gentlctl: The description in " + mono + " is damaged: "))
            << run.output;
    }
    fs::remove(mono + "/description.zip");
    std::ofstream(mono + "/description.xml") << "<RegisterDescription><Group>";
    EXPECT_EQ(Gentlctl("replay --check " + mono).output.rfind("gentlctl: The description in ", 0), 0);

    std::ofstream(mono + "/description.xml") << "<RegisterDescription/>";
    EXPECT_EQ(Gentlctl("replay --check " + mono).status, 0);
    fs::resize_file(mono + "/frames.index", 30);
    EXPECT_EQ(Gentlctl("replay --info " + mono, "2>&1 >/dev/null").output,
              "gentlctl: " + mono +
                  " ends early: 0 frames can be replayed. Copy it again, or record again\n");
}

TEST(CalibrationYaml, HasFiveTermsOrEight)
{
    gentlctl::LensCalibration lens{640, 480, 525.5F, 524.25F, 322.75F, 238.5F, {-0.21F, 0.5F, 1, 2, 3}};
    EXPECT_EQ(ToYaml(lens, 0.5), "%YAML:1.0\n"
                                 "---\n"
                                 "image_width: 640\n"
                                 "image_height: 480\n"
                                 "camera_matrix: !!opencv-matrix\n"
                                 "   rows: 3\n"
                                 "   cols: 3\n"
                                 "   dt: d\n"
                                 "   data: [ 525.5, 0, 322.75, 0, 524.25, 238.5, 0, 0, 1 ]\n"
                                 "distortion_coefficients: !!opencv-matrix\n"
                                 "   rows: 5\n"
                                 "   cols: 1\n"
                                 "   dt: d\n"
                                 "   data: [ -0.21, 0.5, 1, 2, 3 ]\n"
                                 "depth_scale: 0.5\n");
    lens.distortion[6] = 0.25F;
    const auto wide = ToYaml(lens, std::nullopt);
    EXPECT_NE(wide.find("rows: 8\n   cols: 1\n   dt: d\n   data: [ -0.21, 0.5, 1, 2, 3, 0, 0.25, 0 ]\n"),
              std::string::npos)
        << wide;
    EXPECT_EQ(wide.find("depth_scale"), std::string::npos);
}
