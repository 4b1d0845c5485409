#include "gentlctl/process_usage.h"

#include <fmt/format.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{

namespace
{

int64_t CountIn(const std::filesystem::path &folder)
{
    std::error_code failure;
    const std::filesystem::directory_iterator entries(folder, failure);
    if (failure)
    {
        throw std::runtime_error(fmt::format("Cannot read {}: {}", folder.string(), failure.message()));
    }
    return std::distance(entries, {});
}

} // namespace

ProcessUsage ReadUsage(const std::filesystem::path &process)
{
    std::ifstream file(process / "statm");
    int64_t total = 0;
    int64_t resident = 0;
    if (!(file >> total >> resident))
    {
        throw std::runtime_error(fmt::format("Cannot read {}/statm: is /proc mounted?", process.string()));
    }
    return {resident * sysconf(_SC_PAGESIZE), CountIn(process / "fd"), CountIn(process / "task")};
}

} // namespace gentlctl
