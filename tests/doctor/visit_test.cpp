// Producers loaded as the doctor loads them: in a process of their own, whatever they do there.

#include "doctor/surroundings.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace gentlctl
{
namespace
{

ProducerVisit Visit(const std::string &file)
{
    return OwnSurroundings("").visit(file);
}

TEST(Visit, ListsTheDevices)
{
    const auto visit = Visit(QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti");
    EXPECT_TRUE(visit.isLoaded);
    EXPECT_EQ(visit.problem, "");
    EXPECT_TRUE(visit.missing.empty());
    ASSERT_EQ(visit.devices.size(), 7U);
    EXPECT_FALSE(visit.devices[0].serialNumber.empty());
    EXPECT_FALSE(visit.name.empty());
}

TEST(Visit, HasTheLoadersTextAboutAFileThatDoesNotLoad)
{
    const auto file = testing::TempDir() + "/visited.cti";
    std::ofstream(file) << "text";
    const auto visit = Visit(file);
    EXPECT_FALSE(visit.isLoaded);
    EXPECT_EQ(visit.call, "dlopen");
    EXPECT_NE(visit.problem.find("file too short"), std::string::npos) << visit.problem;
}

TEST(Visit, NamesMissingExports)
{
    EXPECT_EQ(Visit(QVR_LIB_DIR "/test/lower_without_read_port.cti").missing,
              std::vector<std::string>{"GCReadPort"});
}

TEST(Visit, LivesThroughTheEndOfTheProcess)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "dies at start");
    const auto visit = Visit(QVR_LIB_DIR "/test/broken_producer.cti");
    EXPECT_TRUE(visit.isLoaded);
    EXPECT_EQ(visit.call, "GCInitLib");
    EXPECT_EQ(visit.problem, "ends the process: exit status 3");
}

TEST(Visit, HasTheTextOfAFailedCall)
{
    const GenTL::internal::EnvironmentVariable defect("BROKEN_DEFECT", "needs flag");
    const auto visit = Visit(QVR_LIB_DIR "/test/broken_producer.cti");
    EXPECT_EQ(visit.call, "IFUpdateDeviceList");
    EXPECT_NE(visit.problem.find("GC_ERR_INVALID_PARAMETER (-1009)"), std::string::npos) << visit.problem;
}

TEST(OwnSurroundings, LookLibrariesUpByName)
{
    const auto own = OwnSurroundings("");
    EXPECT_EQ(own.whyNotFound("libc.so.6"), std::nullopt);
    const auto reason = own.whyNotFound("libno_such_library.so.1");
    ASSERT_TRUE(reason.has_value());
    EXPECT_NE(reason->find("cannot open shared object file"), std::string::npos);
}

TEST(OwnSurroundings, AreThoseOfThisProcess)
{
    const GenTL::internal::EnvironmentVariable path("GENICAM_GENTL64_PATH", "/some:/where");
    const auto own = OwnSurroundings("named.cti");
    EXPECT_EQ(own.Variable("GENICAM_GENTL64_PATH"), "/some:/where");
    EXPECT_EQ(own.Variable("NO_SUCH_VARIABLE"), std::nullopt);
    EXPECT_EQ(own.producer, "named.cti");
    EXPECT_FALSE(own.Value("proc/self/status", "CapEff").empty());
}

} // namespace
} // namespace gentlctl
