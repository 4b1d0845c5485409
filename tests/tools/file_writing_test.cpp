#include "pictures/file_writing.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace gentlctl
{
namespace
{

namespace fs = std::filesystem;

class OutputFiles : public testing::Test
{
protected:
    OutputFiles() : folder(fs::temp_directory_path() / fmt::format("output-files-{}", getpid()))
    {
        fs::create_directories(folder);
    }
    ~OutputFiles() override { fs::remove_all(folder); }

    static std::string Content(const fs::path &file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    static void Write(const fs::path &file, const std::string &text)
    {
        WriteBytes(file, text.data(), text.size());
    }

    /// The text of a failure; empty when there is none.
    template <typename Function>
    static std::string FailureOf(Function function)
    {
        try
        {
            function();
        }
        catch (const std::runtime_error &error)
        {
            return error.what();
        }
        return "";
    }

    fs::path folder;
};

TEST_F(OutputFiles, ReplaceWhatWasThere)
{
    Write(folder / "a", "the first, longer one");
    Write(folder / "a", "second");
    EXPECT_EQ(Content(folder / "a"), "second");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

/// The largest file that this process may write, for as long as the object lives.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_before{};
};

TEST_F(OutputFiles, LeaveWhatWasThereWhenTheyDoNotFit)
{
    Write(folder / "a", "before");
    {
        const FileSizeLimit limit(100);
        EXPECT_EQ(FailureOf([&] { Write(folder / "a", std::string(200, 'x')); }),
                  fmt::format("Cannot write {}: File too large", (folder / "a").string()));
    }
    EXPECT_EQ(Content(folder / "a"), "before");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(OutputFiles, TellThatTheDiskIsFull)
{
    EXPECT_EQ(FailureOf([] { Write("/dev/full", "x"); }), "Cannot write /dev/full: the disk is full");
}

TEST_F(OutputFiles, AreWrittenToADeviceDirectly)
{
    Write("/dev/null", "x");
    EXPECT_EQ(fs::status("/dev/null").type(), fs::file_type::character);
    EXPECT_FALSE(fs::exists("/dev/null.part"));
}

TEST_F(OutputFiles, NeedAFolderThatTakesFiles)
{
    MakeFolder(folder / "a" / "b");
    EXPECT_TRUE(fs::is_empty(folder / "a" / "b"));
    EXPECT_EQ(
        FailureOf([] { MakeFolder("/proc"); }),
        "Cannot write into the folder /proc: No such file or directory. Choose another one with --output");
    Write(folder / "file", "");
    EXPECT_EQ(FailureOf([&] { MakeFolder(folder / "file"); }),
              fmt::format("Cannot make the folder {}: Not a directory. Choose another one with --output",
                          (folder / "file").string()));
}

} // namespace
} // namespace gentlctl
