#include "machine.h"

namespace gentlctl
{
namespace
{

TEST(Doctor, FindsNothingOnAMachineThatIsFine)
{
    const Machine machine;
    EXPECT_EQ(ReportText(Ills(machine)), ReportText({}));
}

struct StatusCase
{
    std::string name;
    void (*spoil)(Machine &machine);
    int status;
};

std::ostream &operator<<(std::ostream &out, const StatusCase &tried)
{
    return out << tried.name;
}

class DoctorStatus : public testing::TestWithParam<StatusCase>
{
};

TEST_P(DoctorStatus, IsThatOfTheWorstFinding)
{
    Machine machine;
    GetParam().spoil(machine);
    const auto findings = Examine(machine.surroundings);
    EXPECT_EQ(ExitStatusOf(findings), GetParam().status) << ReportText(findings);
}

INSTANTIATE_TEST_SUITE_P(
    Each, DoctorStatus,
    testing::Values(StatusCase{"Fine", [](Machine &) {}, 0},
                    StatusCase{"AsMostSystemsAreInstalled",
                               [](Machine &m)
                               {
                                   m.Write("sys/class/net/eth0/mtu", "1500\n");
                                   m.Write("proc/sys/net/core/rmem_max", "212992\n");
                                   m.Write("proc/self/limits", "Max locked memory 8388608 8388608 bytes\n"
                                                               "Max realtime priority 0 0\n");
                                   m.Write("proc/self/status", "CapEff:\t0000000000000000\n");
                               },
                               0},
                    StatusCase{"WillHurt", [](Machine &m) { m.Write("sys/class/net/eth0/speed", "100\n"); },
                               3},
                    StatusCase{"Broken", [](Machine &m) { m.surroundings.environment.clear(); }, 1}),
    [](const auto &row) { return row.param.name; });

class PathAilment : public testing::TestWithParam<Ailment>
{
};

TEST_P(PathAilment, IsFoundWithTheRightCure)
{
    ExpectFound(GetParam());
}

void AddToPath(Machine &machine, const std::string &entry)
{
    machine.SetPath(machine.Folder("maker").string() + ":" + entry);
}

INSTANTIATE_TEST_SUITE_P(
    Each, PathAilment,
    testing::Values(
        Ailment{"NotSet", [](Machine &m) { m.surroundings.environment.clear(); }, Level::Broken, "path",
                "GENICAM_GENTL64_PATH", "is not set", "export GENICAM_GENTL64_PATH="},
        Ailment{"Empty", [](Machine &m) { m.SetPath(""); }, Level::Broken, "path", "GENICAM_GENTL64_PATH",
                "is empty", "export GENICAM_GENTL64_PATH="},
        Ailment{"Of32BitPrograms",
                [](Machine &m) {
                    m.surroundings.environment = {{"GENICAM_GENTL32_PATH", "/opt/maker"}};
                },
                Level::Broken, "path", "GENICAM_GENTL64_PATH", "GENICAM_GENTL32_PATH is, which 32-bit",
                "export GENICAM_GENTL64_PATH=/opt/maker"},
        Ailment{"MissingFolder", [](Machine &m) { AddToPath(m, "/no/such/folder"); }, Level::WillHurt, "path",
                "/no/such/folder", "does not exist", "take the entry out"},
        Ailment{"RelativeFolder", [](Machine &m) { AddToPath(m, "producers"); }, Level::WillHurt, "path",
                "producers", "is relative", "write the whole path"},
        Ailment{"FolderWithoutProducer",
                [](Machine &m)
                {
                    std::filesystem::create_directories(m.Folder("empty"));
                    AddToPath(m, m.Folder("empty").string());
                },
                Level::WillHurt, "path", "empty", "has no .cti", "the folder that holds the producer's .cti"},
        Ailment{"FolderAboveTheProducer",
                [](Machine &m)
                {
                    m.PutLibrary("above/below/other.cti");
                    AddToPath(m, m.Folder("above").string());
                },
                Level::WillHurt, "path", "above", "has no .cti", "above/below instead"},
        Ailment{"FileOfAnotherName",
                [](Machine &m) { AddToPath(m, m.PutLibrary("other/producer.so").string()); }, Level::WillHurt,
                "path", "producer.so", "does not end in .cti", "name the folder"},
        Ailment{"Semicolons", [](Machine &m) { AddToPath(m, "/opt/a;/opt/b"); }, Level::WillHurt, "path",
                "/opt/a;/opt/b", "semicolon", "by colons"},
        Ailment{"Twice", [](Machine &m) { AddToPath(m, m.Folder("maker").string()); }, Level::WillHurt,
                "path", "maker", "stands there twice", "take one of the two out"},
        Ailment{"NoProducerAtAll", [](Machine &m) { m.SetPath("/no/such/folder"); }, Level::Broken, "path",
                "GENICAM_GENTL64_PATH", "leads to no producer", "export GENICAM_GENTL64_PATH="}),
    [](const auto &row) { return row.param.name; });

TEST(ProducersInThePath, AreFilesAndTheContentOfFoldersEachOnce)
{
    Machine machine;
    const auto file = machine.PutLibrary("other/single.cti");
    machine.SetPath(file.string() + "::" + machine.Folder("maker").string() + ":" + file.string());
    machine.surroundings.producer = machine.PutLibrary("named/named.cti");
    EXPECT_EQ(ProducersIn(machine.surroundings),
              (std::vector<std::filesystem::path>{file, machine.Folder("maker") / "maker.cti",
                                                  machine.Folder("named") / "named.cti"}));
}

TEST(ProducersInThePath, AreThoseOfTheInstallationWhenThereAreNoOthers)
{
    Machine machine;
    const auto file = machine.PutLibrary("installed/qvr_anygentl/qvr_anygentl.cti");
    machine.SetPath("");
    EXPECT_EQ(ProducersIn(machine.surroundings), (std::vector<std::filesystem::path>{file}));
    EXPECT_NE(ProbePath(machine.surroundings)[0].cure.find("installed/qvr_anygentl"), std::string::npos);
}

} // namespace
} // namespace gentlctl
