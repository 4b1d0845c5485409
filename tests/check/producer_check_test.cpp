// A producer with one defect at a time: the defect is found, and nothing else.

#include "check/file_checks.h"
#include "check/producer_check.h"
#include "support/environment_variable.h"
#include "support/failure.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

const std::string brokenProducer = QVR_LIB_DIR "/test/broken_producer.cti";
const std::string smallCamera = "OVRA-F1";
constexpr auto enoughTime = std::chrono::seconds(60);

/// What is bad, with what is known of the simulator left out: it wants four buffers.
Findings Bad(Findings findings)
{
    std::erase_if(
        findings, [](const Finding &finding)
        { return finding.level == Level::Fine || finding.call == "DSStartAcquisition with one buffer"; });
    return findings;
}

struct DefectCase
{
    std::string defect;
    std::string area;
    Level level;
    std::string call;
    std::string text;
    std::string hurts;
    std::string cure;
};

std::ostream &operator<<(std::ostream &out, const DefectCase &tried)
{
    return out << tried.defect;
}

class BrokenProducer : public testing::TestWithParam<DefectCase>
{
};

bool IsLike(const Finding &finding, const DefectCase &tried)
{
    const auto has = [](const std::string &text, const std::string &part)
    { return text.find(part) != std::string::npos; };
    return finding.level == tried.level && finding.area == tried.area && has(finding.call, tried.call) &&
           has(finding.text, tried.text) && has(finding.hurts, tried.hurts) && has(finding.cure, tried.cure);
}

TEST_P(BrokenProducer, IsFoundWithTheRightCure)
{
    const auto &tried = GetParam();
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", tried.defect);
    const auto limit = tried.defect == "hangs" ? std::chrono::seconds(10) : enoughTime;
    const auto findings = Bad(CheckProducer({brokenProducer, smallCamera, tried.area, limit}));
    EXPECT_TRUE(std::ranges::any_of(findings, [&](const Finding &finding) { return IsLike(finding, tried); }))
        << ReportText(findings);
    EXPECT_TRUE(std::ranges::all_of(
        findings, [&](const Finding &finding)
        { return finding.level == Level::NotChecked || finding.call.find(tried.call) != std::string::npos; }))
        << ReportText(findings);
}

/// "waits on" as "waitson".
std::string NameOf(const std::string &defect)
{
    auto name = defect;
    std::erase(name, ' ');
    return name;
}

INSTANTIATE_TEST_SUITE_P(
    EachDefect, BrokenProducer,
    testing::Values(DefectCase{"version two", "library", Level::Broken, "TL_INFO_GENTL_VER_MAJOR", "gives 2",
                               "by version", "answer 1"},
                    DefectCase{"initialises twice", "library", Level::WillHurt, "the second GCInitLib",
                               "succeeds", "two consumers", "GC_ERR_RESOURCE_IN_USE"},
                    DefectCase{"says nothing", "library", Level::WillHurt, "GCGetLastError", "has no text",
                               "users", "keep code and text"},
                    DefectCase{"needs time", "system", Level::WillHurt, "TLUpdateInterfaceList",
                               "GC_ERR_TIMEOUT", "rc_genicam_api", "answer with what is known"},
                    DefectCase{"writes behind", "system", Level::Broken, "TLGetInfo(",
                               "behind a buffer that is too small", "memory behind its buffer",
                               "compare *piSize"},
                    DefectCase{"wrong type", "interface", Level::WillHurt, "IFGetInfo(", "STRINGLIST",
                               "as the standard says", "the type that the standard gives"},
                    DefectCase{"no serial number", "interface", Level::Broken, "DEVICE_INFO_SERIAL_NUMBER",
                               "GC_ERR_NOT_AVAILABLE", "Aravis crashes", "before it is opened"},
                    DefectCase{"short reads", "device", Level::Broken, "GCReadPort of",
                               "GC_ERR_INVALID_PARAMETER", "reads the document in one call",
                               "the whole length"},
                    DefectCase{"no url", "stream", Level::Broken, "GCGetNumPortURLs", "tells 0", "index 0",
                               "URL of the description"},
                    DefectCase{"no time", "frame", Level::WillHurt, "BUFFER_INFO_TIMESTAMP_NS",
                               "GC_ERR_NOT_IMPLEMENTED", "gentlsrc", "time of its arrival"},
                    DefectCase{"too much filled", "frame", Level::Broken, "BUFFER_INFO_SIZE_FILLED",
                               "of a buffer of", "reads behind the buffer", "the bytes that were written"},
                    DefectCase{"no parts", "frame", Level::WillHurt, "DSGetNumBufferParts", "0 parts",
                               "Aravis", "as one part"},
                    DefectCase{"loses user pointer", "frame", Level::Broken, "EventGetData(EVENT_NEW_BUFFER)",
                               "another user pointer", "by the pointer", "pPrivate"},
                    DefectCase{"endless chunk", "frame", Level::Broken, "DSGetBufferChunkData",
                               "places chunk 0x1 outside", "behind the buffer", "within the delivered bytes"},
                    DefectCase{"countless chunks", "frame", Level::Broken, "",
                               "DSGetBufferChunkData places chunks in the buffer: an answer leads to",
                               "trusts the answer", "true sizes"},
                    DefectCase{"waits on", "event", Level::Broken, "EventKill", "does not end the wait",
                               "Aravis", "GC_ERR_ABORT"},
                    DefectCase{"hangs", "stream", Level::Broken, "IFGetParentTL", "does not return",
                               "every consumer", "which lock or thread"},
                    DefectCase{"crashes on null", "handles", Level::Broken, "TLGetNumInterfaces",
                               "ends the process (Killed)", "every consumer", "check arguments"}),
    [](const auto &row) { return NameOf(row.param.defect); });

