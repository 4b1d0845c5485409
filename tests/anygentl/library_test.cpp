// The library as a whole: who it says it is, what it needs below, what it tells of a failure.

#include "any_producer.h"

#include <gmock/gmock.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>

namespace GenTL::internal
{
namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

using AnyLibrary = AnyProducer;

TEST_F(AnyLibrary, HasNamesOfItsOwn)
{
    Initialize();
    EXPECT_EQ(Info(TL_INFO_ID), "Any Camera Transport Layer");
    EXPECT_EQ(Info(TL_INFO_MODEL), "Any Camera Transport Layer");
    EXPECT_EQ(Info(TL_INFO_DISPLAYNAME), "QVR Any Camera Transport Layer");
    EXPECT_EQ(Info(TL_INFO_NAME), "qvr_anygentl.cti");
}

TEST_F(AnyLibrary, LeavesTheLogOfTheHostAlone)
{
    const EnvironmentVariable level("ANYGENTL_LOG_LEVEL", "off");
    const auto before = spdlog::default_logger();
    const auto levelBefore = before->level();
    Initialize();
    EXPECT_EQ(spdlog::default_logger(), before);
    EXPECT_EQ(before->level(), levelBefore);
    EXPECT_EQ(spdlog::get("qvr_anygentl"), nullptr);
}

TEST_F(AnyLibrary, WritesToItsOwnLog)
{
    const EnvironmentVariable level("ANYGENTL_LOG_LEVEL", "error");
    const EnvironmentVariable pattern("ANYGENTL_LOG_PATTERN", "any: %v");
    Initialize();
    testing::internal::CaptureStdout();
    gentl.TLClose(this);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith("any: "));
}

TEST_F(AnyLibrary, DoesNotLogAMissingAnswer)
{
    const EnvironmentVariable level("ANYGENTL_LOG_LEVEL", "error");
    Initialize();
    testing::internal::CaptureStdout();
    size_t size = 0;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(gentl.GCGetInfo(12345, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(AnyLibrary, TellsWhyItsInitialisationFailed)
{
    const EnvironmentVariable nowhere("ANYGENTL_CTI_PATH", "/nowhere/camera.cti");
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_ERROR);
    const auto error = Error();
    EXPECT_EQ(error.result, GC_ERR_SUCCESS);
    EXPECT_EQ(error.code, GC_ERR_ERROR);
    EXPECT_THAT(error.text, StartsWith("GCInitLib Error: Cannot load /nowhere/camera.cti: "));
}

TEST_F(AnyLibrary, PassesOnWhyTheLowerInitialisationFailed)
{
    lower->FailNext("GCInitLib", GC_ERR_IO);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_IO);
    EXPECT_EQ(Error(), (LastError{GC_ERR_SUCCESS, GC_ERR_IO,
                                  "GCInitLib Error: " + std::string(lower.Path()) +
                                      ": GCInitLib failed: lower failed (-1010)"}));
    Initialize();
}

TEST_F(AnyLibrary, SaysThatThereIsNoLowerProducer)
{
    const EnvironmentVariable unset("ANYGENTL_CTI_PATH", "");
    const auto folder = fs::temp_directory_path() / ("any-alone-" + std::to_string(getpid()));
    fs::create_directories(folder);
    fs::copy_file(QVR_LIB_DIR "/anygentl/qvr_anygentl.cti", folder / "alone.cti");
    const Exports alone(dlopen((folder / "alone.cti").c_str(), RTLD_NOW | RTLD_LOCAL));
    EXPECT_EQ(alone.GCInitLib(), GC_ERR_ERROR);
    std::string text(512, '\0');
    size_t size = text.size();
    GC_ERROR code{};
    EXPECT_EQ(alone.GCGetLastError(&code, text.data(), &size), GC_ERR_SUCCESS);
    EXPECT_THAT(text, HasSubstr("No lower GenTL producer found: ANYGENTL_CTI_PATH is not set and " +
                                (folder / "producer_registry").string() + " has none."));
    fs::remove_all(folder);
}

TEST_F(AnyLibrary, RefusesItselfAsItsLowerProducer)
{
    const EnvironmentVariable itself("ANYGENTL_CTI_PATH", QVR_LIB_DIR "/anygentl/qvr_anygentl.cti");
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_INVALID_PARAMETER);
    EXPECT_THAT(Error().text,
                HasSubstr("is this producer. Set ANYGENTL_CTI_PATH to the .cti of your camera's maker."));
}

TEST_F(AnyLibrary, StandsOnTheOtherProducer)
{
    const EnvironmentVariable other("ANYGENTL_CTI_PATH", QVR_LIB_DIR "/qvr_proxygentl.cti");
    const EnvironmentVariable lowest("PROXY_TL_CTI_PATH", lower.Path());
    Initialize();
    EXPECT_NE(OpenSystem(), nullptr);
}

TEST_F(AnyLibrary, WorksBesideTheOtherProducer)
{
    const auto second = fs::temp_directory_path() / ("any-second-" + std::to_string(getpid()) + ".cti");
    fs::copy_file(lower.Path(), second, fs::copy_options::overwrite_existing);
    const EnvironmentVariable lowest("PROXY_TL_CTI_PATH", second);
    ASSERT_EQ(Gentl().GCInitLib(), GC_ERR_SUCCESS);
    Initialize();
    EXPECT_EQ(Info(TL_INFO_ID), "Any Camera Transport Layer");
    EXPECT_EQ(Gentl().GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_NE(OpenSystem(), nullptr);
    fs::remove(second);
}

TEST_F(AnyLibrary, NeedsNoFunctionThatOnlyAnswers)
{
    const LowerLibrary older("lower_without_parent_tl");
    const EnvironmentVariable path("ANYGENTL_CTI_PATH", older.Path());
    Initialize();
    EXPECT_NE(OpenInterface(OpenSystem()), nullptr);
}

TEST_F(AnyLibrary, NamesTheFunctionsThatItNeeds)
{
    const LowerLibrary torn("lower_without_read_port");
    const EnvironmentVariable path("ANYGENTL_CTI_PATH", torn.Path());
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_ERROR);
    EXPECT_THAT(Error().text,
                HasSubstr("lower_without_read_port.cti lacks GCReadPort, which every producer needs."));
}

TEST_F(AnyLibrary, SharesALowerLibraryThatIsOpen)
{
    lower->FailNext("GCInitLib", GC_ERR_RESOURCE_IN_USE);
    Initialize();
    OpenSystem();
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(lower->CountOf("GCCloseLib"), 0U);
}

TEST_F(AnyLibrary, NeedsNoVisionLibrary)
{
    vision->failures["Init"].push_back(1);
    Initialize();
    EXPECT_NE(OpenSystem(), nullptr);
}

} // namespace
} // namespace GenTL::internal
