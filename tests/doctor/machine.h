#pragma once

#include "doctor/doctor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <set>
#include <string>

namespace gentlctl
{

/// A machine on which everything is fine: a GigE and a USB3 Vision camera, a producer for both, and the proxy
/// producer with its lower producer and its vision library. A test spoils one thing.
class Machine
{
public:
    Machine()
        : m_folder(std::filesystem::path(testing::TempDir()) /
                   ("machine-" + std::to_string(getpid()) + "-" + std::to_string(Count()++)))
    {
        surroundings.root = m_folder / "root";
        surroundings.libraryFolder = m_folder / "installed";
        surroundings.visit = [this](const std::filesystem::path &file) { return visits[file.filename()]; };
        surroundings.whyNotFound = [this](const std::string &) { return missingLibrary; };
        surroundings.isWritable = [this](const std::filesystem::path &file)
        { return !unwritable.contains(file.filename()); };
        AddProducers();
        AddUsbCamera();
        AddNetwork();
        Write("proc/self/limits",
              "Limit                     Soft Limit           Hard Limit           Units\n"
              "Max locked memory         unlimited            unlimited            bytes\n"
              "Max realtime priority     50                   50\n");
        Write("proc/self/status", "Name:\tgentlctl\nCapEff:\t0000000000002000\n");
        Write("proc/cpuinfo", "model name\t: some\nflags\t\t: fpu sse2 ssse3 sse4_1 sse4_2 avx2 fma bmi2\n");
    }
    Machine(const Machine &) = delete;
    Machine &operator=(const Machine &) = delete;
    ~Machine()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    /// Writes a file below the root.
    void Write(const std::string &file, const std::string &content)
    {
        const auto path = surroundings.root / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << content;
    }
    void Remove(const std::string &file) { std::filesystem::remove_all(surroundings.root / file); }

    /// Puts a shared library of this machine to a place beside the root, and returns its path.
    std::filesystem::path PutLibrary(const std::string &file) const
    {
        const auto path = m_folder / file;
        std::filesystem::create_directories(path.parent_path());
        std::filesystem::copy_file(QVR_LIB_DIR "/test/lower_full.cti", path,
                                   std::filesystem::copy_options::overwrite_existing);
        return path;
    }
    std::filesystem::path Folder(const std::string &name) const { return m_folder / name; }

    void SetPath(const std::string &path) { surroundings.environment["GENICAM_GENTL64_PATH"] = path; }

    Surroundings surroundings;
    std::map<std::string, ProducerVisit> visits; ///< by the name of the file
    std::optional<std::string> missingLibrary;   ///< the loader's text
    std::set<std::string> unwritable;            ///< names of files

private:
    static int &Count()
    {
        static int count = 0;
        return count;
    }

    void AddProducers()
    {
        PutLibrary("maker/maker.cti");
        PutLibrary("ours/qvr_proxygentl.cti");
        PutLibrary("ours/producer_registry/qvr_gevgentl.pr_cti");
        SetPath(Folder("maker").string() + ":" + Folder("ours").string());
        visits["maker.cti"] = {true, "", "", {}, "Maker GEV 1.0", {{"M1", "100"}}};
        visits["qvr_proxygentl.cti"] = {true, "", "", {}, "Ours Proxy 1.0", {{"M2", "200"}}};
    }

    void AddUsbCamera()
    {
        const std::string device = "sys/bus/usb/devices/";
        Write(device + "2-1/busnum", "2\n");
        Write(device + "2-1/devnum", "5\n");
        Write(device + "2-1/idVendor", "1234\n");
        Write(device + "2-1/product", "Camera\n");
        Write(device + "2-1:1.0/bInterfaceClass", "ef\n");
        Write(device + "2-1:1.0/bInterfaceSubClass", "05\n");
        Write("dev/bus/usb/002/005", "");
        Write("sys/module/usbcore/parameters/usbfs_memory_mb", "1000\n");
    }

    void AddNetwork()
    {
        Write("sys/class/net/eth0/type", "1\n");
        Write("sys/class/net/eth0/operstate", "up\n");
        Write("sys/class/net/eth0/mtu", "9000\n");
        Write("sys/class/net/eth0/speed", "1000\n");
        Write("sys/class/net/lo/type", "772\n");
        Write("sys/class/net/lo/mtu", "65536\n");
        Write("proc/sys/net/core/rmem_max", "33554432\n");
    }

    std::filesystem::path m_folder;
};

/// Something that is wrong with a machine, and what is to be found.
struct Ailment
{
    std::string name;
    void (*spoil)(Machine &machine);
    Level level;
    std::string area;
    std::string call;
    std::string text;
    std::string cure;
};

inline std::ostream &operator<<(std::ostream &out, const Ailment &ailment)
{
    return out << ailment.name;
}

/// The findings that are not fine.
inline Findings Ills(const Machine &machine)
{
    auto findings = Examine(machine.surroundings);
    std::erase_if(findings, [](const Finding &finding) { return finding.level == Level::Fine; });
    return findings;
}

/// Expects that a machine with this ailment has one finding, or several about the same thing, with the cure.
inline void ExpectFound(const Ailment &ailment)
{
    Machine machine;
    ailment.spoil(machine);
    const auto has = [](const std::string &text, const std::string &part)
    { return text.find(part) != std::string::npos; };
    const auto findings = Ills(machine);
    EXPECT_TRUE(std::ranges::any_of(findings,
                                    [&](const Finding &finding)
                                    {
                                        return finding.level == ailment.level &&
                                               finding.area == ailment.area &&
                                               has(finding.call, ailment.call) &&
                                               has(finding.text, ailment.text) &&
                                               has(finding.cure, ailment.cure);
                                    }))
        << ReportText(findings);
    for (const auto &finding : findings)
    {
        EXPECT_EQ(finding.area, ailment.area) << ReportText({finding});
    }
}

} // namespace gentlctl
