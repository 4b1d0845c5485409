#include "consumer/setting_places.h"

#include <fnmatch.h>

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace gentlctl
{

using namespace GenTL::internal::genapi;

namespace
{

/// Published features that can be written but are not settings: the identity of a device, its connection, and
/// the steps of a transfer.
constexpr const char *noSettings[] = {
    "DeviceUserID",     "TLParamsLocked", "FileAccess*",    "FileOpenMode",
    "GevCCP",           "GevSCDA",        "GevSCPHostPort", "GevMCDA",
    "GevMCPHostPort",   "GevPersistent*", "GevCurrentIP*",  "GevPrimaryApplication*",
    "DeviceRegisters*", "TestPendingAck", "UserSetDefault", "ActionDeviceKey",
};

/// Selectors by their published names. Another feature with pSelected is a setting: trying its values to see
/// what they select would change how the device works.
constexpr const char *selectors[] = {"*Selector", "LUTIndex"};

template <typename Patterns>
bool MatchesOne(const Patterns &patterns, const std::string &name)
{
    return std::ranges::any_of(patterns,
                               [&](const char *pattern) { return fnmatch(pattern, name.c_str(), 0) == 0; });
}

bool IsMarked(const Node &node)
{
    return std::string_view(node.element.child("Streamable").text().get()) == "Yes";
}

/// The selectors of each node.
class SelectorMap
{
public:
    explicit SelectorMap(const NodeGraph &graph) : m_graph(graph)
    {
        for (NodeId id = 0; id < graph.Size(); ++id)
        {
            for (const auto &property : graph.PropertiesOf(id))
            {
                if (property.tag == Tag::pSelected && property.target != noNode &&
                    MatchesOne(selectors, std::string(graph[id].name)))
                {
                    m_selectors[property.target].push_back(id);
                }
            }
        }
    }

    /// The selectors of the feature, and theirs, outer ones first.
    std::vector<std::string> Of(NodeId feature) const
    {
        std::vector<std::string> names;
        std::set<NodeId> seen{feature};
        Append(feature, 0, seen, names);
        return names;
    }

private:
    void Append(NodeId selected, int level, std::set<NodeId> &seen, std::vector<std::string> &names) const
    {
        constexpr int deepest = 8; // selectors select each other in no more than three levels in practice
        const auto found = m_selectors.find(selected);
        for (const auto selector :
             found == m_selectors.end() || level == deepest ? std::vector<NodeId>() : found->second)
        {
            if (seen.insert(selector).second)
            {
                Append(selector, level + 1, seen, names);
                names.emplace_back(m_graph[selector].name);
            }
        }
    }

    const NodeGraph &m_graph;
    std::map<NodeId, std::vector<NodeId>> m_selectors;
};

} // namespace

std::vector<SettingPlace> SettingPlacesOf(const FeatureDescription &description)
{
    const auto &graph = description.Graph();
    std::vector<NodeId> candidates;
    for (const auto &name : description.Names())
    {
        const auto id = description.Find(name);
        if (graph[id].kind != NodeKind::Command && !MatchesOne(selectors, name) &&
            description.TransientPortOf(id) == nullptr)
        {
            candidates.push_back(id);
        }
    }
    constexpr size_t oneIn = 10;
    const auto marked = static_cast<size_t>(
        std::ranges::count_if(candidates, [&](NodeId id) { return IsMarked(graph[id]); }));
    const bool usesMark = marked != 0 && marked * oneIn >= candidates.size();
    const SelectorMap selectorsOf(graph);
    std::vector<SettingPlace> places;
    for (const auto id : candidates)
    {
        const std::string name(graph[id].name);
        if (usesMark ? IsMarked(graph[id]) : !MatchesOne(noSettings, name))
        {
            places.push_back({name, selectorsOf.Of(id)});
        }
    }
    return places;
}

} // namespace gentlctl
