// The producers of this project: nothing is broken, and what will hurt is what the documents say.

#include "check/producer_check.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace gentlctl
{
namespace
{

using CallSet = std::set<std::string>;

struct OwnCase
{
    std::string name;
    std::string file;
    std::string device;
    std::string area; ///< empty: all
    CallSet willHurt; ///< the calls
};

std::ostream &operator<<(std::ostream &out, const OwnCase &tried)
{
    return out << tried.name;
}

const CallSet ofBoth{"DevOpenDataStream with an unknown id", "the second GCUnregisterEvent",
                     "EventGetData of an event that has ended"};
const CallSet ofProxy{"DSGetBufferInfo(BUFFER_INFO_TIMESTAMP_NS)", "DSGetNumBufferParts",
                      "DSStartAcquisition with one buffer"};
const CallSet ofSimulator{"qvr_gevgentl.pr_cti", "DSStartAcquisition with one buffer"};
const CallSet ofTail{"local:///WIDE-G2.zip;100000;2000?SchemaVersion=1.1.0"};

CallSet Union(CallSet first, const CallSet &second)
{
    first.insert(second.begin(), second.end());
    return first;
}

class OwnProducer : public testing::TestWithParam<OwnCase>
{
};

TEST_P(OwnProducer, HasNothingBroken)
{
    const auto &tried = GetParam();
    const GenTL::internal::EnvironmentVariable wide("QVR_SIM_WIDE", "1");
    const auto findings =
        CheckProducer({QVR_LIB_DIR "/" + tried.file, tried.device, tried.area, std::chrono::seconds(120)});
    CallSet willHurt;
    for (const auto &finding : findings)
    {
        EXPECT_NE(finding.level, Level::Broken) << ReportText({finding});
        EXPECT_NE(finding.level, Level::NotChecked) << ReportText({finding});
        if (finding.level == Level::WillHurt)
        {
            willHurt.insert(finding.call);
        }
    }
    EXPECT_EQ(willHurt, tried.willHurt);
}

INSTANTIATE_TEST_SUITE_P(
    Each, OwnProducer,
    testing::Values(OwnCase{"Proxy", "qvr_proxygentl.cti", "OVRA-F1", "", Union(ofBoth, ofProxy)},
                    OwnCase{"Any", "anygentl/qvr_anygentl.cti", "OVRA-F1", "", ofBoth},
                    OwnCase{"AnyWithAUsbCamera", "anygentl/qvr_anygentl.cti", "WIDE-U1", "", ofBoth},
                    OwnCase{"Simulator", "producer_registry/qvr_gevgentl.pr_cti", "OVRA-F1", "", ofSimulator},
                    // Its frames are large, and tell nothing new.
                    OwnCase{"SimulatorWithAForeignCamera", "producer_registry/qvr_gevgentl.pr_cti", "WIDE-G2",
                            "remote device", ofTail}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace gentlctl
