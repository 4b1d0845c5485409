#include "machine.h"

namespace gentlctl
{
namespace
{

class ProducerAilment : public testing::TestWithParam<Ailment>
{
};

TEST_P(ProducerAilment, IsFoundWithTheRightCure)
{
    ExpectFound(GetParam());
}

/// The maker's producer comes to nothing.
void Fail(Machine &machine, const std::string &call, const std::string &problem)
{
    machine.visits["maker.cti"] = {};
    machine.visits["maker.cti"].call = call;
    machine.visits["maker.cti"].problem = problem;
}

/// Changes a byte of the maker's file.
void Patch(Machine &machine, std::streamoff offset, char byte)
{
    std::fstream file(machine.Folder("maker") / "maker.cti", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offset);
    file.put(byte);
}

void NameLower(Machine &machine, const std::filesystem::path &file)
{
    machine.surroundings.environment["PROXY_TL_CTI_PATH"] = file;
}

constexpr std::streamoff elfClass = 4;
constexpr std::streamoff elfMachine = 18;

INSTANTIATE_TEST_SUITE_P(
    OfLoading, ProducerAilment,
    testing::Values(
        Ailment{"NoLibrary", [](Machine &m) { std::ofstream(m.Folder("maker") / "maker.cti") << "text"; },
                Level::Broken, "producer", "maker.cti", "is no shared library", "copy the producer again"},
        Ailment{"ForThirtyTwoBits", [](Machine &m) { Patch(m, elfClass, 1); }, Level::Broken, "producer",
                "maker.cti", "32 bits", "build for this system"},
        Ailment{"ForAnotherProcessor", [](Machine &m) { Patch(m, elfMachine, 40); }, Level::Broken,
                "producer", "maker.cti", "for ARM", "build for this system"},
        Ailment{"MissingLibrary",
                [](Machine &m) {
                    Fail(m, "dlopen",
                         "libmaker.so.2: cannot open shared object file: No such file or directory");
                },
                Level::Broken, "producer", "maker.cti", "dlopen: libmaker.so.2", "apt-file search"},
        Ailment{"OtherVersionOfALibrary",
                [](Machine &m) { Fail(m, "dlopen", "maker.cti: undefined symbol: f"); }, Level::Broken,
                "producer", "maker.cti", "undefined symbol", "reinstall the producer"},
        Ailment{"NewerSystem",
                [](Machine &m) { Fail(m, "dlopen", "libc.so.6: version `GLIBC_2.99' not found"); },
                Level::Broken, "producer", "maker.cti", "GLIBC_2.99", "build for this one"},
        Ailment{"MissingExports",
                [](Machine &m) {
                    m.visits["maker.cti"].missing = {"TLOpen", "IFClose"};
                },
                Level::Broken, "producer", "maker.cti", "lacks TLOpen, IFClose", "no GenTL producer"},
        Ailment{"Crash", [](Machine &m) { Fail(m, "TLOpen", "ends the process: Segmentation fault"); },
                Level::Broken, "producer", "maker.cti", "TLOpen: ends the process", "gentlctl check FILE"},
        Ailment{"Hang",
                [](Machine &m) { Fail(m, "TLUpdateInterfaceList", "does not return: no end within 30 s"); },
                Level::Broken, "producer", "maker.cti", "does not return", "maker's services"},
        Ailment{"OwnFailureToStart",
                [](Machine &m)
                {
                    m.visits["qvr_proxygentl.cti"] = {};
                    m.visits["qvr_proxygentl.cti"].call = "GCInitLib";
                    m.visits["qvr_proxygentl.cti"].problem = "GC_ERR_ERROR (-1001)";
                },
                Level::Broken, "producer", "qvr_proxygentl.cti", "GCInitLib", "PROXY_TL_LOG_LEVEL=debug"},
        Ailment{"NamedFileThatIsNotThere",
                [](Machine &m) { m.surroundings.producer = "/no/such/qvr_proxygentl.cti"; }, Level::Broken,
                "producer", "/no/such/qvr_proxygentl.cti", "does not exist", "correct --producer"},
        Ailment{"NamedFolder", [](Machine &m) { m.surroundings.producer = m.Folder("maker").string(); },
                Level::Broken, "producer", "maker", "is a folder", "correct --producer"},
        Ailment{"NoDevice", [](Machine &m) { m.visits["maker.cti"].devices.clear(); }, Level::WillHurt,
                "producer", "maker.cti", "lists no device", "connected and powered"}),
    [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    OfDevices, ProducerAilment,
    testing::Values(Ailment{"TwoProducersWithOneDevice",
                            [](Machine &m) {
                                m.visits["maker.cti"].devices = {{"M2", "200"}};
                            },
                            Level::WillHurt, "producer", "maker.cti, qvr_proxygentl.cti",
                            "M2, serial number 200", "keep one of the producers"},
                    Ailment{"OneDeviceOnTwoInterfaces",
                            [](Machine &m) {
                                m.visits["maker.cti"].devices = {{"M1", "100"}, {"M1", "100"}};
                            },
                            Level::WillHurt, "producer", "maker.cti, maker.cti", "M1, serial number 100",
                            "one adapter only"}),
    [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    OfLowerProducers, ProducerAilment,
    testing::Values(
        Ailment{"None",
                [](Machine &m) { std::filesystem::remove_all(m.Folder("ours") / "producer_registry"); },
                Level::Broken, "lower producer", "qvr_proxygentl.cti", "PROXY_TL_CTI_PATH is not set",
                "export PROXY_TL_CTI_PATH="},
        Ailment{"MissingFile", [](Machine &m) { NameLower(m, "/no/such.cti"); }, Level::Broken,
                "lower producer", "qvr_proxygentl.cti",
                "/no/such.cti (from PROXY_TL_CTI_PATH) does not exist", "export PROXY_TL_CTI_PATH="},
        Ailment{"FolderInsteadOfAFile", [](Machine &m) { NameLower(m, m.Folder("maker")); }, Level::Broken,
                "lower producer", "qvr_proxygentl.cti", "is a folder", "the file and not its folder"},
        Ailment{"Itself", [](Machine &m) { NameLower(m, m.Folder("ours") / "qvr_proxygentl.cti"); },
                Level::Broken, "lower producer", "qvr_proxygentl.cti", "is this producer itself",
                "the/camera/maker's.cti"},
        Ailment{"ACopyOfItself", [](Machine &m) { NameLower(m, m.PutLibrary("copy/qvr_proxygentl.cti")); },
                Level::Broken, "lower producer", "qvr_proxygentl.cti", "is this producer itself",
                "the/camera/maker's.cti"},
        Ailment{"AnotherOfOurs", [](Machine &m) { NameLower(m, m.PutLibrary("any/qvr_anygentl.cti")); },
                Level::WillHurt, "lower producer", "qvr_proxygentl.cti", "one of these producers, too",
                "the/camera/maker's.cti"}),
    [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(OfTheVisionLibrary, ProducerAilment,
                         testing::Values(Ailment{"Missing",
                                                 [](Machine &m) {
                                                     m.missingLibrary =
                                                         "libqvr_tarn_cvl.so: cannot open shared object file";
                                                 },
                                                 Level::Broken, "vision library", "qvr_proxygentl.cti",
                                                 "cannot open shared object file", "LD_LIBRARY_PATH="}),
                         [](const auto &row) { return row.param.name; });

TEST(ProducerReport, BeginsWithTheLowerProducerWhoseFileIsNotThere)
{
    Machine machine;
    NameLower(machine, "/no/such.cti");
    auto &visit = machine.visits["qvr_proxygentl.cti"];
    visit = {};
    visit.call = "GCInitLib";
    visit.problem = "GC_ERR_ERROR (-1001): Cannot load /no/such.cti: cannot open shared object file";
    for (const auto &finding : Ills(machine))
    {
        EXPECT_TRUE(finding.cure.starts_with("export PROXY_TL_CTI_PATH=")) << ReportText({finding});
    }
    EXPECT_EQ(Ills(machine).size(), 2U);
}

TEST(ProducerReport, BeginsWithTheNamedFileThatIsNotThere)
{
    Machine machine;
    machine.surroundings.environment.clear();
    machine.surroundings.producer = "/no/such/qvr_proxygentl.cti";
    ASSERT_FALSE(Ills(machine).empty());
    EXPECT_EQ(Ills(machine)[0].call, "/no/such/qvr_proxygentl.cti");
}

TEST(VisionLibrary, BesideTheProducerMustBeWhole)
{
    Machine machine;
    // Its file names the folder of itself, and has a library that lacks a function there.
    const auto folder = machine.Folder("any");
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(QVR_LIB_DIR "/anygentl/qvr_anygentl.cti", folder / "qvr_anygentl.cti");
    std::filesystem::copy_file(QVR_LIB_DIR "/test/incomplete/libqvr_tarn_cvl.so",
                               folder / "libqvr_tarn_cvl.so");
    machine.SetPath(folder);
    const auto findings = ProbeVisionLibrary(machine.surroundings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].level, Level::WillHurt);
    EXPECT_NE(findings[0].text.find("lacks tarn_cvl_CalibrationParameters_ToBinary"), std::string::npos)
        << findings[0].text;
    EXPECT_NE(findings[0].cure.find("of the producer's version"), std::string::npos);
}

} // namespace
} // namespace gentlctl
