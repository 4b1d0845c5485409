#pragma once

#include "port/proxy_module.h"

#include <memory>
#include <utility>

namespace gentlctl
{

/// A register port of the producer, for reading features by name.
class Port final : public GenTL::internal::ProxyModule
{
public:
    Port(std::shared_ptr<GenTL::internal::IGenTLProxy> proxy, void *handle,
         GenTL::internal::ModuleType module)
        : ProxyModule(std::move(proxy), handle), m_module(module)
    {
    }

    GenTL::internal::ModuleType GetModuleType() const override { return m_module; }

private:
    GenTL::internal::ModuleType m_module;
};

} // namespace gentlctl
