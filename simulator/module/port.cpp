#include "simulator/module/port.h"

namespace GenTL::simulator
{

Port::Port(PortIdentity identity, const FeatureLayout &layout, const std::string &description)
    : m_identity(std::move(identity)), m_descriptionSize(description.size()), m_features(layout, description)
{
}

void Port::Read(uint64_t address, std::span<uint8_t> out)
{
    RequireReachable();
    m_features.Read(address, out);
}

void Port::Write(uint64_t address, std::span<const uint8_t> in)
{
    RequireReachable();
    if (!IsWritable())
    {
        throw Error(GC_ERR_ACCESS_DENIED, "The module was opened for reading only");
    }
    m_features.Write(address, in);
}

std::string Port::Url() const
{
    return fmt::format("local:///{};{:X};{:X}?SchemaVersion=1.1.0", m_identity.descriptionFile,
                       FeatureSet::descriptionAddress, m_descriptionSize);
}

Info Port::GetPortInfo(PORT_INFO_CMD command) const
{
    switch (command)
    {
    case PORT_INFO_ID:
        return Info::Text(m_identity.id);
    case PORT_INFO_VENDOR:
        return Info::Text(m_identity.vendor);
    case PORT_INFO_MODEL:
        return Info::Text(m_identity.model);
    case PORT_INFO_TLTYPE:
        return Info::Text(m_identity.transportType);
    case PORT_INFO_MODULE:
        return Info::Text(m_identity.module);
    case PORT_INFO_LITTLE_ENDIAN:
        return Info::Bool(!m_identity.bigEndian);
    case PORT_INFO_BIG_ENDIAN:
        return Info::Bool(m_identity.bigEndian);
    case PORT_INFO_ACCESS_READ:
        return Info::Bool(true);
    case PORT_INFO_ACCESS_WRITE:
        return Info::Bool(IsWritable());
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
        return Info::Bool(false);
    case PORT_INFO_VERSION:
        return Info::Text(m_identity.version);
    case PORT_INFO_PORTNAME:
        return Info::Text(m_identity.portName);
    default:
        UnknownCommand(command);
    }
}

Info Port::GetUrlInfo(uint32_t index, URL_INFO_CMD command) const
{
    if (index != 0)
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is one URL only");
    }
    if (m_identity.lastUrlCommand && command > *m_identity.lastUrlCommand)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "URL info command {} is unknown", command);
    }
    switch (command)
    {
    case URL_INFO_URL:
        return Info::Text(Url());
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_VER_MAJOR:
        return Info::Int32(1);
    case URL_INFO_FILE_VER_MINOR:
    case URL_INFO_FILE_VER_SUBMINOR:
        return Info::Int32(0);
    case URL_INFO_FILE_SHA1_HASH:
        throw Error(GC_ERR_NOT_AVAILABLE, "No hash of the description");
    case URL_INFO_FILE_REGISTER_ADDRESS:
        return Info::UInt64(FeatureSet::descriptionAddress);
    case URL_INFO_FILE_SIZE:
        return Info::UInt64(m_descriptionSize);
    case URL_INFO_SCHEME:
        return Info::Int32(URL_SCHEME_LOCAL);
    case URL_INFO_FILENAME:
        return Info::Text(m_identity.descriptionFile);
    default:
        UnknownCommand(command);
    }
}

} // namespace GenTL::simulator
