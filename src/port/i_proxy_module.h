#pragma once

#include "port/i_event_source.h"
#include "port/i_port.h"

namespace GenTL::internal
{

/// A module that stands for a module of the lower producer.
class IProxyModule : public IPort, public IEventSource
{
public:
    /// The handle of the lower module; its GenTL type depends on the module.
    virtual void *GetLowerHandle() const = 0;
};

} // namespace GenTL::internal
