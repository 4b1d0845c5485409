#include "gentlctl/progress.h"

#include "gentlctl/grab.h"

#include <fmt/format.h>

#include <cstdio>

namespace gentlctl
{

void Progress::Show(const GrabReport &report, uint64_t done)
{
    constexpr std::chrono::milliseconds interval(100);
    const auto now = std::chrono::steady_clock::now();
    if (m_isShown && now - m_shown > interval)
    {
        Draw(report, done);
        m_shown = now;
    }
}

void Progress::Finish(const GrabReport &report, uint64_t done) const
{
    if (m_isShown && report.delivered != 0)
    {
        Draw(report, done);
        fmt::print(stderr, "\n");
    }
}

void Progress::Draw(const GrabReport &report, uint64_t done) const
{
    constexpr int width = 30;
    const auto filled = static_cast<int>(done * width / m_frames);
    fmt::print(stderr, "\r[{:#<{}}{:{}}] {}/{}  {:.1f} frames/s  {} lost  {} incomplete{} ", "", filled, "",
               width - filled, done, m_frames, FrameRate(report), report.lost, report.incomplete,
               report.unwritten != 0 ? fmt::format("  {} not written", report.unwritten) : "");
}

} // namespace gentlctl
