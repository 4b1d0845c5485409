// The producers that the path variable names.

#include "consumer/producer_files.h"

#include "gentlctl_run.h"
#include "support/environment_variable.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;
using GenTL::internal::EnvironmentVariable;
using GenTL::internal::FailureOf;

class ProducerPath : public testing::Test
{
protected:
    std::string Make(const std::string &name)
    {
        const auto file = m_folder.Path() / name;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "no library";
        return file.string();
    }

    static std::vector<std::string> In(const std::string &path)
    {
        const EnvironmentVariable variable("GENICAM_GENTL64_PATH", path);
        return ProducersInPath();
    }

    std::string FolderPath() const { return m_folder.Path().string(); }

private:
    gentlctl_run::Folder m_folder;
};

TEST_F(ProducerPath, NamesTheProducersOfFoldersByTheirNames)
{
    const auto b = Make("one/b.cti");
    const auto a = Make("one/a.cti");
    const auto c = Make("two/c.cti");
    Make("two/readme.txt");
    fs::create_directories(FolderPath() + "/two/folder.cti");
    EXPECT_EQ(In(FolderPath() + "/two:" + FolderPath() + "/one"), (std::vector{c, a, b}));
}

TEST_F(ProducerPath, MayBeAFolderWithOneProducer)
{
    const auto a = Make("one/a.cti");
    EXPECT_EQ(ProducerAt(FolderPath() + "/one"), a);
    EXPECT_EQ(ProducerAt(a), a);
    EXPECT_EQ(ProducerAt("/nowhere.cti"), "/nowhere.cti");
    EXPECT_EQ(ProducerAt("nowhere.cti"), "./nowhere.cti") << "not one of the loader's folders";
    EXPECT_EQ(ProducerAt(""), "") << "none is named";
    const auto b = Make("one/b.cti");
    EXPECT_EQ(FailureOf([&] { ProducerAt(FolderPath() + "/one"); }).text,
              "The folder " + FolderPath() + "/one holds several producers; name one of " + a + ", " + b);
}

TEST_F(ProducerPath, NamesProducersOfTheCurrentFolder)
{
    Make("a.cti");
    const auto before = fs::current_path();
    fs::current_path(FolderPath());
    EXPECT_EQ(In("a.cti"), std::vector<std::string>{"./a.cti"});
    fs::current_path(before);
}

TEST_F(ProducerPath, NamesProducersThemselves)
{
    const auto a = Make("a.cti");
    const auto b = Make("other/b.cti");
    EXPECT_EQ(In(b + ":" + FolderPath()), (std::vector{b, a}));
    EXPECT_EQ(In(Make("c.so")), std::vector<std::string>());
}

TEST_F(ProducerPath, MayHaveEmptyAndMissingEntries)
{
    const auto a = Make("one/a.cti");
    EXPECT_EQ(In("::/nowhere:" + a + "::"), std::vector{a});
    EXPECT_EQ(In(""), std::vector<std::string>());
}

TEST_F(ProducerPath, CountsAProducerOnce)
{
    const auto a = Make("one/a.cti");
    fs::create_symlink(a, FolderPath() + "/link.cti");
    const EnvironmentVariable variable("GENICAM_GENTL64_PATH",
                                       a + ":" + FolderPath() + "/link.cti:" + FolderPath() + "/one");
    const auto known = KnownProducers();
    ASSERT_EQ(known.size(), 2U);
    EXPECT_EQ(known.front(), a);
    EXPECT_EQ(known.back(), ProxyProducerFile());
    EXPECT_EQ(ChooseProducer().note, "") << "the file and the link to it are one";
}

TEST_F(ProducerPath, GoesBeforeTheProducerOfTheProgram)
{
    const auto b = Make("one/b.cti");
    const auto a = Make("two/a.cti");
    const EnvironmentVariable lower("ANYGENTL_CTI_PATH", "/nowhere/lower.cti");
    const EnvironmentVariable path("GENICAM_GENTL64_PATH", FolderPath() + "/one:" + FolderPath() + "/two");
    EXPECT_EQ(ChooseProducer().file, b);
    EXPECT_EQ(ChooseProducer().note,
              "Takes " + b + ", the first of 2 producers in GENICAM_GENTL64_PATH (see gentlctl list --all)");
}

/// The producer that the program takes of its own two.
std::string OwnWith(const std::string &anyLower, const std::string &proxyLower)
{
    const EnvironmentVariable path("GENICAM_GENTL64_PATH", "");
    const EnvironmentVariable any("ANYGENTL_CTI_PATH", anyLower);
    const EnvironmentVariable proxy("PROXY_TL_CTI_PATH", proxyLower);
    return ChooseProducer().file;
}

TEST(OwnProducer, IsTheOneWhoseLowerProducerIsNamed)
{
    const auto proxy = ProxyProducerFile();
    EXPECT_EQ(OwnWith("", ""), proxy);
    EXPECT_EQ(OwnWith("", "/lower.cti"), proxy);
    EXPECT_EQ(OwnWith("/lower.cti", "/lower.cti"), proxy);
    EXPECT_EQ(OwnWith("/lower.cti", ""), AnyProducerFile());
}

} // namespace
} // namespace gentlctl
