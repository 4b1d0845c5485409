#include "nodemap/node_map.h"

#include "nodemap/url_answers.h"
#include "port/stacked_access.h"
#include "utils/checks.h"
#include "utils/info.h"

#include <fmt/format.h>

#include <cstring>
#include <utility>

namespace GenTL::internal::nodemap
{

namespace
{

std::span<const uint8_t> BytesOf(const std::variant<int32_t, int64_t, std::string, float> &value)
{
    return std::visit(
        [](const auto &held) -> std::span<const uint8_t>
        {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string>)
            {
                return {reinterpret_cast<const uint8_t *>(held.data()), held.size()};
            }
            else
            {
                return {reinterpret_cast<const uint8_t *>(&held), sizeof held};
            }
        },
        value);
}

RegisterAccess AccessOf(int32_t number)
{
    const bool isKnown = number >= static_cast<int32_t>(RegisterAccess::ReadOnly) &&
                         number <= static_cast<int32_t>(RegisterAccess::ReadWrite);
    return isKnown ? static_cast<RegisterAccess>(number) : RegisterAccess::None;
}

std::unique_ptr<IRegisterMap> MakeRegisterMap(std::span<const RegisterDefinition> definitions, void *owner)
{
    // The map reserves room for this number of registers. The number of bytes is never too small for it.
    uint64_t total = 0;
    for (const auto &definition : definitions)
    {
        total += definition.Size;
    }
    auto map = std::make_unique<RegisterMap>(total);
    for (const auto &definition : definitions)
    {
        const auto bytes = BytesOf(definition.InitialValue);
        map->AddRegister({.Access = AccessOf(definition.Access),
                          .Address = definition.Address,
                          .Size = definition.Size,
                          .OnWrite = definition.OnWrite,
                          .OnRead = definition.OnRead,
                          .Context = owner},
                         bytes.data(), bytes.size());
    }
    return map;
}

[[noreturn]] void ThrowNotImplemented(int32_t command)
{
    throw GenTLException(fmt::format("Command {} is not implemented", command), GC_ERR_NOT_IMPLEMENTED);
}

template <typename Buffer, typename Access>
void AccessRegisters(Buffer *pBuffer, size_t *piSize, Access access)
{
    utils::CheckNotNull("piSize", piSize);
    utils::CheckNotZero("*piSize", *piSize);
    utils::CheckNotNull("pBuffer", pBuffer);
    const size_t size = *piSize;
    *piSize = 0;
    access(size);
    *piSize = size;
}

} // namespace

NodeMap::NodeMap(std::string portName, std::string tlType, ModuleType moduleType, std::string_view document,
                 void *owner, std::span<const RegisterDefinition> definitions, const Identity &identity)
    : NodeMap(std::move(portName), std::move(tlType), moduleType, document,
              MakeRegisterMap(definitions, owner), identity)
{
}

NodeMap::NodeMap(std::string portName, std::string tlType, ModuleType moduleType, std::string_view document,
                 std::unique_ptr<IRegisterMap> registerMap, const Identity &identity)
    : m_portName(std::move(portName)), m_tlType(std::move(tlType)), m_moduleType(moduleType),
      m_document(document), m_registerMap(std::move(registerMap)), m_identity(identity)
{
    auto &map = GetRegisterMap();
    m_documentAddress = map.Size();
    map.AddRegister(
        {.Access = RegisterAccess::ReadOnly, .Address = m_documentAddress, .Size = m_document.size()},
        m_document.data(), m_document.size());
}

IRegisterMap &NodeMap::GetRegisterMap()
{
    if (!m_registerMap)
    {
        throw GenTLException("RegisterMap not initialized!", GC_ERR_ERROR);
    }
    return *m_registerMap;
}

std::string NodeMap::Url() const
{
    return fmt::format("local:///{}.xml;{:X};{:X}?SchemaVersion={}.{}.0", ToString(m_moduleType),
                       m_documentAddress, m_document.size(), 1, 1);
}

// C-10: the answer is one byte longer than the text and its terminator, and *piSize keeps the size of a
// larger buffer.
void NodeMap::GetPortURL(char *sURL, size_t *piSize)
{
    utils::CheckNotNull("piSize", piSize);
    const auto url = Url();
    const size_t needed = url.size() + 2;
    if (sURL == nullptr)
    {
        *piSize = needed;
        return;
    }
    utils::CheckBufferSize(*piSize, needed);
    std::memcpy(sURL, url.c_str(), url.size() + 1);
    sURL[url.size() + 1] = '\0';
}

void NodeMap::GetPortInfo(PORT_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    utils::WriteInfo(PortAnswer(iInfoCmd), piType, pBuffer, piSize);
}

utils::Info NodeMap::PortAnswer(PORT_INFO_CMD command) const
{
    using utils::Info;
    switch (command)
    {
    case PORT_INFO_ID:
    case PORT_INFO_PORTNAME:
        return Info::Text(m_portName);
    case PORT_INFO_VENDOR:
        return Info::Text(m_identity.vendor);
    case PORT_INFO_MODEL:
        return Info::Text(m_identity.id);
    case PORT_INFO_TLTYPE:
        return Info::Text(m_tlType);
    case PORT_INFO_MODULE:
        return Info::Text("TL" + ToString(m_moduleType));
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
    case PORT_INFO_ACCESS_WRITE:
        return Info::Bool(true);
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
        return Info::Bool(false);
    case PORT_INFO_VERSION:
        return Info::Text(m_identity.version);
    default:
        ThrowNotImplemented(command);
    }
}

void NodeMap::GetNumPortURLs(uint32_t *piNumURLs)
{
    utils::CheckNotNull("piNumURLs", piNumURLs);
    *piNumURLs = 1;
}

void NodeMap::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer,
                             size_t *piSize)
{
    utils::CheckNotNull({{"piType", piType}, {"piSize", piSize}});
    utils::CheckIndex(iURLIndex, 1);
    utils::WriteInfo(UrlAnswer(iInfoCmd), piType, pBuffer, piSize);
}

utils::Info NodeMap::UrlAnswer(URL_INFO_CMD command) const
{
    using utils::Info;
    switch (command)
    {
    case URL_INFO_URL:
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_REGISTER_ADDRESS:
    case URL_INFO_FILE_SIZE:
    case URL_INFO_SCHEME:
    case URL_INFO_FILENAME:
        return AnswerFromUrl(Url(), command);
    case URL_INFO_FILE_VER_MAJOR:
        return Info::Int32(1);
    case URL_INFO_FILE_VER_MINOR:
    case URL_INFO_FILE_VER_SUBMINOR:
        return Info::Int32(0);
    default:
        ThrowNotImplemented(command);
    }
}

void NodeMap::ReadPortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    ReadStacked(*this, pEntries, piNumEntries);
}

void NodeMap::WritePortStacked(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    WriteStacked(*this, pEntries, piNumEntries);
}

void NodeMap::ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    AccessRegisters(pBuffer, piSize, [&](size_t size) { GetRegisterMap().Read(iAddress, pBuffer, size); });
}

void NodeMap::WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    AccessRegisters(pBuffer, piSize, [&](size_t size) { GetRegisterMap().Write(iAddress, pBuffer, size); });
}

} // namespace GenTL::internal::nodemap
