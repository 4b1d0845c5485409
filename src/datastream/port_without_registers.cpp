#include "datastream/port_without_registers.h"

#include "utils/checks.h"

namespace GenTL::internal
{

namespace
{

/// Checks that the named pointers are not null, then fails.
[[noreturn]] void Refuse(std::initializer_list<utils::NamedPointer> arguments)
{
    utils::CheckNotNull(arguments);
    throw GenTLException("Function not implemented", GC_ERR_NOT_IMPLEMENTED);
}

} // namespace

void PortWithoutRegisters::GetPortURL(char *, size_t *piSize)
{
    Refuse({{"piSize", piSize}});
}

void PortWithoutRegisters::GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *piType, void *, size_t *piSize)
{
    Refuse({{"piType", piType}, {"piSize", piSize}});
}

void PortWithoutRegisters::GetNumPortURLs(uint32_t *piNumURLs)
{
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 0;
}

void PortWithoutRegisters::GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *piType, void *,
                                          size_t *piSize)
{
    Refuse({{"piType", piType}, {"piSize", piSize}});
}

void PortWithoutRegisters::ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    Refuse({{"pEntries", pEntries}, {"piNumEntries", piNumEntries}});
}

void PortWithoutRegisters::WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    Refuse({{"pEntries", pEntries}, {"piNumEntries", piNumEntries}});
}

void PortWithoutRegisters::ReadRegisters(uint64_t, void *pBuffer, size_t *piSize)
{
    Refuse({{"pBuffer", pBuffer}, {"piSize", piSize}});
}

void PortWithoutRegisters::WriteRegisters(uint64_t, const void *pBuffer, size_t *piSize)
{
    Refuse({{"pBuffer", pBuffer}, {"piSize", piSize}});
}

} // namespace GenTL::internal
