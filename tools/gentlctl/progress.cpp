#include "gentlctl/progress.h"

#include "gentlctl/grab.h"
#include "gentlctl/standard_output.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace gentlctl
{

using GenTL::internal::utils::MutexLock;

namespace
{

constexpr std::chrono::milliseconds interval(100);

/// Erases what a longer line has left on the terminal.
constexpr auto eraseTheRest = "\x1B[K";

/// How much of a line the terminal shows: a longer one would go on in the next, which cannot be rewritten.
size_t TerminalWidth()
{
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return isKnown ? size.ws_col - 1U : std::string::npos;
}

/// How much of a grab with an end is done.
std::string Bar(uint64_t done, uint64_t frames)
{
    constexpr uint64_t width = 30;
    const auto filled = std::min(done, frames) * width / frames;
    return fmt::format("[{:#<{}}{:{}}] ", "", filled, "", width - filled);
}

} // namespace

std::string ProgressText(const GrabReport &report, uint64_t frames, bool hasBar)
{
    if (report.hasEnded && report.waiting != 0)
    {
        return fmt::format("{} still to write; Ctrl-C leaves them out", report.waiting);
    }
    const auto &statistics = report.statistics;
    const auto begin =
        frames != 0 ? fmt::format("{}{}/{}", hasBar ? Bar(report.taken, frames) : "", report.taken, frames)
                    : fmt::format("{:.0f} s  {} frames", statistics.Seconds(), report.taken);
    const auto &intervals = statistics.Intervals();
    constexpr double ms = 1000;
    return fmt::format(
        "{}  {:.1f} frames/s{}  {} lost  {} incomplete{}", begin, statistics.Rate(),
        frames == 0 ? fmt::format("  {:.1f} to {:.1f} ms", intervals.Minimum() * ms, intervals.Maximum() * ms)
                    : "",
        statistics.Lost(), statistics.Incomplete(),
        report.unwritten != 0 ? fmt::format("  {} not written", report.unwritten) : "");
}

Progress::Progress(bool isShown, uint64_t frames, std::vector<std::string> devices)
    : m_isShown(isShown), m_frames(frames)
{
    for (auto &device : devices)
    {
        m_parts.push_back({.name = std::move(device), .text = "", .brief = "", .shown = {}});
    }
}

void Progress::Show(size_t device, const GrabReport &report)
{
    const MutexLock lock(m_mutex);
    auto &part = m_parts.at(device);
    const auto now = std::chrono::steady_clock::now();
    if (m_isShown && now - part.shown > interval)
    {
        part.shown = now;
        Draw(part, report);
    }
}

void Progress::Finish(size_t device, const GrabReport &report)
{
    const MutexLock lock(m_mutex);
    if (m_isShown && report.statistics.Delivered() != 0)
    {
        Draw(m_parts.at(device), report);
    }
}

void Progress::Clear()
{
    const MutexLock lock(m_mutex);
    if (m_isDrawn)
    {
        PrintError(fmt::format("\r{}", eraseTheRest));
    }
}

void Progress::End()
{
    const MutexLock lock(m_mutex);
    if (std::exchange(m_isDrawn, false))
    {
        PrintError("\n");
    }
}

std::string Progress::Line(std::string Part::*text) const
{
    std::string line;
    for (const auto &part : m_parts)
    {
        const auto *separator = line.empty() ? "" : " | ";
        line += m_parts.size() > 1 ? fmt::format("{}{}: {}", separator, part.name, part.*text) : part.*text;
    }
    return line + " ";
}

void Progress::Draw(Part &part, const GrabReport &report)
{
    part.text = ProgressText(report, m_frames);
    part.brief = ProgressText(report, m_frames, false);
    const auto width = TerminalWidth();
    const auto line = Line(&Part::text);
    PrintError(fmt::format("\r{}{}", line.size() <= width ? line : Line(&Part::brief).substr(0, width),
                           eraseTheRest));
    m_isDrawn = true;
}

} // namespace gentlctl