/// The findings of one area, each as "call, hurts".
std::vector<std::string> CallsAndHurts(const std::string &defectName, const std::string &area)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", defectName);
    std::vector<std::string> lines;
    for (const auto &finding : Bad(CheckProducer({brokenProducer, smallCamera, area, enoughTime})))
    {
        lines.push_back(fmt::format("{}, {}", finding.call, finding.hurts));
    }
    return lines;
}

/// A defect, and what the consumers that meet it stumble over.
struct StopDefect
{
    std::string defect;
    std::vector<std::string> callsAndHurts;
};

std::ostream &operator<<(std::ostream &out, const StopDefect &tried)
{
    return out << tried.defect;
}

class StopOrders : public testing::TestWithParam<StopDefect>
{
};

TEST_P(StopOrders, TellWhomADefectHurts)
{
    EXPECT_EQ(CallsAndHurts(GetParam().defect, "start and stop"), GetParam().callsAndHurts);
}

const std::string again = "DSStartAcquisition at the second start and stop, ";

INSTANTIATE_TEST_SUITE_P(
    EachDefect, StopOrders,
    testing::Values(StopDefect{"keeps buffers",
                               {"DSRevokeBuffer, Harvesters", "DSRevokeBuffer at the end, Aravis",
                                "DSRevokeBuffer of the first by DSGetBufferID, rc_genicam_api"}},
                    StopDefect{"streams once",
                               {again + "Harvesters", again + "Aravis", again + "rc_genicam_api"}},
                    StopDefect{"keeps device",
                               {"DevClose with an open stream, rc_genicam_api",
                                "DSClose after DevClose, consumers that trust the code"}}),
    [](const auto &row) { return NameOf(row.param.defect); });

TEST(ProducerCheck, GoesOnAfterACrash)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "crashes on null");
    const auto findings = CheckProducer({brokenProducer, smallCamera, "handles", enoughTime});
    EXPECT_EQ(findings.back().text, "DSGetBufferSegmentInfo refuses null");
    EXPECT_EQ(std::ranges::count(findings, Level::Broken, &Finding::level), 1);
}

TEST(ProducerCheck, GivesUpOnAProducerThatNeverStarts)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "dies at start");
    const auto findings = CheckProducer({brokenProducer, smallCamera, "handles", enoughTime});
    EXPECT_EQ(std::ranges::count(findings, Level::Broken, &Finding::level), 3);
    EXPECT_EQ(findings.back().level, Level::NotChecked);
    EXPECT_EQ(findings.back().call, "GCInitLib");
}

