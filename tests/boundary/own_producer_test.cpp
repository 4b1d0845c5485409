// The producer is configured as its own lower producer.

#include "consumer.h"

#include <gmock/gmock.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

namespace fs = std::filesystem;

class OwnProducer : public testing::Test
{
protected:
    OwnProducer()
        // On the file system of the producer, for a hard link to it.
        : folder(fs::path(QVR_LIB_DIR).parent_path() / ("own-producer-" + std::to_string(getpid()))),
          level("PROXY_TL_LOG_LEVEL", "error"), pattern("PROXY_TL_LOG_PATTERN", "%l %v")
    {
        fs::create_directories(folder);
        spdlog::drop("gentli_proxy");
        spdlog::register_logger(std::make_shared<spdlog::logger>(
            "gentli_proxy", std::make_shared<spdlog::sinks::ostream_sink_mt>(log)));
    }
    ~OwnProducer() override
    {
        gentl.GCCloseLib();
        spdlog::drop("gentli_proxy");
        spdlog::set_default_logger(before);
        fs::remove_all(folder);
    }

    GC_ERROR InitializeOver(const fs::path &path)
    {
        log.str("");
        const EnvironmentVariable ctiPath("PROXY_TL_CTI_PATH", path);
        return gentl.GCInitLib();
    }

    void ExpectNextOneWorks()
    {
        EXPECT_EQ(GetLastError().result, GC_ERR_NOT_INITIALIZED);
        EXPECT_EQ(InitializeOver(lower.Path()), GC_ERR_SUCCESS) << log.str();
        EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    }

    static std::string RefusalOf(const fs::path &path)
    {
        return "error " + path.string() +
               " is this producer itself! Set PROXY_TL_CTI_PATH to the producer of your cameras.\n";
    }

    void ExpectRefused(const fs::path &path)
    {
        EXPECT_EQ(InitializeOver(path), GC_ERR_ERROR);
        EXPECT_EQ(log.str(), RefusalOf(path));
        ExpectNextOneWorks();
    }

    const fs::path own = QVR_LIB_DIR "/qvr_proxygentl.cti";
    const fs::path folder;
    LowerLibrary lower;
    EnvironmentVariable level;
    EnvironmentVariable pattern;
    std::shared_ptr<spdlog::logger> before = spdlog::default_logger();
    std::ostringstream log;
    const Exports &gentl = Gentl();
};

TEST_F(OwnProducer, IsRefusedByItsFile)
{
    ExpectRefused(own);
}

TEST_F(OwnProducer, IsRefusedByALinkToIt)
{
    fs::create_symlink(own, folder / "link.cti");
    ExpectRefused(folder / "link.cti");
    fs::create_hard_link(own, folder / "hard.cti");
    ExpectRefused(folder / "hard.cti");
}

TEST_F(OwnProducer, IsRefusedAsACopy)
{
    fs::copy_file(own, folder / "copy.cti");
    ExpectRefused(folder / "copy.cti");
    ExpectRefused(folder / "copy.cti");
}

// The bytes of the other build differ, so this build loads it; the other build then refuses to load itself.
TEST_F(OwnProducer, IsRefusedAsAnotherBuildOfIt)
{
    const auto other = folder / "other.cti";
    fs::copy_file(own, other);
    std::ofstream(other, std::ios::binary | std::ios::app) << "another build";
    EXPECT_EQ(InitializeOver(other), GC_ERR_ERROR);
    EXPECT_THAT(log.str(), testing::StartsWith(RefusalOf(other)));
    ExpectNextOneWorks();
}

// The lower producer calls this producer again, like a chain of producers that leads back to the first one.
TEST_F(OwnProducer, IsRefusedBehindAnotherProducer)
{
    const EnvironmentVariable ctiPath("PROXY_TL_CTI_PATH", lower.Path());
    std::vector<GC_ERROR> nested;
    lower->onCall = [&](std::string_view name)
    {
        if (name == "GCInitLib")
        {
            nested.push_back(gentl.GCInitLib());
        }
    };
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << log.str();
    EXPECT_THAT(nested, testing::ElementsAre(GC_ERR_RESOURCE_IN_USE, GC_ERR_RESOURCE_IN_USE));
    EXPECT_THAT(log.str(), testing::StartsWith("error The lower producer leads back to this one! Set "
                                               "PROXY_TL_CTI_PATH to the producer of your cameras.\n"));
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    // A failure of the lower producer is passed on.
    lower->FailNext("GCInitLib", GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    lower->onCall = nullptr;
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS) << log.str();
}

} // namespace
} // namespace GenTL::internal
