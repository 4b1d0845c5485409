#include "findings/isolated.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>
#include <system_error>

namespace gentlctl
{
namespace
{

using Clock = std::chrono::steady_clock;

/// The child's last message: the work returned.
constexpr std::string_view finished = "finished";

/// A message is a line of JSON.
void WriteLine(int pipe, const Json &message)
{
    const auto line = JsonText(message) + "\n";
    std::string_view rest = line;
    while (!rest.empty())
    {
        const auto count = write(pipe, rest.data(), rest.size());
        if (count < 0 && errno != EINTR)
        {
            _exit(EXIT_FAILURE);
        }
        rest.remove_prefix(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    }
}

/// @param ends the pipe's two
[[noreturn]] void RunChild(const std::array<int, 2> &ends, const std::function<void(const Send &)> &work)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    close(ends[0]);
    try
    {
        work([&](const Json &message) { WriteLine(ends[1], message); });
        WriteLine(ends[1], finished);
    }
    catch (const std::exception &)
    {
        _exit(EXIT_FAILURE);
    }
    // Without the handlers and destructors of libraries: they belong to the work, which has returned.
    _exit(EXIT_SUCCESS);
}

/// Reads the lines of a child until it ends or takes too long.
class Lines
{
public:
    Lines(int pipe, const Receive &receive, std::chrono::milliseconds limit)
        : m_pipe(pipe), m_receive(receive), m_limit(limit), m_deadline(Clock::now() + limit)
    {
    }

    /// @return false: the child took too long
    bool ReadAll()
    {
        std::array<char, 4096> part{};
        while (WaitForMore())
        {
            const auto count = read(m_pipe, part.data(), part.size());
            if (count <= 0)
            {
                return true;
            }
            Take({part.data(), static_cast<size_t>(count)});
        }
        return false;
    }

    bool HasFinished() const { return m_hasFinished; }

private:
    bool WaitForMore() const
    {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - Clock::now());
        pollfd waiting{m_pipe, POLLIN, 0};
        int ready = 0;
        do
        {
            ready = poll(&waiting, 1, static_cast<int>(std::max<int64_t>(rest.count(), 0)));
        } while (ready < 0 && errno == EINTR);
        return ready > 0;
    }

    void Take(std::string_view part)
    {
        m_text += part;
        for (auto end = m_text.find('\n'); end != std::string::npos; end = m_text.find('\n'))
        {
            const auto message = Json::parse(m_text.substr(0, end), nullptr, false);
            m_text.erase(0, end + 1);
            m_hasFinished = message == finished;
            if (!m_hasFinished && m_receive(message))
            {
                m_deadline = Clock::now() + m_limit;
            }
        }
    }

    int m_pipe;
    const Receive &m_receive;
    std::chrono::milliseconds m_limit;
    Clock::time_point m_deadline;
    std::string m_text;
    bool m_hasFinished = false;
};

/// Waits for the end of a child.
int StatusOf(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    return status;
}

/// How a child ended that did not say that it finished.
std::string EndOf(int status)
{
    return WIFSIGNALED(status) ? std::string(strsignal(WTERMSIG(status)))
                               : fmt::format("exit status {}", WEXITSTATUS(status));
}

} // namespace

Ending RunIsolated(const std::function<void(const Send &)> &work, const Receive &receive,
                   std::chrono::milliseconds limit)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "Cannot make a pipe");
    }
    // What is buffered here must not be written a second time there.
    std::fflush(nullptr);
    const auto child = fork();
    if (child == 0)
    {
        RunChild(ends, work);
    }
    const int error = errno;
    close(ends[1]);
    if (child < 0)
    {
        close(ends[0]);
        throw std::system_error(error, std::generic_category(), "Cannot start a process");
    }
    Lines lines(ends[0], receive, limit);
    const bool isInTime = lines.ReadAll();
    close(ends[0]);
    if (!isInTime)
    {
        kill(child, SIGKILL);
    }
    const int status = StatusOf(child);
    if (lines.HasFinished())
    {
        return {};
    }
    return isInTime ? Ending{Ending::Kind::Died, EndOf(status)}
                    : Ending{Ending::Kind::TookTooLong,
                             fmt::format("no end within {} s", static_cast<double>(limit.count()) / 1000)};
}

} // namespace gentlctl
