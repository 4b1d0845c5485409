#pragma once

#include "utils/mutex.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

struct GrabReport;

/// The progress of a grab in a line: a bar; without a number of frames, the time and the intervals.
/// @param frames how many are to be grabbed; 0: no limit
/// @param hasBar false for a narrow terminal: the figures alone
std::string ProgressText(const GrabReport &report, uint64_t frames, bool hasBar = true);

/// A line on standard error that is rewritten as frames arrive from one device or several. Any thread may
/// call.
class Progress
{
public:
    /// @param frames how many are to be grabbed of each device; 0: no limit
    /// @param devices their names
    Progress(bool isShown, uint64_t frames, std::vector<std::string> devices);

    /// Rewrites the line, unless this device did so a moment ago.
    void Show(size_t device, const GrabReport &report) QVR_EXCLUDES(m_mutex);

    /// Rewrites the device's part of the line a last time.
    void Finish(size_t device, const GrabReport &report) QVR_EXCLUDES(m_mutex);

    /// Makes room for another line.
    void Clear() QVR_EXCLUDES(m_mutex);

    /// Ends the line.
    void End() QVR_EXCLUDES(m_mutex);

private:
    struct Part
    {
        std::string name; ///< of the device
        std::string text;
        std::string brief; ///< without the bar, for a terminal that is too narrow
        std::chrono::steady_clock::time_point shown;
    };

    std::string Line(std::string Part::*text) const QVR_REQUIRES(m_mutex);
    void Draw(Part &part, const GrabReport &report) QVR_REQUIRES(m_mutex);

    const bool m_isShown;
    const uint64_t m_frames;
    GenTL::internal::utils::Mutex m_mutex;
    std::vector<Part> m_parts QVR_GUARDED_BY(m_mutex);
    bool m_isDrawn QVR_GUARDED_BY(m_mutex) = false;
};

} // namespace gentlctl
