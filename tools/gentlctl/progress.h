#pragma once

#include <chrono>
#include <cstdint>

namespace gentlctl
{

struct GrabReport;

/// A line on standard error that is rewritten as frames arrive.
class Progress
{
public:
    /// @param frames how many are to be grabbed
    Progress(bool isShown, uint64_t frames) : m_isShown(isShown), m_frames(frames) {}

    /// Rewrites the line, unless it was rewritten a moment ago.
    /// @param done frames that count towards those to grab
    void Show(const GrabReport &report, uint64_t done);

    /// Rewrites the line a last time and ends it.
    void Finish(const GrabReport &report, uint64_t done) const;

private:
    void Draw(const GrabReport &report, uint64_t done) const;

    bool m_isShown;
    uint64_t m_frames;
    std::chrono::steady_clock::time_point m_shown;
};

} // namespace gentlctl
