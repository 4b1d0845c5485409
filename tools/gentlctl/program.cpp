#include "gentlctl/program.h"

#include "gentlctl/command_line.h"
#include "gentlctl/failure_text.h"
#include "gentlctl/pipe_closed.h"
#include "gentlctl/standard_output.h"

#include "utils/log.h"

#include <csignal>
#include <exception>

namespace gentlctl
{
namespace
{

/// Runs a step, and says on standard error why it failed.
template <typename Step>
int StatusOf(Step step)
{
    try
    {
        return step();
    }
    catch (const PipeClosed &)
    {
        return success; // the reader has all that it wanted
    }
    catch (const std::exception &)
    {
        Complain(FailureText(std::current_exception()));
    }
    return failed;
}

int Finish()
{
    FinishOutput();
    return success;
}

} // namespace

int RunProgram(int argc, char **argv)
{
    TakeStandardOutput();
    // A write into a pipe that nobody reads, or beyond the file size limit, fails and does not end the
    // program, so that it stops the device and closes it.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // The exception says what failed; the log lines of the shared code would repeat it. A producer has a log
    // of its own.
    spdlog::set_level(spdlog::level::off);
    try
    {
        const int status = StatusOf([&] { return CommandLine().Run(argc, argv); });
        const int finished = StatusOf(Finish);
        return status != success ? status : finished;
    }
    catch (const std::exception &)
    {
        return failed;
    }
}

} // namespace gentlctl
