#include "findings/finding.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace gentlctl
{
namespace
{

/// In the order of Level.
constexpr std::array<std::string_view, 5> levelNames{"fine", "advice", "not checked", "will hurt", "broken"};

/// In the order of a report.
constexpr std::array<Level, 5> reportOrder{Level::Broken, Level::WillHurt, Level::NotChecked, Level::Advice,
                                           Level::Fine};

size_t CountOf(const Findings &findings, Level level)
{
    return static_cast<size_t>(std::ranges::count(findings, level, &Finding::level));
}

std::string LinesOf(const Finding &finding)
{
    auto lines = fmt::format("{:<11}  {}: {}{}{}\n", LevelName(finding.level), finding.area, finding.call,
                             finding.call.empty() ? "" : ": ", finding.text);
    constexpr auto indent = "             ";
    if (!finding.hurts.empty())
    {
        lines += fmt::format("{}hurts: {}\n", indent, finding.hurts);
    }
    if (!finding.cure.empty())
    {
        lines += fmt::format("{}to do: {}\n", indent, finding.cure);
    }
    return lines;
}

} // namespace

std::string LevelName(Level level)
{
    return std::string(levelNames.at(static_cast<size_t>(level)));
}

Level WorstOf(const Findings &findings)
{
    const auto worst = std::ranges::max_element(findings, {}, &Finding::level);
    return worst != findings.end() ? worst->level : Level::Fine;
}

Json ToJson(const Finding &finding)
{
    return {{"level", LevelName(finding.level)},
            {"area", finding.area},
            {"call", finding.call},
            {"text", finding.text},
            {"hurts", finding.hurts},
            {"cure", finding.cure}};
}

Finding FindingFrom(const Json &json)
{
    const auto text = [&json](const char *name) { return json.at(name).get<std::string>(); };
    const auto place = std::ranges::find(levelNames, text("level")) - levelNames.begin();
    return {static_cast<Level>(place), text("area"), text("call"), text("text"), text("hurts"), text("cure")};
}

Json ReportJson(const Findings &findings)
{
    auto counts = Json::object();
    auto list = Json::array();
    for (const auto level : reportOrder)
    {
        counts[LevelName(level)] = CountOf(findings, level);
    }
    for (const auto &finding : findings)
    {
        list.push_back(ToJson(finding));
    }
    return {{"worst", LevelName(WorstOf(findings))}, {"counts", counts}, {"findings", list}};
}

std::string ReportText(const Findings &findings)
{
    std::string text;
    std::string counts;
    for (const auto level : reportOrder)
    {
        for (const auto &finding : findings)
        {
            text += finding.level == level ? LinesOf(finding) : std::string();
        }
        counts +=
            fmt::format("{}{} {}", counts.empty() ? "" : ", ", CountOf(findings, level), LevelName(level));
    }
    return text + "\n" + counts + "\n";
}

} // namespace gentlctl
