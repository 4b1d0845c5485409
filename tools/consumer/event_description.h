#pragma once

#include "consumer/feature_description.h"
#include "consumer/json.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace gentlctl
{

/// The events in a module's description. Constant after construction.
class EventDescription
{
public:
    /// @throws std::runtime_error the description cannot be loaded or read
    explicit EventDescription(GenTL::internal::IPort &port);

    /// The name of an event: the common beginning of the names of its features, for example
    /// "EventExposureEnd". Empty when the description does not have the event.
    std::string NameOf(uint64_t id) const;

    /// The values of the event's features, which read its data. An "error" stands in place of a value that
    /// cannot be read.
    Json ValuesOf(uint64_t id, std::span<const uint8_t> data) const;

private:
    FeatureDescription m_description;
    std::map<uint64_t, std::vector<std::string>> m_features; ///< by the id of their event
};

} // namespace gentlctl
