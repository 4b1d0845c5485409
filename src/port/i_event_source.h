#pragma once

#include <gentl/gentl.h>

namespace GenTL::internal
{

/// A module on which GCRegisterEvent works.
class IEventSource
{
public:
    IEventSource() = default;
    IEventSource(const IEventSource &) = delete;
    IEventSource &operator=(const IEventSource &) = delete;
    virtual ~IEventSource() = default;

    virtual void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) = 0;
    virtual void UnregisterEvent(EVENT_TYPE iEventID) = 0;
};

} // namespace GenTL::internal
