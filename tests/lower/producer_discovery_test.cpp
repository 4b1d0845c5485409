#include "lower/producer_discovery.h"

#include "support/environment_variable.h"
#include "support/failure.h"
#include "support/log_capture.h"
#include "utils/environment.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace GenTL::internal
{
namespace
{

namespace fs = std::filesystem;

class ProducerFolderTest : public testing::Test
{
protected:
    ProducerFolderTest()
        : folder(fs::temp_directory_path() / ("producers-" + std::to_string(getpid())) / "producer_registry")
    {
        fs::create_directories(folder);
    }
    ~ProducerFolderTest() override { fs::remove_all(folder.parent_path()); }

    void Add(const std::string &name) { std::ofstream(folder / name) << "x"; }
    std::string PathOf(const std::string &name) const { return (folder / name).string(); }
    std::string Find() const { return FindProducerIn(folder.string()); }

    fs::path folder;
};

TEST_F(ProducerFolderTest, GivesTheWantedFile)
{
    Add("qvr_gevgentl.pr_cti");
    EXPECT_EQ(Find(), PathOf("qvr_gevgentl.pr_cti"));
}

TEST_F(ProducerFolderTest, PrefersTheExactName)
{
    Add("x_qvr_gevgentl.pr_cti.cti");
    Add("qvr_gevgentl.pr_cti");
    EXPECT_EQ(Find(), PathOf("qvr_gevgentl.pr_cti"));
}

TEST_F(ProducerFolderTest, FindsARenamedCopyInAnyCase)
{
    Add("X_QVR_GevGenTL.PR_CTI.cti");
    EXPECT_EQ(Find(), PathOf("X_QVR_GevGenTL.PR_CTI.cti"));
}

TEST_F(ProducerFolderTest, GivesAFolderThatMatchesByPart)
{
    fs::create_directory(folder / "x_qvr_gevgentl.pr_cti.cti");
    EXPECT_EQ(Find(), PathOf("x_qvr_gevgentl.pr_cti.cti"));
}

TEST_F(ProducerFolderTest, FollowsALinkToTheWantedFile)
{
    Add("elsewhere");
    fs::create_symlink(folder / "elsewhere", folder / "qvr_gevgentl.pr_cti");
    EXPECT_EQ(Find(), PathOf("qvr_gevgentl.pr_cti"));
}

TEST_F(ProducerFolderTest, HasNothingInAFolderOfOtherProducers)
{
    Add("other.cti");
    EXPECT_EQ(Find(), "");
}

TEST_F(ProducerFolderTest, HasNothingForTheWantedNameInUpperCase)
{
    Add("QVR_GEVGENTL.PR_CTI");
    EXPECT_EQ(Find(), "");
}

TEST_F(ProducerFolderTest, HasNothingForAFolderOfTheWantedName)
{
    fs::create_directory(folder / "qvr_gevgentl.pr_cti");
    EXPECT_EQ(Find(), "");
}

TEST_F(ProducerFolderTest, HasNothingForTheExtensionInUpperCase)
{
    Add("x_qvr_gevgentl.pr_cti.CTI");
    EXPECT_EQ(Find(), "");
}

TEST_F(ProducerFolderTest, HasNothingWhenItIsAFile)
{
    fs::remove(folder);
    std::ofstream(folder) << "x";
    EXPECT_EQ(Find(), "");
}

TEST_F(ProducerFolderTest, HasNothingWhenItIsMissing)
{
    fs::remove(folder);
    EXPECT_EQ(Find(), "");
}

TEST(ProducerFolder, IsBesideTheLibrary)
{
    EXPECT_EQ(ProducerFolder("/opt/x/lib.cti"), "/opt/x/producer_registry");
    EXPECT_EQ(ProducerFolder("lib.cti"), "producer_registry");
    EXPECT_EQ(ProducerFolder(""), "producer_registry");
}

TEST(FindProducer, TakesTheEnvironmentsWordForIt)
{
    const EnvironmentVariable path("PROXY_TL_CTI_PATH", "/does/not//exist.cti");
    EXPECT_EQ(FindProducer(1), "/does/not//exist.cti");
    EXPECT_EQ(FindProducer(2), "/does/not//exist.cti");
}

TEST(FindProducer, TakesAnEmptyVariableForUnset)
{
    const EnvironmentVariable path("PROXY_TL_CTI_PATH", "");
    EXPECT_EQ(FailureOf([] { FindProducer(2); }), PlainFailure("Unhandled TlType"));
}

TEST(FindProducer, KnowsOneTransportLayer)
{
    EXPECT_EQ(FailureOf([] { FindProducer(0); }), PlainFailure("Unhandled TlType"));
}

// The program under test has no such folder beside it.
TEST(FindProducer, TellsThatNothingWasFound)
{
    const LogCapture log;
    EXPECT_EQ(FailureOf([] { FindProducer(1); }),
              (Failure{"Could not locate a CTI file for the requested transport layer.", GC_ERR_ERROR}));
    EXPECT_EQ(log.Lines(),
              std::vector{"debug: PROXY_TL_CTI_PATH is not set, and " + ProducerFolder(utils::GetOwnPath()) +
                          " holds no qvr_gevgentl.pr_cti"});
}

} // namespace
} // namespace GenTL::internal
