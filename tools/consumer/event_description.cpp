#include "consumer/event_description.h"

#include "consumer/feature_values.h"
#include "genapi/i_register_port.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

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

} // namespace

EventDescription::EventDescription(internal::IPort &port) : m_description(port)
{
    for (const auto &name : m_description.Names())
    {
        if (const auto id = m_description.EventIdOf(m_description.Find(name)))
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
