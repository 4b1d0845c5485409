#include "consumer/features.h"

#include "consumer/feature_details.h"
#include "consumer/feature_limits.h"
#include "consumer/feature_values.h"
#include "consumer/feature_writing.h"
#include "consumer/name_patterns.h"

#include <fmt/format.h>

#include <algorithm>
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

/// The features without their cached values: the next read reaches the device.
genapi::GraphFeatures &Fresh(genapi::GraphFeatures &features)
{
    features.Invalidate();
    return features;
}

/// Why a feature has no value now. None when its access cannot be found out: reading the feature then fails
/// with the cause.
std::optional<std::string> ReasonFor(genapi::GraphFeatures &features, const FeatureDescription &description,
                                     const std::string &name)
{
    if (const auto *const port = description.TransientPortOf(description.Find(name)))
    {
        return std::string(port->when);
    }
    const auto access = features.AccessOf(name);
    return access.failed || (access.implemented && access.available)
               ? std::nullopt
               : std::optional<std::string>("not available now");
}

/// @throws std::runtime_error the feature cannot be read now
Json Read(genapi::GraphFeatures &features, const FeatureDescription &description, const std::string &name)
{
    if (const auto why = ReasonFor(features, description, name))
    {
        throw std::runtime_error(fmt::format("{}: {}", name, *why));
    }
    return ReadFeature(features, description, name);
}

Json ValueOrReason(genapi::GraphFeatures &features, const FeatureDescription &description,
                   const std::string &name, bool isNamed)
{
    try
    {
        if (const auto why = isNamed ? std::nullopt : ReasonFor(features, description, name))
        {
            // In a list of all features, a feature without a value is not a failure.
            return {{"text", *why}};
        }
        return Read(features, description, name);
    }
    catch (const std::exception &exception)
    {
        return ErrorOf(exception);
    }
}

/// Appends the description of a feature to its value, or to the reason why it has none.
Json WithDetails(genapi::GraphFeatures &features, const FeatureDescription &description,
                 const std::string &name, Json value)
{
    auto details = value.is_object() ? std::move(value) : Json{{"value", std::move(value)}};
    details.update(DescribeFeature(features, description, name));
    return details;
}

} // namespace

Features::Features(std::shared_ptr<Port> port)
    : m_port(std::move(port)), m_description(*m_port),
      m_registers(std::make_unique<FeatureRegisters>(*m_port, m_description.ChunkIds())),
      m_features(std::make_unique<genapi::GraphFeatures>(m_description.Graph(), *m_registers))
{
}

std::vector<std::string> Features::AvailableEntries(const std::string &name) const
{
    m_description.Find(name);
    return AvailableEntriesOf(Fresh(*m_features), name);
}

std::optional<std::string> Features::WhyWithoutValue(const std::string &name) const
{
    return ReasonFor(Fresh(*m_features), m_description, name);
}

Json Features::Get(const std::string &name) const
{
    return Read(Fresh(*m_features), m_description, name);
}

int64_t Features::GetInteger(const std::string &name) const
{
    m_description.Find(name);
    return Fresh(*m_features).ReadInteger(name);
}

void Features::Set(const std::string &name, const std::string &value) const
{
    if (const auto *const port = m_description.TransientPortOf(m_description.Find(name)))
    {
        throw std::runtime_error(std::string(port->when));
    }
    WriteFeature(Fresh(*m_features), NodeOf(name), value);
}

bool Features::IsReadOnly(const std::string &name) const
{
    m_description.Find(name);
    const auto access = Fresh(*m_features).AccessOf(name);
    return access.implemented && access.available && !access.writable && !access.failed;
}

bool Features::IsCommand(const std::string &name) const
{
    return NodeOf(name).kind == genapi::NodeKind::Command;
}

std::string Features::Allowed(const std::string &name) const
{
    return DescribeLimits(Fresh(*m_features), NodeOf(name));
}

Json Features::Values(const std::vector<std::string> &names, Extent extent) const
{
    m_features->Invalidate();
    auto values = Json::object();
    const auto add = [&](const std::string &name, bool isNamed)
    {
        auto value = ValueOrReason(*m_features, m_description, name, isNamed);
        values[name] = extent == Extent::Details && m_description.Has(name)
                           ? WithDetails(*m_features, m_description, name, std::move(value))
                           : std::move(value);
    };
    const auto known = Names();
    for (const auto &name : names.empty() ? std::vector<std::string>{"*"} : names)
    {
        const auto matching = MatchingNames(known, name);
        if (!IsPattern(name))
        {
            add(name, true);
        }
        else if (matching.empty() && !names.empty())
        {
            values[name] = {{"error", fmt::format("No feature matches \"{}\"", name)}};
        }
        std::ranges::for_each(matching, [&](const std::string &one) { add(one, false); });
    }
    return values;
}

Json Features::ChunkValues(const Chunks &chunks) const
{
    m_registers->Attach(chunks);
    m_features->Invalidate();
    auto values = Json::object();
    for (const auto &[name, id] : m_description.ChunkFeatures())
    {
        if (!chunks.contains(id))
        {
            continue;
        }
        try
        {
            values[name] = ReadFeature(*m_features, m_description, name);
        }
        catch (const std::exception &exception)
        {
            values[name] = ErrorOf(exception);
        }
    }
    m_registers->Attach({});
    return values;
}

const genapi::Node &Features::NodeOf(const std::string &name) const
{
    return m_description.Graph()[m_description.Find(name)];
}

} // namespace gentlctl
