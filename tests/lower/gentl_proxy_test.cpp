#include "gentl_proxy.h"

#include "support/failure.h"
#include "support/lower_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

Failure FailureOfLoading(const std::string &path)
{
    return FailureOf([&] { const GenTLProxy proxy(path); });
}

TEST(LoadingALowerProducer, InitialisesItForTheVersionQueryOnly)
{
    const LowerLibrary lower;
    const GenTLProxy proxy(lower.Path());
    EXPECT_THAT(lower->calls, ElementsAre("GCInitLib", "GCGetInfo", "GCGetInfo", "GCCloseLib"));
    EXPECT_THAT(lower->infoCommands, ElementsAre(TL_INFO_GENTL_VER_MAJOR, TL_INFO_GENTL_VER_MINOR));
    EXPECT_EQ(lower->initialized, 0);
}

TEST(LoadingALowerProducer, TellsWhyAFileCannotBeLoaded)
{
    const auto failure = FailureOfLoading("/nowhere/x.cti");
    EXPECT_THAT(failure.text, StartsWith("Loading CTI /nowhere/x.cti failed! Code: /nowhere/x.cti: "));
    EXPECT_THAT(failure.text, testing::EndsWith("."));
    EXPECT_FALSE(failure.isGenTL);
}

TEST(LoadingALowerProducer, FailsWithoutItsLastError)
{
    const LowerLibrary lower("lower_without_last_error");
    EXPECT_EQ(FailureOfLoading(lower.Path()), (Failure{"Failed to initialize CTI!", GC_ERR_ERROR}));
}

TEST(LoadingALowerProducer, FailsWhenItCannotBeInitialised)
{
    const LowerLibrary lower;
    lower->FailNext("GCInitLib", GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(FailureOfLoading(lower.Path()), (Failure{"lower failed", GC_ERR_RESOURCE_IN_USE}));
}

TEST(LoadingALowerProducer, DoesNotAskForFunctionsOfALaterVersion)
{
    const LowerLibrary lower("lower_without_chunk_data");
    lower->versionMinor = 2;
    GenTLProxy proxy(lower.Path());
    size_t count = 0;
    EXPECT_EQ(
        FailureOf([&] { proxy.DSGetBufferChunkData(nullptr, nullptr, nullptr, &count); }),
        (Failure{"The instrumented TL (" + lower.Path() + ") does not implement DSGetBufferChunkData()!",
                 GC_ERR_NOT_IMPLEMENTED}));
}

TEST(LoadingALowerProducer, FailsWithoutAFunctionOfItsVersion)
{
    const LowerLibrary lower("lower_without_parent_tl");
    lower->versionMinor = 5;
    EXPECT_THAT(FailureOfLoading(lower.Path()).text,
                StartsWith("Computing address for function IFGetParentTL of cti " + lower.Path() +
                           " failed! Code: "));
}

TEST(LoadingALowerProducer, TakesTheMinorNumberAloneForAVersion)
{
    const LowerLibrary lower;
    lower->versionMajor = 2;
    lower->versionMinor = 0;
    GenTLProxy proxy(lower.Path());
    uint32_t count = 0;
    EXPECT_EQ(FailureOf([&] { proxy.GCGetNumPortURLs(nullptr, &count); }).code, GC_ERR_NOT_IMPLEMENTED);
}

class ProducerWithoutVersion : public testing::TestWithParam<GC_ERROR>
{
};

TEST_P(ProducerWithoutVersion, HasTheFunctionsUpTo14)
{
    const LowerLibrary lower("lower_without_parent_tl");
    lower->FailNext("GCGetInfo", GetParam());
    GenTLProxy proxy(lower.Path());
    uint32_t count = 0;
    EXPECT_EQ(FailureOf([&] { proxy.GCGetNumPortURLs(nullptr, &count); }), Failure{});
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(FailureOf([&] { proxy.DSGetParentDev(nullptr, &device); }), Failure{});
    EXPECT_EQ(FailureOf([&] { proxy.IFGetParentTL(nullptr, &device); }).code, GC_ERR_NOT_IMPLEMENTED);
    // There, but never bound.
    EXPECT_EQ(FailureOf([&] { proxy.DSGetNumBufferParts(nullptr, nullptr, &count); }).code,
              GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(FailureOf([&] { proxy.DSGetNumFlows(nullptr, &count); }).code, GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(lower->initialized, 0);
}

INSTANTIATE_TEST_SUITE_P(Codes, ProducerWithoutVersion,
                         testing::Values(GC_ERR_NOT_IMPLEMENTED, GC_ERR_INVALID_PARAMETER));

TEST(LoadingALowerProducer, FailsWhenTheVersionQueryFailsOtherwise)
{
    const LowerLibrary lower;
    lower->FailNext("GCGetInfo", GC_ERR_IO);
    EXPECT_EQ(FailureOfLoading(lower.Path()),
              PlainFailure("Querying " + lower.Path() + " for TL_INFO_GENTL_VER_MAJOR failed! Code: -1010."));
    EXPECT_EQ(lower->CountOf("GCCloseLib"), 1U);
    EXPECT_EQ(lower->initialized, 0);
}

TEST(LoadingALowerProducer, FailsAtTheCallWhenTheVersionIsUnknown)
{
    const LowerLibrary lower("lower_without_read_port");
    lower->FailNext("GCGetInfo", GC_ERR_NOT_IMPLEMENTED);
    GenTLProxy proxy(lower.Path());
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { proxy.GCReadPort(nullptr, 0, nullptr, &size); }),
              (Failure{"GCReadPort: Invalid function address", GC_ERR_ERROR}));
}

class LowerCall : public testing::Test
{
protected:
    LowerCall() : proxy(lower.Path()) {}

    LowerLibrary lower;
    GenTLProxy proxy;
};

TEST_F(LowerCall, ThatSucceedsGivesSuccess)
{
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(proxy.TLOpen(&handle), GC_ERR_SUCCESS);
    EXPECT_NE(handle, nullptr);
}

TEST_F(LowerCall, ThatFailsKeepsItsOwnCodeWhateverTheLastErrorSays)
{
    lower->FailNext("TLOpen", GC_ERR_TIMEOUT);
    lower->lastErrorCode = GC_ERR_ERROR;
    lower->lastErrorText = "too slow";
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { proxy.TLOpen(&handle); }), (Failure{"too slow", GC_ERR_TIMEOUT}));
}