TEST(ProducerCheck, SaysWhyItDidNotCheck)
{
    const auto findings = CheckProducer({brokenProducer, "no such camera", "frame", enoughTime});
    ASSERT_FALSE(findings.empty());
    for (const auto &finding : findings)
    {
        EXPECT_EQ(finding.level, Level::NotChecked);
        EXPECT_NE(finding.text.find("no device \"no such camera\""), std::string::npos) << finding.text;
    }
}

TEST(DeviceToCheck, IsFoundAsByEveryCommand)
{
    EXPECT_EQ(DeviceToCheck({brokenProducer, "ovra-f1", "", enoughTime}), "SIM-SIM0006");
    EXPECT_TRUE(GenTL::internal::FailureOf(
                    [] {
                        DeviceToCheck({brokenProducer, "no such camera", "", enoughTime});
                    })
                    .text.starts_with("There is no device \"no such camera\". Known: SIM-SIM0001"));
}

TEST(DeviceToCheck, IsLeftToTheCheckWhenTheProducerFails)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "dies at start");
    EXPECT_EQ(DeviceToCheck({brokenProducer, "OVRA-F1", "", enoughTime}), "OVRA-F1");
}

TEST(FileCheck, FindsMissingAndMisspeltExports)
{
    const auto findings = CheckFile(QVR_LIB_DIR "/test/broken_exports.cti");
    ASSERT_EQ(findings.size(), 2U) << ReportText(findings);
    EXPECT_EQ(findings[0].call, "DSRevokeBuffer");
    EXPECT_EQ(findings[0].level, Level::Broken);
    EXPECT_NE(findings[0].cure.find("export DSRevokeBuffer"), std::string::npos);
    EXPECT_EQ(findings[1].call, "DSRevokeBufer");
    EXPECT_NE(findings[1].cure.find("misspelt"), std::string::npos);
}

TEST(FileCheck, MissesTheExportsOfTheVersionThatIsTold)
{
    const auto findings =
        Bad(CheckProducer({QVR_LIB_DIR "/test/broken_exports.cti", smallCamera, "library", enoughTime}));
    ASSERT_EQ(findings.size(), 2U) << ReportText(findings);
    EXPECT_EQ(findings[0].call, "DSRevokeBuffer");
    EXPECT_EQ(findings[1].call, "DSGetNumFlows");
    EXPECT_NE(findings[1].cure.find("or answer the version"), std::string::npos);
}

TEST(FileCheck, FindsWhatIsNoLibrary)
{
    const auto file = testing::TempDir() + "/no_library.cti";
    std::ofstream(file) << "text";
    const auto findings = CheckProducer({file, "", "", enoughTime});
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].level, Level::Broken);
    EXPECT_NE(findings[0].text.find("is no shared library"), std::string::npos);
}

TEST(LoadingCheck, FindsAProducerThatDiesAtExit)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "dies at exit");
    const auto findings = Bad(CheckLoading(brokenProducer, enoughTime));
    ASSERT_EQ(findings.size(), 1U) << ReportText(findings);
    EXPECT_EQ(findings[0].call, "exit without GCCloseLib");
    EXPECT_NE(findings[0].hurts.find("Aravis"), std::string::npos);
    EXPECT_NE(findings[0].cure.find("atexit"), std::string::npos);
}

TEST(LoadingCheck, FindsAProducerThatDiesWhenItIsUnloaded)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "dies at unloading");
    const auto findings = Bad(CheckLoading(brokenProducer, enoughTime));
    ASSERT_EQ(findings.size(), 3U) << ReportText(findings);
    EXPECT_EQ(findings[0].text, "dlclose ends the process: Killed");
    EXPECT_NE(findings[0].cure.find("unregister what calls code"), std::string::npos);
}

TEST(LoadingCheck, FindsAProducerThatCannotBeClosedAndOpened)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "starts once");
    const auto findings = Bad(CheckProducer({brokenProducer, smallCamera, "library", enoughTime}));
    ASSERT_FALSE(findings.empty());
    EXPECT_TRUE(std::ranges::any_of(findings,
                                    [](const Finding &finding) {
                                        return finding.level == Level::Broken &&
                                               finding.cure.find("before GCInitLib") != std::string::npos;
                                    }))
        << ReportText(findings);
}

} // namespace
} // namespace gentlctl
