#include "port/module_description.h"

#include "port/i_port.h"
#include "utils/lower_info.h"

#include <algorithm>

namespace GenTL::internal
{

namespace
{

uint64_t ReadUrlNumber(IPort &port, URL_INFO_CMD command)
{
    return utils::ReadValue<uint64_t>(INFO_DATATYPE_UINT64,
                                      [&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                      { port.GetPortURLInfo(0, command, type, buffer, size); });
}

} // namespace

std::vector<uint8_t> ReadDescription(IPort &port)
{
    const auto address = ReadUrlNumber(port, URL_INFO_FILE_REGISTER_ADDRESS);
    const auto length = ReadUrlNumber(port, URL_INFO_FILE_SIZE);
    std::vector<uint8_t> bytes(length);
    size_t size = bytes.size();
    port.ReadPort(address, bytes.data(), &size);
    bytes.resize(std::min(bytes.size(), size));
    return bytes;
}

} // namespace GenTL::internal
