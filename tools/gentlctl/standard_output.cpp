#include "gentlctl/standard_output.h"

#include "gentlctl/pipe_closed.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{
namespace
{

/// The former standard output. FinishOutput closes it.
FILE *results = nullptr;
/// The errno of the first failure; 0 without one.
int failure = 0;

/// @throws PipeClosed nobody reads what was printed
void RequireReader()
{
    if (failure == EPIPE)
    {
        throw PipeClosed();
    }
}

} // namespace

void TakeStandardOutput()
{
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    results = own >= 0 ? fdopen(own, "w") : nullptr;
    failure = results == nullptr ? errno : 0;
    if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

int GiveStandardOutputToData()
{
    const int data = results != nullptr ? fcntl(fileno(results), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
    if (data < 0)
    {
        failure = 0; // it is told here
        throw std::runtime_error("Frames cannot go to standard output, which is closed");
    }
    if (isatty(data) != 0)
    {
        throw std::runtime_error(
            "Frames cannot be printed on a terminal: redirect the output into a program or "
            "a file, as gentlctl grab -o - -f y4m | ffplay -");
    }
    fclose(results);
    results = fdopen(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "w");
    return data;
}

void PrintText(std::string_view text)
{
    if (results != nullptr && fwrite(text.data(), 1, text.size(), results) != text.size() && failure == 0)
    {
        failure = errno;
    }
}

void PrintError(std::string_view text)
{
    fwrite(text.data(), 1, text.size(), stderr);
}

void Complain(std::string_view text)
{
    PrintError(fmt::format("gentlctl: {}\n", text));
}

void FlushOutput()
{
    if (results != nullptr && fflush(results) != 0 && failure == 0)
    {
        failure = errno;
    }
    RequireReader();
}

void FinishOutput()
{
    if (results != nullptr && fclose(std::exchange(results, nullptr)) != 0 && failure == 0)
    {
        failure = errno;
    }
    RequireReader();
    if (failure != 0)
    {
        throw std::runtime_error(
            fmt::format("Cannot write to standard output: {}", std::generic_category().message(failure)));
    }
}

} // namespace gentlctl
