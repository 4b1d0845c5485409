#include "consumer/access_status.h"

#include <gentl/gentl.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace gentlctl
{

using namespace GenTL;

namespace
{

struct AccessStatus
{
    int32_t status;
    std::string_view name;
    std::string_view reason;
};

constexpr std::array accessStatuses{
    AccessStatus{DEVICE_ACCESS_STATUS_UNKNOWN, "UNKNOWN",
                 "the producer does not know whether it can be opened"},
    AccessStatus{DEVICE_ACCESS_STATUS_READWRITE, "READWRITE", ""},
    AccessStatus{DEVICE_ACCESS_STATUS_READONLY, "READONLY",
                 "another application controls it; it can only be read"},
    AccessStatus{
        DEVICE_ACCESS_STATUS_NOACCESS, "NOACCESS",
        "the producer does not admit this model, or cannot reach the device (check its network settings)"},
    AccessStatus{DEVICE_ACCESS_STATUS_BUSY, "BUSY", "another application has it open"},
    AccessStatus{DEVICE_ACCESS_STATUS_OPEN_READWRITE, "OPEN_READWRITE",
                 "this application has it open already"},
    AccessStatus{DEVICE_ACCESS_STATUS_OPEN_READONLY, "OPEN_READONLY",
                 "this application has it open for reading"},
};

const AccessStatus *FindAccessStatus(int32_t status)
{
    const auto *entry = std::ranges::find(accessStatuses, status, &AccessStatus::status);
    return entry != accessStatuses.end() ? entry : nullptr;
}

} // namespace

std::string AccessStatusName(int32_t status)
{
    const auto *entry = FindAccessStatus(status);
    return entry != nullptr ? std::string(entry->name) : std::to_string(status);
}

std::string AccessStatusReason(int32_t status)
{
    const auto *entry = FindAccessStatus(status);
    return entry != nullptr ? std::string(entry->reason) : "the producer gives a status of its own";
}

} // namespace gentlctl
