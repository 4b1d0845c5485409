#include "simulator/system/plug_watch.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <utility>

using GenTL::simulator::PlugWatch;

namespace
{

std::atomic<bool> wasInterrupted = false;

/// Waits for up to ten seconds.
bool Becomes(const std::atomic<bool> &condition)
{
    for (int i = 0; i < 1000 && !condition; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition;
}

class UnplugWatch : public testing::Test
{
protected:
    UnplugWatch() { std::filesystem::create_directories(m_folder); }
    ~UnplugWatch() override { std::filesystem::remove_all(m_folder); }

    void Write(const std::string &names) const { std::ofstream(m_folder / "unplugged") << names; }

    PlugWatch Watch()
    {
        return {m_folder / "unplugged",
                [this](const std::set<std::string> &names) { m_hasCamera = names.contains("CAM-1"); }};
    }

    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / ("plug-watch-" + std::to_string(getpid()));
    std::atomic<bool> m_hasCamera = false;
};

/// Leaves the process few file descriptors until this object ends.
class FewDescriptors
{
public:
    /// @param count that can still be opened
    explicit FewDescriptors(rlim_t count)
    {
        const int next = dup(STDERR_FILENO);
        close(next);
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit few{static_cast<rlim_t>(next) + count, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    FewDescriptors(const FewDescriptors &) = delete;
    FewDescriptors &operator=(const FewDescriptors &) = delete;
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};

TEST_F(UnplugWatch, TellsOfAChange)
{
    const auto watch = Watch();
    EXPECT_FALSE(m_hasCamera);
    Write("CAM-1");
    EXPECT_TRUE(Becomes(m_hasCamera));
}

TEST_F(UnplugWatch, GoesOnAfterASignal)
{
    const auto watch = Watch();
    struct sigaction action
    {
    };
    action.sa_handler = [](int) { wasInterrupted = true; };
    sigaction(SIGUSR1, &action, nullptr);
    // The signal goes to a thread that does not block it, which leaves the thread of the watch.
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // One of many interrupts the wait itself.
    for (int i = 0; i < 50; ++i)
    {
        wasInterrupted = false;
        kill(getpid(), SIGUSR1);
        ASSERT_TRUE(Becomes(wasInterrupted));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    Write("CAM-1");
    EXPECT_TRUE(Becomes(m_hasCamera));
}

TEST_F(UnplugWatch, EndsWhenThereIsNoDescriptorToWakeItsThread)
{
    const auto file = m_folder / "unplugged";
    const auto ignore = [](const std::set<std::string> &) {};
    // A sanitizer needs a descriptor to look at the first object of a type. So all types that the watch uses
    // are used before, and nothing of the fixture is used meanwhile.
    std::optional<PlugWatch>(std::in_place, file, ignore).reset();
    for (const rlim_t count : {0U, 1U})
    {
        const FewDescriptors few(count);
        const PlugWatch watch(file, ignore);
    }
}

} // namespace
