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
FILE *ownOutput = nullptr;
/// The errno of the first failed call; 0 without one.
int firstError = 0;

/// @throws PipeClosed nobody reads what was printed
void RequireReader()
{
    if (firstError == EPIPE)
    {
        throw PipeClosed();
    }
}

} // namespace

void TakeStandardOutput()
{
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ownOutput = own >= 0 ? fdopen(own, "w") : nullptr;
    firstError = ownOutput == nullptr ? errno : 0;
    if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

int GiveStandardOutputToData()
{
    const int data = ownOutput != nullptr ? fcntl(fileno(ownOutput), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
    if (data < 0)
    {
        firstError = 0; // it is told here
        throw std::runtime_error("Frames cannot go to standard output, which is closed");
    }
    if (isatty(data) != 0)
    {
        throw std::runtime_error(
            "Frames cannot be printed on a terminal: redirect the output into a program or "
            "a file, as gentlctl grab -o - -f y4m | ffplay -");
    }
    fclose(ownOutput);
    ownOutput = fdopen(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "w");
    return data;
}

void PrintText(std::string_view text)
{
    if (ownOutput != nullptr && fwrite(text.data(), 1, text.size(), ownOutput) != text.size() &&
        firstError == 0)
    {
        firstError = errno;
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
    if (ownOutput != nullptr && fflush(ownOutput) != 0 && firstError == 0)
    {
        firstError = errno;
    }
    RequireReader();
}

void FinishOutput()
{
    if (ownOutput != nullptr && fclose(std::exchange(ownOutput, nullptr)) != 0 && firstError == 0)
    {
        firstError = errno;
    }
    RequireReader();
    if (firstError != 0)
    {
        throw std::runtime_error(
            fmt::format("Cannot write to standard output: {}", std::generic_category().message(firstError)));
    }
}

} // namespace gentlctl
