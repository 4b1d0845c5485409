#pragma once

#include "port/i_port.h"

#include <stdexcept>

namespace GenTL::internal
{

/// A base of ports for code that may only access registers. A derived class overrides ReadPort, WritePort or
/// both; every other function throws.
class RegistersOnlyPort : public IPort
{
public:
    void ReadPort(uint64_t, void *, size_t *) override { Unused(); }
    void WritePort(uint64_t, const void *, size_t *) override { Unused(); }
    void GetPortURL(char *, size_t *) override { Unused(); }
    void GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void GetNumPortURLs(uint32_t *) override { Unused(); }
    void GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

private:
    [[noreturn]] static void Unused() { throw std::logic_error("not an access to registers"); }
};

} // namespace GenTL::internal
