#pragma once

#include "port/module_type.h"

#include <gentl/gentl.h>

namespace GenTL::internal
{

/// A register port: the object behind the handle of GCReadPort and its siblings.
///
/// The exports call ReadPort and WritePort. Code of the producer that needs the module's own values calls
/// ReadRegisters and WriteRegisters. A class that shows the consumer other values overrides the first pair
/// only.
///
/// All operations throw GenTLException. The implementing class says which threads may call them.
class IPort
{
public:
    IPort() = default;
    IPort(const IPort &) = delete;
    IPort &operator=(const IPort &) = delete;
    virtual ~IPort() = default;

    virtual void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
    {
        ReadRegisters(iAddress, pBuffer, piSize);
    }
    virtual void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
    {
        WriteRegisters(iAddress, pBuffer, piSize);
    }
    virtual void GetPortURL(char *sURL, size_t *piSize) = 0;
    virtual void GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                             size_t *piSize) = 0;
    virtual void GetNumPortURLs(uint32_t *piNumURLs) = 0;
    virtual void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                void *pBuffer, size_t *piSize) = 0;
    virtual void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) = 0;
    virtual void WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) = 0;
    virtual ModuleType GetModuleType() const = 0;
    virtual void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) = 0;
    virtual void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) = 0;
};

} // namespace GenTL::internal