TEST_F(LowerCall, ThatFailsWithoutATextIsAnUnknownError)
{
    lower->FailNext("TLOpen", GC_ERR_IO);
    lower->lastErrorText.clear();
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { proxy.TLOpen(&handle); }), (Failure{"Unknown error!", GC_ERR_IO}));
}

TEST_F(LowerCall, ThatFailsIsAnUnknownErrorWhenTheLastErrorFailsToo)
{
    lower->FailNext("TLOpen", GC_ERR_IO);
    lower->FailNext("GCGetLastError", GC_ERR_ERROR);
    TL_HANDLE handle = nullptr;
    EXPECT_EQ(FailureOf([&] { proxy.TLOpen(&handle); }), (Failure{"Unknown error!", GC_ERR_IO}));
}

TEST_F(LowerCall, OfGCCloseLibFailsWithTheLowerText)
{
    lower->FailNext("GCCloseLib", GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(FailureOf([&] { proxy.GCCloseLib(); }), (Failure{"lower failed", GC_ERR_NOT_INITIALIZED}));
}

TEST_F(LowerCall, ThatIsTriedGivesTheCodeAndAsksForNoText)
{
    lower->FailNext("TLGetNumInterfaces", GC_ERR_BUSY);
    uint32_t count = 0;
    EXPECT_EQ(proxy.TryTLGetNumInterfaces(nullptr, &count), GC_ERR_BUSY);
    EXPECT_EQ(proxy.TryTLGetNumInterfaces(nullptr, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(lower->CountOf("GCGetLastError"), 0U);
}

TEST(LowerOpening, IsToldOnceForEachModule)
{
    const LowerLibrary lower;
    int opened = 0;
    GenTLProxy proxy(lower.Path(), {}, [&] { ++opened; });
    proxy.GCInitLib();
    TL_HANDLE system = nullptr;
    proxy.TLOpen(&system);
    IF_HANDLE interface = nullptr;
    proxy.TLOpenInterface(system, "if0", &interface);
    EXPECT_EQ(opened, 2);
    for (int i = 0; i < 3; ++i)
    {
        for (const char *id : {"cam0", "other"})
        {
            DEV_HANDLE device = nullptr;
            proxy.IFOpenDevice(interface, id, DEVICE_ACCESS_CONTROL, &device);
            proxy.DevClose(device);
        }
    }
    EXPECT_EQ(opened, 4);
    EXPECT_NO_THROW(proxy.IFClose(interface));
    EXPECT_NO_THROW(proxy.TLClose(system));
}

TEST(TriedLowerCall, OfAMissingFunctionIsNotImplemented)
{
    const LowerLibrary lower("lower_without_chunk_data");
    lower->versionMinor = 2;
    GenTLProxy proxy(lower.Path());
    size_t count = 0;
    EXPECT_EQ(proxy.TryDSGetBufferChunkData(nullptr, nullptr, nullptr, &count), GC_ERR_NOT_IMPLEMENTED);
}

} // namespace
} // namespace GenTL::internal
