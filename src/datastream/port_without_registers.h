#pragma once

#include "port/i_port.h"

namespace GenTL::internal
{

/// The port of a module that GenTL requires to have one, but that has neither description nor registers.
///
/// It checks the pointers of a call and then fails with "Function not implemented", GC_ERR_NOT_IMPLEMENTED.
/// Only the number of URLs has an answer, 0.
class PortWithoutRegisters : public IPort
{
public:
    void GetPortURL(char *sURL, size_t *piSize) override;
    void GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize) override;
    void GetNumPortURLs(uint32_t *piNumURLs) override;
    void GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                        size_t *piSize) override;
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries) override;
    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
};

} // namespace GenTL::internal
