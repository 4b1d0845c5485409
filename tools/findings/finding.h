#pragma once

#include "consumer/json.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

/// How bad a finding is, from the best to the worst.
enum class Level : uint8_t
{
    Fine,
    Advice,     ///< nothing is wrong; some setups run better with what it says
    NotChecked, ///< what it needs was not there
    WillHurt,   ///< works, but not for everyone or not always
    Broken,
};

/// What one look at one thing found.
struct Finding
{
    Level level = Level::Fine;
    std::string area;  ///< what was looked at, for example "stream"
    std::string call;  ///< the function, the file or the variable
    std::string text;  ///< what was found
    std::string hurts; ///< who suffers, and how; empty: everyone
    std::string cure;  ///< what to do; empty when nothing is to be done
};

using Findings = std::vector<Finding>;

/// The level as it is written in reports: "fine", "advice", "not checked", "will hurt",
/// "broken".
std::string LevelName(Level level);

/// The worst level; fine when there is no finding.
Level WorstOf(const Findings &findings);

Json ToJson(const Finding &finding);
/// @throws nlohmann::json::exception it is no finding
Finding FindingFrom(const Json &json);

/// The findings and how many there are of each level, for programs.
Json ReportJson(const Findings &findings);

/// The findings for people: those with something to do first, the worst on top, then a line for each thing
/// that is fine, then the counts.
std::string ReportText(const Findings &findings);

} // namespace gentlctl
