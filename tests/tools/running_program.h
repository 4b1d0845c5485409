#pragma once

#include "gentlctl_run.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>
#include <utility>

namespace gentlctl_run
{

/// The program, whose standard error a test reads while it runs.
class RunningProgram
{
public:
    /// @param before commands of the shell that starts the program
    explicit RunningProgram(const std::string &arguments, const std::string &before = "")
        : m_pipe(
              popen(("echo $$; " + before + "exec " + program + arguments + " 2>&1 >/dev/null").c_str(), "r"))
    {
        EXPECT_EQ(fscanf(m_pipe, "%d", &m_process), 1);
    }
    ~RunningProgram() { Status(); }
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    void Signal(int signal) const { kill(m_process, signal); }

    /// Reads up to the line that contains a text; false when the program ends before.
    bool Says(const std::string &text)
    {
        std::array<char, 1024> line{};
        while (fgets(line.data(), line.size(), m_pipe) != nullptr)
        {
            m_said += line.data();
            if (std::string(line.data()).find(text) != std::string::npos)
            {
                return true;
            }
        }
        return false;
    }

    /// What was read so far.
    const std::string &Said() const { return m_said; }

    int Status()
    {
        if (m_pipe != nullptr)
        {
            Says("\n to the end");
            const int status = pclose(std::exchange(m_pipe, nullptr));
            m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        return m_status;
    }

private:
    FILE *m_pipe;
    pid_t m_process = -1;
    int m_status = -1;
    std::string m_said;
};

} // namespace gentlctl_run
