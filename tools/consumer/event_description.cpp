#include "consumer/event_description.h"

#include "consumer/feature_values.h"
#include "genapi/graph_walks.h"
#include "genapi/i_register_port.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <system_error>

namespace gentlctl
{

using namespace GenTL;
using namespace GenTL::internal::genapi;

namespace
{

/// The data of an event as registers.
class EventRegisters final : public IRegisterPort
{
public:
    explicit EventRegisters(std::span<const uint8_t> data) : m_data(data) {}

    void Read(uint64_t address, void *data, size_t size) override
    {
        if (address > m_data.size() || size > m_data.size() - address)
        {
            throw internal::GenTLException(
                fmt::format("the event has {} bytes, and no {} at {}", m_data.size(), size, address),
                GC_ERR_INVALID_ADDRESS);
        }
        std::memcpy(data, m_data.data() + address, size);
    }

    void Write(uint64_t, const void *, size_t) override
    {
        throw internal::GenTLException("the data of an event cannot be written", GC_ERR_ACCESS_DENIED);
    }

private:
    std::span<const uint8_t> m_data;
};

/// The number of an EventID, which is hexadecimal without a prefix.
std::optional<uint64_t> EventIdOf(const NodeGraph &graph, NodeId port)
{
    const auto *const property = port == noNode ? nullptr : graph.Find(port, Tag::EventID);
    const auto digits = property == nullptr ? std::string_view() : property->Text();
    uint64_t id = 0;
    const auto error = std::from_chars(digits.data(), digits.data() + digits.size(), id, 16).ec;
    return error == std::errc() ? std::optional(id) : std::nullopt;
}

/// The id of the event whose data carry the value of a feature.
std::optional<uint64_t> EventBehind(const NodeGraph &graph, NodeId feature)
{
    for (const auto node : ValueChain(graph, feature))
    {
        const auto *const port = graph.FindInherited(node, Tag::pPort);
        if (const auto id = EventIdOf(graph, port == nullptr ? noNode : port->target))
        {
            return id;
        }
    }
    return std::nullopt;
}

} // namespace

EventDescription::EventDescription(internal::IPort &port) : m_description(port)
{
    const auto &graph = m_description.Graph();
    for (const auto &name : m_description.Names())
    {
        if (const auto id = EventBehind(graph, graph.Find(name)))
        {
            m_features[*id].push_back(name);
        }
    }
}

std::string EventDescription::NameOf(uint64_t id) const
{
    const auto found = m_features.find(id);
    if (found == m_features.end())
    {
        return {};
    }
    auto common = found->second.front();
    for (const auto &name : found->second)
    {
        const auto end = std::ranges::mismatch(common, name).in1;
        common.erase(end, common.end());
    }
    return common;
}

Json EventDescription::ValuesOf(uint64_t id, std::span<const uint8_t> data) const
{
    auto values = Json::object();
    const auto found = m_features.find(id);
    if (found == m_features.end())
    {
        return values;
    }
    EventRegisters registers(data);
    GraphFeatures features(m_description.Graph(), registers);
    for (const auto &name : found->second)
    {
        try
        {
            values[name] = ReadFeature(features, m_description, name);
        }
        catch (const std::exception &exception)
        {
            values[name] = {{"error", exception.what()}};
        }
    }
    return values;
}

} // namespace gentlctl
