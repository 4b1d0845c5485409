#pragma once

#include "port/proxy_module.h"

namespace GenTL::internal
{

/// The base of the proxy modules, with nothing added.
class TestModule : public ProxyModule
{
public:
    using ProxyModule::ProxyModule;

    ModuleType GetModuleType() const override { return ModuleType::Interface; }
};

} // namespace GenTL::internal
