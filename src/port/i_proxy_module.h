#pragma once

#include "port/i_event_source.h"
#include "port/i_port.h"

namespace GenTL::internal
{

/// A module that mirrors one of the lower producer.
class IProxyModule : public IPort, public IEventSource
{
public:
    /// The module's handle in the lower producer, of whichever GenTL handle type.
    virtual void *GetLowerHandle() const = 0;
};

} // namespace GenTL::internal
