#include "gentlctl/selections.h"

#include "genapi/graph_walks.h"
#include "utils/try.h"

#include <algorithm>
#include <set>

namespace gentlctl
{

using namespace GenTL::internal::genapi;
using GenTL::internal::utils::Attempt;

namespace
{

/// A selector with more values, as a rule the index of a table, is left as it is.
constexpr size_t mostValues = 64;
constexpr size_t mostCombinations = 1024;

bool HasLimits(NodeKind kind)
{
    return kind != NodeKind::Enumeration && kind != NodeKind::Boolean && kind != NodeKind::Command;
}

} // namespace

void ReadAllOf(const NodeGraph &graph, GraphFeatures &features, const std::string &name)
{
    const auto kind = graph[graph.Find(name)].kind;
    features.AccessOf(name);
    Attempt(
        [&]
        {
            if (IsRegister(kind))
            {
                features.ReadBytes(name);
            }
            else if (kind != NodeKind::Command)
            {
                features.ReadText(name);
            }
        });
    if (kind == NodeKind::Enumeration)
    {
        Attempt([&] { features.EntriesOf(name); });
    }
    else if (HasLimits(kind))
    {
        Attempt([&] { features.LimitsOf<double>(name); });
    }
}

std::vector<recording::Selection> SelectionSurvey::Run()
{
    std::vector<recording::Selection> result;
    for (const auto &[selectors, selected] : Groups())
    {
        Survey(selectors, selected, result);
    }
    return result;
}

/// The selected features by their selectors.
std::map<SelectionSurvey::Names, SelectionSurvey::Names> SelectionSurvey::Groups() const
{
    std::map<NodeId, Names> selectorsOf;
    for (NodeId id = 0; id < m_graph.Size(); ++id)
    {
        for (const auto &property : m_graph.PropertiesOf(id))
        {
            if (property.tag == Tag::pSelected && property.target != noNode)
            {
                selectorsOf[property.target].emplace_back(m_graph[id].name);
            }
        }
    }
    std::map<Names, Names> groups;
    for (auto &[id, selectors] : selectorsOf)
    {
        std::ranges::sort(selectors);
        groups[selectors].emplace_back(m_graph[id].name);
    }
    return groups;
}

void SelectionSurvey::Survey(const Names &selectors, const Names &selected,
                             std::vector<recording::Selection> &result)
{
    Values before;
    std::vector<Reading> readings;
    Attempt(
        [&]
        {
            for (const auto &selector : selectors)
            {
                before.push_back(m_features.ReadInteger(selector));
            }
            for (const auto &values : CombinationsOf(selectors))
            {
                // A device may not have every combination.
                Attempt([&] { readings.push_back(ReadWith(selectors, values, selected)); });
            }
        });
    for (size_t i = 0; i < before.size(); ++i)
    {
        Attempt([&] { m_features.WriteInteger(selectors[i], before[i]); });
    }
    Split(readings, result);
}

std::vector<SelectionSurvey::Values> SelectionSurvey::CombinationsOf(const Names &selectors)
{
    std::vector<Values> combinations{{}};
    for (const auto &selector : selectors)
    {
        std::vector<Values> longer;
        const auto values = ValuesOf(selector);
        if (combinations.size() * values.size() > mostCombinations)
        {
            return {};
        }
        for (const auto &combination : combinations)
        {
            for (const auto value : values)
            {
                longer.push_back(combination);
                longer.back().push_back(value);
            }
        }
        combinations = std::move(longer);
    }
    return combinations;
}

/// The values that a selector can have now; none when they are too many.
SelectionSurvey::Values SelectionSurvey::ValuesOf(const std::string &selector)
{
    Values values;
    if (m_graph[m_graph.Find(selector)].kind == NodeKind::Enumeration)
    {
        for (const auto &entry : m_features.EntriesOf(selector))
        {
            if (entry.available)
            {
                values.push_back(entry.value);
            }
        }
        return values;
    }
    const auto limits = m_features.LimitsOf<int64_t>(selector);
    const auto step = std::max<int64_t>(limits.increment.value_or(1), 1);
    for (auto value = limits.min; value <= limits.max; value += step)
    {
        if (values.size() == mostValues)
        {
            return {};
        }
        values.push_back(value);
        if (value > limits.max - step)
        {
            break;
        }
    }
    return values;
}

SelectionSurvey::Reading SelectionSurvey::ReadWith(const Names &selectors, const Values &values,
                                                   const Names &selected)
{
    for (size_t i = 0; i < selectors.size(); ++i)
    {
        m_features.WriteInteger(selectors[i], values[i]);
    }
    m_features.Invalidate();
    m_log.Take();
    for (const auto &selector : selectors)
    {
        m_features.ReadInteger(selector);
    }
    auto blocks = m_log.Take();
    Reading reading;
    for (const auto &selector : selectors)
    {
        for (const auto &place : PlacesOf(m_features, selector))
        {
            if (const auto block = blocks.find(place.address); block != blocks.end())
            {
                reading.selectors.push_back({place.address, block->second});
            }
        }
    }
    m_features.Invalidate();
    for (const auto &name : selected)
    {
        ReadAllOf(m_graph, m_features, name);
    }
    reading.blocks = m_log.Take();
    return reading;
}

/// Splits the readings into registers that change with the selectors, and the others.
void SelectionSurvey::Split(const std::vector<Reading> &readings, std::vector<recording::Selection> &result)
{
    std::map<uint64_t, std::set<std::string>> contents;
    for (const auto &reading : readings)
    {
        for (const auto &[address, bytes] : reading.blocks)
        {
            contents[address].insert(bytes);
        }
        for (const auto &selector : reading.selectors)
        {
            contents[selector.address] = {};
        }
    }
    for (const auto &reading : readings)
    {
        recording::Selection selection{reading.selectors, {}};
        for (const auto &[address, bytes] : reading.blocks)
        {
            if (contents[address].size() > 1)
            {
                selection.values.push_back({address, bytes});
            }
            else if (!contents[address].empty())
            {
                m_others.emplace(address, bytes);
            }
        }
        if (!selection.selectors.empty() && !selection.values.empty())
        {
            result.push_back(std::move(selection));
        }
    }
}

} // namespace gentlctl
