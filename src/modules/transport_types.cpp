#include "modules/transport_types.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace GenTL::internal
{

namespace
{

struct TransportType
{
    std::string_view text;
    uint32_t entry;
    bool isAlwaysKnown = false;
};

constexpr uint32_t customEntry = 1000;

constexpr std::array transportTypes{
    TransportType{"GEV", 0, true},
    TransportType{"CL", 1},
    TransportType{"CXP", 2},
    TransportType{"CLHS", 3},
    TransportType{"U3V", 4, true},
    TransportType{"Mixed", 5, true},
    TransportType{"IIDC", 6},
    TransportType{"UVC", 7},
    TransportType{"Ethernet", 8},
    TransportType{"PCI", 9},
    TransportType{"Custom", customEntry, true},
};

} // namespace

uint32_t TransportTypeEntry(std::string_view text, bool allTypes)
{
    const auto *const type = std::ranges::find(transportTypes, text, &TransportType::text);
    if (type != transportTypes.end() && (allTypes || type->isAlwaysKnown))
    {
        return type->entry;
    }
    if (allTypes)
    {
        return customEntry;
    }
    throw std::runtime_error("Mapping TL type failed!");
}

} // namespace GenTL::internal
