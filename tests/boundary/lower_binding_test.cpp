// Each function of the published interface in a lower producer: the version that the producer reports decides
// whether the function is bound, and its operation calls this function and no other.

#include "gentl_proxy.h"

#include "support/failure.h"
#include "support/log_capture.h"
#include "support/lower_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

/// Calls an operation with arguments that are all zero: for functions that fail before they look at them.
template <typename... Parameters>
void CallWithZeros(GenTLProxy &proxy, GC_ERROR (GenTLProxy::*operation)(Parameters...))
{
    (proxy.*operation)(Parameters{}...);
}

struct Operation
{
    std::string name;
    std::string group;
    std::function<void(GenTLProxy &)> call;
};

const std::vector<Operation> operations{
#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments)                                                               \
    {#name, #group, [](GenTLProxy &proxy) { CallWithZeros(proxy, &GenTLProxy::name); }},
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY
};

/// The groups of functions that a proxy refuses as not implemented. Operations of other groups must reach
/// their function.
std::vector<std::string> RefusedGroups(GenTLProxy &proxy, const LowerLibrary &lower)
{
    std::vector<std::string> refused;
    for (const auto &operation : operations)
    {
        lower->calls.clear();
        lower->FailNext(operation.name, GC_ERR_BUSY);
        const auto failure = FailureOf([&] { operation.call(proxy); });
        lower->failures.clear();
        if (failure ==
            Failure{"The instrumented TL (" + lower.Path() + ") does not implement " + operation.name + "()!",
                    GC_ERR_NOT_IMPLEMENTED})
        {
            EXPECT_THAT(lower->calls, IsEmpty());
            if (refused.empty() || refused.back() != operation.group)
            {
                refused.push_back(operation.group);
            }
        }
        else
        {
            EXPECT_EQ(failure, (Failure{"lower failed", GC_ERR_BUSY})) << operation.name;
            EXPECT_THAT(lower->calls, ElementsAre(operation.name, "GCGetLastError", "GCGetLastError"));
            // Either all functions of a group are there, or none.
            EXPECT_TRUE(refused.empty() || refused.back() != operation.group) << operation.name;
        }
    }
    return refused;
}

struct Version
{
    uint32_t major;
    uint32_t minor;
    std::vector<std::string> refused;

    friend std::ostream &operator<<(std::ostream &stream, const Version &version)
    {
        return stream << version.major << '.' << version.minor;
    }
};

class LowerProducerOfVersion : public testing::TestWithParam<Version>
{
};

TEST_P(LowerProducerOfVersion, HasTheFunctionsOfItsMinorNumber)
{
    const LowerLibrary lower;
    lower->versionMajor = GetParam().major;
    lower->versionMinor = GetParam().minor;
    GenTLProxy proxy(lower.Path());
    EXPECT_EQ(RefusedGroups(proxy, lower), GetParam().refused);
}

const std::vector<std::string> all{"1_1", "1_3", "1_4", "1_5", "1_6"};

INSTANTIATE_TEST_SUITE_P(Versions, LowerProducerOfVersion,
                         testing::Values(Version{1, 0, all}, Version{1, 1, {"1_3", "1_4", "1_5", "1_6"}},
                                         Version{1, 2, {"1_3", "1_4", "1_5", "1_6"}},
                                         Version{1, 3, {"1_4", "1_5", "1_6"}}, Version{1, 4, {"1_5", "1_6"}},
                                         Version{1, 5, {"1_6"}}, Version{1, 6, {}}, Version{1, 9, {}},
                                         // The minor number decides, unless the major number is 0: unknown.
                                         Version{2, 0, all}, Version{2, 6, {}}, Version{0, 6, all}));

TEST(LowerProducerOfUnknownVersion, HasTheFunctionsUpToVersion14)
{
    for (const size_t queriesThatWork : {0U, 1U})
    {
        const LowerLibrary lower;
        for (size_t i = 0; i < queriesThatWork; ++i)
        {
            lower->FailNext("GCGetInfo", lower::works);
        }
        lower->FailNext("GCGetInfo", GC_ERR_NOT_IMPLEMENTED);
        GenTLProxy proxy(lower.Path());
        EXPECT_EQ(RefusedGroups(proxy, lower), (std::vector<std::string>{"1_5", "1_6"}));
    }
}

TEST(LowerProducerOfUnknownVersion, IsRefusedWhicheverQueryFails)
{
    const LowerLibrary lower;
    lower->FailNext("GCGetInfo", lower::works);
    lower->FailNext("GCGetInfo", GC_ERR_IO);
    EXPECT_EQ(FailureOf([&] { const GenTLProxy proxy(lower.Path()); }),
              PlainFailure("Querying " + lower.Path() + " for TL_INFO_GENTL_VER_MAJOR failed! Code: -1010."));
    EXPECT_EQ(lower->CountOf("GCCloseLib"), 1U);
}

class LogOfTheLowerProducer : public testing::Test
{
protected:
    LowerLibrary lower;
    LogCapture log;
};

TEST(LogOfTheLoading, NamesTheFunctionThatIsMissing)
{
    const LowerLibrary lower("lower_without_last_error");
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { const GenTLProxy proxy(lower.Path()); }),
              (Failure{"Failed to initialize CTI!", GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre(testing::StartsWith("debug: " + lower.Path() +
                                                             " has no function GCGetLastError: ")));
}

TEST_F(LogOfTheLowerProducer, TellsOfCallsThatFail)
{
    GenTLProxy proxy(lower.Path());
    lower->FailNext("EventFlush", GC_ERR_IO);
    EXPECT_EQ(FailureOf([&] { proxy.EventFlush(nullptr); }).code, GC_ERR_IO);
    EXPECT_THAT(log.Lines(), ElementsAre("error: EventFlush: lower failed (-1010)"));
}

TEST_F(LogOfTheLowerProducer, DoesNotTellThatItCannotBeClosed)
{
    GenTLProxy proxy(lower.Path());
    lower->FailNext("GCCloseLib", GC_ERR_IO);
    EXPECT_EQ(FailureOf([&] { proxy.GCCloseLib(); }).code, GC_ERR_IO);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(LogOfTheLowerProducer, DoesNotTellOfFunctionsThatItNeverHad)
{
    lower->versionMinor = 5;
    GenTLProxy proxy(lower.Path());
    uint32_t count = 0;
    EXPECT_EQ(FailureOf([&] { proxy.DSGetNumFlows(nullptr, &count); }).code, GC_ERR_NOT_IMPLEMENTED);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST(LogOfABaseFunctionThatIsMissing, TellsItsName)
{
    const LowerLibrary lower("lower_without_read_port");
    lower->FailNext("GCGetInfo", GC_ERR_NOT_IMPLEMENTED);
    GenTLProxy proxy(lower.Path());
    const LogCapture log;
    size_t size = 0;
    EXPECT_EQ(FailureOf([&] { proxy.GCReadPort(nullptr, 0, nullptr, &size); }).code, GC_ERR_ERROR);
    EXPECT_THAT(log.Lines(), ElementsAre("error: GCReadPort: Invalid function address"));
}

TEST(TextOfALowerFailure, IsUnknownWhenItCannotBeFetched)
{
    const LowerLibrary lower;
    GenTLProxy proxy(lower.Path());
    for (const auto *function : {"EventFlush", "GCCloseLib"})
    {
        lower->FailNext(function, GC_ERR_IO);
        lower->FailNext("GCGetLastError", lower::works);
        lower->FailNext("GCGetLastError", GC_ERR_ERROR);
        EXPECT_EQ(FailureOf(
                      [&]
                      {
                          proxy.EventFlush(nullptr);
                          proxy.GCCloseLib();
                      }),
                  (Failure{"Unknown error!", GC_ERR_IO}))
            << function;
    }
}

} // namespace
} // namespace GenTL::internal
