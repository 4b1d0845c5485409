#include "remote/device_features.h"

#include "nodemap/node_access.h"
#include "utils/gentl_exception.h"

namespace GenTL::internal
{

using nodemap::NodeInfo;

const nodemap::NodeMapParser &DeviceFeatures::Parser() const
{
    if (m_parser == nullptr)
    {
        throw GenTLException("Parser not initialized", GC_ERR_ERROR);
    }
    return *m_parser;
}

const nodemap::NodeMapParser &DeviceFeatures::ValidParser() const
{
    if (m_parser == nullptr || !m_parser->IsValid())
    {
        throw GenTLException("XML not parsed or not valid!", GC_ERR_ERROR);
    }
    return *m_parser;
}

const NodeInfo &DeviceFeatures::Find(const std::string &name) const
{
    return Parser().FindNode(name);
}

const NodeInfo *DeviceFeatures::TryFind(const std::string &name) const
{
    return Parser().HasNode(name) ? &Parser().FindNode(name) : nullptr;
}

const NodeInfo *DeviceFeatures::TryFindReadable(const std::string &name) const
{
    const auto *node = TryFind(name);
    return node != nullptr && nodemap::IsReadable(m_port, Parser(), *node) ? node : nullptr;
}

const NodeInfo *DeviceFeatures::TryFindReadableAndWritable(const std::string &name) const
{
    const auto *node = TryFind(name);
    return node != nullptr && nodemap::IsReadableAndWritable(m_port, Parser(), *node) ? node : nullptr;
}

uint32_t DeviceFeatures::ReadUnsigned32(const std::string &name) const
{
    return nodemap::ReadUnsigned32(m_port, Find(name));
}

std::optional<double> DeviceFeatures::ReadOptionalFloat(const std::string &name) const
{
    const auto *node = TryFindReadable(name);
    return node != nullptr ? std::optional<double>(nodemap::ReadFloat(m_port, Parser(), *node))
                           : std::nullopt;
}

} // namespace GenTL::internal
