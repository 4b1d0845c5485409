#include "consumer/feature_description.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

namespace
{

bool Resembles(const std::string &name, const std::string &wanted)
{
    const auto same = [](char a, char b)
    { return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b)); };
    const auto contains = [&](const std::string &longer, const std::string &shorter) {
        return std::search(longer.begin(), longer.end(), shorter.begin(), shorter.end(), same) !=
               longer.end();
    };
    constexpr size_t leastLength = 3;
    return std::min(name.size(), wanted.size()) >= leastLength &&
           (contains(name, wanted) || contains(wanted, name));
}

/// Names to propose in place of a wrong one.
std::vector<std::string> Similar(std::vector<std::string> names, const std::string &wanted)
{
    constexpr size_t most = 8;
    std::erase_if(names, [&](const std::string &candidate) { return !Resembles(candidate, wanted); });
    const auto sameLength = std::ranges::find(names, wanted.size(), &std::string::size);
    if (sameLength != names.end())
    {
        // This name differs from the wanted one only in case.
        return {*sameLength};
    }
    names.resize(std::min(names.size(), most));
    return names;
}

} // namespace

FeatureDescription::FeatureDescription(Port &port) : m_xml(ReadDescriptionXml(port)), m_nodes(m_xml.text)
{
    if (!m_nodes.IsValid())
    {
        throw std::runtime_error("The module's description is not a GenICam description");
    }
    for (const auto &name : m_xml.chunkIds.empty() ? std::vector<std::string>() : Names())
    {
        if (const auto chunk = m_xml.chunkIds.find(PassingPort(name)); chunk != m_xml.chunkIds.end())
        {
            m_chunkFeatures.emplace_back(name, chunk->second);
        }
    }
}

std::vector<std::string> FeatureDescription::Names() const
{
    std::vector<std::string> names;
    std::set<std::string> seen;
    // Depth first, the order of a feature tree.
    const auto visit = [&](const auto &self, const std::string &name) -> void
    {
        if (!seen.insert(name).second)
        {
            return;
        }
        if (m_nodes.HasNode(name))
        {
            names.push_back(name);
            return;
        }
        try
        {
            for (const auto &child : m_nodes.GetCategoryFeatures(name))
            {
                self(self, child);
            }
        }
        catch (const std::runtime_error &) // NOLINT(bugprone-empty-catch): neither a feature nor a category
        {
        }
    };
    visit(visit, "Root");
    return names;
}

const FeatureDescription::NodeInfo &FeatureDescription::Find(const std::string &name) const
{
    if (!m_nodes.HasNode(name))
    {
        const auto similar = Similar(Names(), name);
        throw std::runtime_error(
            similar.empty()
                ? fmt::format("There is no feature \"{}\"; `gentlctl get` without a name lists all", name)
                : fmt::format("There is no feature \"{}\"; there is {}", name, fmt::join(similar, ", ")));
    }
    return m_nodes.FindNode(name);
}

/// The chunk or event port behind a node; empty when there is none. A node names its port itself, or refers
/// to other nodes directly or through a formula.
std::string FeatureDescription::PassingPort(const std::string &node, int depth) const
{
    constexpr int deepest = 16;
    if (node.empty() || depth > deepest)
    {
        return {};
    }
    if (const auto found = m_nodes.TryFindNode(node))
    {
        return m_xml.passingPorts.contains(found->pPort) ? found->pPort
                                                         : PassingPort(found->pValue, depth + 1);
    }
    if (const auto converter = m_nodes.TryFindConverter(node))
    {
        if (auto port = PassingPort(converter->pValue, depth + 1); !port.empty())
        {
            return port;
        }
        for (const auto &[variable, behind] : converter->Variables)
        {
            if (auto port = PassingPort(behind, depth + 1); !port.empty())
            {
                return port;
            }
        }
    }
    return {};
}

std::optional<std::string> FeatureDescription::WhyPassing(const std::string &name) const
{
    const auto port = PassingPort(name);
    return port.empty() ? std::nullopt : std::optional(m_xml.passingPorts.at(port));
}

NumberForm FeatureDescription::FormOf(const NodeInfo &node) const
{
    // The form may be a property of the register behind the feature.
    for (const auto &name : {node.Name, node.pValue})
    {
        if (const auto form = m_xml.forms.find(name); form != m_xml.forms.end())
        {
            return form->second;
        }
    }
    return nullptr;
}

} // namespace gentlctl
