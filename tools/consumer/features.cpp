#include "consumer/features.h"

#include "consumer/chunk_port.h"
#include "consumer/feature_limits.h"
#include "consumer/feature_values.h"
#include "consumer/feature_writing.h"
#include "nodemap/node_access.h"

#include <fmt/format.h>

#include <exception>
#include <stdexcept>
#include <utility>

namespace gentlctl
{

using namespace GenTL::internal;

namespace
{

Json ErrorOf(const std::exception &exception)
{
    return {{"error", exception.what()}};
}

Json ValueOrReason(const Features &features, const std::string &name, bool isNamed)
{
    try
    {
        if (const auto why = isNamed ? std::nullopt : features.WhyWithoutValue(name))
        {
            // In a list of all features, a feature without a value is not a failure.
            return {{"text", *why}};
        }
        return features.Get(name);
    }
    catch (const std::exception &exception)
    {
        return ErrorOf(exception);
    }
}

/// Asks `pIsImplemented` first: a device may fail to answer `pIsAvailable` for a feature that it does not
/// implement.
bool IsImplementedAndAvailable(IPort &port, const nodemap::NodeMapParser &nodes,
                               const nodemap::NodeInfo &node)
{
    return IsTrue(port, nodes, node.pIsImplemented) && IsTrue(port, nodes, node.pIsAvailable);
}

} // namespace

Features::Features(std::shared_ptr<Port> port) : m_port(std::move(port)), m_description(*m_port) {}

std::vector<std::string> Features::AvailableEntries(const std::string &name) const
{
    return nodemap::GetAvailableEnumEntries(*m_port, m_description.Nodes(), m_description.Find(name));
}

std::optional<std::string> Features::WhyWithoutValue(const std::string &name) const
{
    const auto &node = m_description.Find(name);
    if (auto why = m_description.WhyPassing(name))
    {
        return why;
    }
    return IsImplementedAndAvailable(*m_port, m_description.Nodes(), node)
               ? std::nullopt
               : std::optional<std::string>("not available now");
}

Json Features::Get(const std::string &name) const
{
    if (const auto why = WhyWithoutValue(name))
    {
        throw std::runtime_error(fmt::format("{}: {}", name, *why));
    }
    return ReadFeature(*m_port, m_description, m_description.Find(name));
}

int64_t Features::GetInteger(const std::string &name) const
{
    return ReadIntegerFeature(*m_port, m_description, m_description.Find(name));
}

void Features::Set(const std::string &name, const std::string &value) const
{
    const auto &node = m_description.Find(name);
    if (const auto why = m_description.WhyPassing(name))
    {
        throw std::runtime_error(*why);
    }
    if (node.Type != "Enumeration" && node.Length == 0)
    {
        throw std::runtime_error("it has no register of its own");
    }
    WriteFeature(*m_port, m_description.Nodes(), node, value);
}

bool Features::IsReadOnly(const std::string &name) const
{
    return m_description.Find(name).AccessMode == nodemap::AccessMode::RO;
}

std::string Features::Allowed(const std::string &name) const
{
    return DescribeLimits(*m_port, m_description, m_description.Find(name));
}

Json Features::Values(const std::vector<std::string> &names) const
{
    auto values = Json::object();
    for (const auto &name : names.empty() ? Names() : names)
    {
        values[name] = ValueOrReason(*this, name, !names.empty());
    }
    return values;
}

Json Features::ChunkValues(const std::map<uint64_t, std::span<const uint8_t>> &chunks) const
{
    auto values = Json::object();
    for (const auto &[name, id] : m_description.ChunkFeatures())
    {
        const auto chunk = chunks.find(id);
        if (chunk == chunks.end())
        {
            continue;
        }
        ChunkPort port(chunk->second);
        try
        {
            values[name] = ReadFeature(port, m_description, m_description.Find(name));
        }
        catch (const std::exception &exception)
        {
            values[name] = ErrorOf(exception);
        }
    }
    return values;
}

} // namespace gentlctl
