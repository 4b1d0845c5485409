#pragma once

#include "nodemap/description_location.h"

#include <pugixml.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

class IPort;

/// The description of an opened device, fetched once through its lower port: the text in UTF-8, and the tree
/// read from it.
///
/// Made when a device is opened, and owned by its EditedRemote. Constant after construction, so any
/// thread may read it. A node's offset_debug() is its place in Text().
class DescriptionSource
{
public:
    /// Fetches the document that the port's first `local:` URL names, else the file of a `file:` URL.
    /// @param device the device's name for messages
    /// @throws GenTLException with the device's name and the cause: GC_ERR_NOT_IMPLEMENTED for a description
    /// that only a server has; GC_ERR_ERROR for one that is too large or not XML; the port's code when it
    /// cannot be read
    DescriptionSource(IPort &port, std::string_view device);

    DescriptionSource(const DescriptionSource &) = delete;
    DescriptionSource &operator=(const DescriptionSource &) = delete;

    const std::string &Text() const { return m_text; }
    const pugi::xml_document &Tree() const { return m_tree; }
    const DescriptionLocation &Location() const { return m_location; }

private:
    void Parse(const std::vector<uint8_t> &bytes);

    std::string m_device;
    DescriptionLocation m_location;
    std::string m_text;
    pugi::xml_document m_tree;
};

} // namespace GenTL::internal
