// Grabs at a terminal: what it shows while frames come, and how a signal or a slow disk ends them.

#include "gentlctl_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace
{

using namespace gentlctl_run;

/// The program at a terminal, which shows its standard error; it runs while the test goes on.
class AtTerminal
{
public:
    /// @param columns of the terminal; 0: not known
    explicit AtTerminal(const std::string &arguments, unsigned short columns = 0)
    {
        m_terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        EXPECT_EQ(ioctl(m_terminal, TIOCSWINSZ, &size), 0);
        grantpt(m_terminal);
        unlockpt(m_terminal);
        const int itsEnd = open(ptsname(m_terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
        std::array<int, 2> output{};
        EXPECT_EQ(pipe2(output.data(), O_CLOEXEC), 0);
        m_output = output[0];
        posix_spawn_file_actions_t actions{};
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, itsEnd, STDERR_FILENO);
        auto command = "exec " + program + arguments;
        std::array<char *, 4> shell{const_cast<char *>("sh"), const_cast<char *>("-c"), command.data(),
                                    nullptr};
        EXPECT_EQ(posix_spawn(&m_process, "/bin/sh", &actions, nullptr, shell.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(itsEnd);
        close(output[1]);
    }
    ~AtTerminal()
    {
        close(m_terminal);
        close(m_output);
    }
    AtTerminal(const AtTerminal &) = delete;
    AtTerminal &operator=(const AtTerminal &) = delete;

    /// Waits until the terminal shows a text; false when the program ends before.
    bool Shows(const std::string &text)
    {
        std::array<char, 256> part{};
        while (m_shown.find(text) == std::string::npos)
        {
            // The terminal of a program that has ended fails.
            const auto count = read(m_terminal, part.data(), part.size());
            if (count <= 0)
            {
                return false;
            }
            m_shown.append(part.data(), static_cast<size_t>(count));
        }
        return true;
    }

    void Signal(int signal) const { kill(m_process, signal); }

    /// Waits for the end.
    Run End()
    {
        Run run;
        std::array<char, 4096> part{};
        for (ssize_t count = 0; (count = read(m_output, part.data(), part.size())) > 0;)
        {
            run.output.append(part.data(), static_cast<size_t>(count));
        }
        Shows("to the end");
        int status = 0;
        waitpid(m_process, &status, 0);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return run;
    }

    /// What the terminal has shown.
    const std::string &Shown() const { return m_shown; }

private:
    int m_terminal = -1;
    int m_output = -1;
    pid_t m_process = -1;
    std::string m_shown;
};

class InterruptedGrabAtATerminal : public testing::TestWithParam<int>
{
};

TEST_P(InterruptedGrabAtATerminal, KeepsTheFramesThatCame)
{
    const Folder folder;
    AtTerminal run(
        "--json grab -d OVRA-M1 -n 1000000 -s AcquisitionFrameRate=20 -s Width=64 -s Height=32 -o " +
        folder.Path().string());
    ASSERT_TRUE(run.Shows("] 1/1000000 ")) << run.Shown();
    run.Signal(GetParam());
    const auto end = run.End();
    EXPECT_EQ(end.status, 128 + GetParam());
    const auto json = Json::parse(end.output, nullptr, false);
    ASSERT_TRUE(json.is_object()) << end.output;
    EXPECT_GE(json["delivered"], 1);
    EXPECT_EQ(json["written"], json["delivered"]);
    EXPECT_EQ(folder.Count(".png"), json["written"]);
    EXPECT_EQ(folder.Count(".json"), json["written"]);
    EXPECT_EQ(folder.Count(".part"), 0);
    EXPECT_NE(run.Shown().find("gentlctl: Ended by SIG"), std::string::npos) << run.Shown();
}

INSTANTIATE_TEST_SUITE_P(Signal, InterruptedGrabAtATerminal, testing::Values(SIGINT, SIGTERM, SIGHUP));

/// Makes a pipe in place of a file, so that writing the file waits until the test reads it.
fs::path MakePipe(const Folder &folder, const std::string &name)
{
    fs::create_directories(folder.Path());
    auto file = folder.Path() / name;
    EXPECT_EQ(mkfifo(file.c_str(), 0600), 0);
    return file;
}

TEST(GrabAtATerminal, WritesFramesWhileItWaitsForTheNext)
{
    const Folder folder;
    const auto file = MakePipe(folder, "frame-00001.png");
    AtTerminal run(
        "grab -d OVRA-M1 -n 5 -t 86400000 -s AcquisitionMode=MultiFrame -s AcquisitionFrameCount=2 "
        "-s AcquisitionFrameRate=4 -s Width=64 -s Height=32 -o " +
        folder.Path().string());
    ASSERT_TRUE(run.Shows("] 2/5 ")) << run.Shown();
    EXPECT_EQ(ContentOf(file).substr(1, 3), "PNG");
    // No third frame comes, so the grab still waits.
    run.Signal(SIGINT);
    EXPECT_EQ(run.End().status, 130);
    EXPECT_TRUE(fs::exists(folder.Path() / "frame-00002.png"));
}

TEST(GrabAtATerminal, LeavesOutTheLastFramesAtASecondSignal)
{
    const Folder folder;
    const auto first = MakePipe(folder, "frame-00001.raw");
    AtTerminal run(
        "--json grab -d OVRA-M1 -n 5 -f raw -s AcquisitionFrameRate=50 -s Width=64 -s Height=32 -o " +
        folder.Path().string());
    ASSERT_TRUE(run.Shows("5 still to write; Ctrl-C leaves them out")) << run.Shown();
    ASSERT_TRUE(run.Shows("Writing the last 5 frames; Ctrl-C leaves them out")) << run.Shown();
    run.Signal(SIGINT);
    ASSERT_TRUE(run.Shows("A signal leaves out the last 5 frames")) << run.Shown();
    EXPECT_EQ(ContentOf(first).size(), 64U * 32) << "the one that was being written";
    const auto end = run.End();
    EXPECT_EQ(end.status, 130);
    const auto json = Json::parse(end.output, nullptr, false);
    ASSERT_TRUE(json.is_object()) << end.output;
    EXPECT_EQ(json["written"], 1);
    EXPECT_EQ(json["notWritten"], 4);
    EXPECT_EQ(folder.Count(".part"), 0);
    EXPECT_NE(run.Shown().find("4 frames came and were not written: a signal ended the writing"),
              std::string::npos)
        << run.Shown();
}

TEST(GrabAtATerminal, ShowsItsFiguresOnANarrowTerminal)
{
    AtTerminal narrow("grab -d OVRA-F1 -n 3 -s AcquisitionFrameRate=50", 42);
    EXPECT_TRUE(narrow.Shows("\r3/3  ")) << narrow.Shown();
    EXPECT_EQ(narrow.End().status, 0);
    EXPECT_EQ(narrow.Shown().find('#'), std::string::npos) << narrow.Shown();
    AtTerminal wide("grab -d OVRA-F1 -n 3 -s AcquisitionFrameRate=50", 100);
    EXPECT_TRUE(wide.Shows("] 3/3  ")) << wide.Shown();
    EXPECT_EQ(wide.End().status, 0);
}

TEST(GrabAtATerminal, CountsWhatTheDiskCannotTake)
{
    const Folder folder;
    const auto file = MakePipe(folder, "frame-00001.png");
    AtTerminal run(
        "--json grab -d OVRA-M1 -n 2 -b 2 -s AcquisitionFrameRate=50 -s Width=64 -s Height=32 -o " +
        folder.Path().string());
    ASSERT_TRUE(run.Shows(" not written")) << run.Shown();
    ContentOf(file);
    const auto end = run.End();
    EXPECT_EQ(end.status, 0);
    const auto json = Json::parse(end.output, nullptr, false);
    ASSERT_TRUE(json.is_object()) << end.output;
    EXPECT_EQ(json["written"], 2);
    EXPECT_GE(json["notWritten"], 1);
    EXPECT_EQ(json["delivered"].get<int>(), 2 + json["notWritten"].get<int>());
    EXPECT_NE(run.Shown().find("not written: the writing did not keep up"), std::string::npos) << run.Shown();
    EXPECT_NE(run.Shown().find("gentlctl: The writing does not keep up, and frames are left out"),
              std::string::npos);
}

TEST(GrabAtATerminal, DoesNotLetALossPassWhenItIsStrict)
{
    const Folder folder;
    const auto file = MakePipe(folder, "frame-00001.png");
    AtTerminal run(
        "grab --strict -d OVRA-M1 -n 2 -b 2 -s AcquisitionFrameRate=50 -s Width=64 -s Height=32 -o " +
        folder.Path().string());
    ASSERT_TRUE(run.Shows(" not written")) << run.Shown();
    ContentOf(file);
    EXPECT_EQ(run.End().status, 1);
    EXPECT_NE(run.Shown().find(" not written, which --strict does not let pass"), std::string::npos)
        << run.Shown();
}

} // namespace
