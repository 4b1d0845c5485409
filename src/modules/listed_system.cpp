#include "modules/listed_system.h"

#include "modules/list_update.h"
#include "modules/transport_types.h"
#include "nodemap/descriptions.h"
#include "utils/checks.h"
#include "utils/lower_info.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace GenTL::internal
{

namespace
{

// Where the local description has the features that are read through.
constexpr uint64_t interfaceCount = 0x37C;
constexpr uint64_t interfaceSelector = 0x380;
constexpr uint64_t interfaceId = 0x384;
constexpr uint64_t interfaceDisplayName = 0x404;
constexpr uint64_t interfaceType = 0x484;
constexpr uint64_t networkAdapterCount = 0x488;

void WriteNumber(uint32_t number, std::span<uint8_t> data)
{
    utils::CheckBufferSize(data.size(), sizeof number);
    std::memcpy(data.data(), &number, sizeof number);
}

/// A text that is too long is cut.
void WriteText(const std::string &text, std::span<uint8_t> data)
{
    std::ranges::fill(data, uint8_t{0});
    std::copy_n(text.begin(), std::min(text.size(), data.size()), data.begin());
}

[[noreturn]] void ThrowInvalidAddress(uint64_t address)
{
    throw GenTLException(fmt::format("No register at 0x{:x}", address), GC_ERR_INVALID_ADDRESS);
}

} // namespace

ListedSystem::ListedSystem(std::shared_ptr<IGenTLProxy> proxy, TL_HANDLE handle)
    : m_lower(std::move(proxy), handle)
{
}

std::string ListedSystem::GetXml()
{
    return std::string(nodemap::SystemDescriptionOfAllTypes());
}

void ListedSystem::TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd,
                                      INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    CallWithKnownId([&] { m_lower.TLGetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize); },
                    [&] { m_lower.TLUpdateInterfaceList(nullptr, listUpdateMs); });
}

void ListedSystem::TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface)
{
    CallWithKnownId([&] { m_lower.TLOpenInterface(sIfaceID, phIface); },
                    [&] { m_lower.TLUpdateInterfaceList(nullptr, listUpdateMs); });
}

void ListedSystem::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    const std::span data(static_cast<uint8_t *>(pBuffer), *piSize);
    switch (iAddress)
    {
    case interfaceCount:
        return WriteNumber(Count(), data);
    case interfaceSelector:
        return WriteNumber(m_selected, data);
    case interfaceId:
        return WriteText(SelectedId(), data);
    case interfaceDisplayName:
        return WriteText(SelectedInfo(INTERFACE_INFO_DISPLAYNAME), data);
    case interfaceType:
        return WriteNumber(TransportTypeEntry(SelectedInfo(INTERFACE_INFO_TLTYPE), true), data);
    case networkAdapterCount:
        // 0 hides the features of a single network adapter, since no list call describes them.
        return WriteNumber(0, data);
    default:
        ThrowInvalidAddress(iAddress);
    }
}

void ListedSystem::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    if (iAddress != interfaceSelector)
    {
        ThrowInvalidAddress(iAddress);
    }
    uint32_t index = 0;
    utils::CheckBufferSize(*piSize, sizeof index);
    std::memcpy(&index, pBuffer, sizeof index);
    if (index >= Count())
    {
        throw GenTLException(fmt::format("There is no interface {}", index), GC_ERR_INVALID_INDEX);
    }
    m_selected = index;
}

uint32_t ListedSystem::Count()
{
    uint32_t count = 0;
    m_lower.TLGetNumInterfaces(&count);
    return count;
}

std::string ListedSystem::SelectedId()
{
    if (m_selected >= Count())
    {
        throw GenTLException(fmt::format("There is no interface {}", m_selected), GC_ERR_NOT_AVAILABLE);
    }
    return utils::ReadText([this](INFO_DATATYPE *, void *buffer, size_t *size)
                           { m_lower.TLGetInterfaceID(m_selected, static_cast<char *>(buffer), size); });
}

std::string ListedSystem::SelectedInfo(INTERFACE_INFO_CMD command)
{
    const auto id = SelectedId();
    return utils::ReadText([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                           { TLGetInterfaceInfo(id.c_str(), command, type, buffer, size); });
}

} // namespace GenTL::internal
