#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/port_overrides.h"
#include "port/proxy_module.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace GenTL::internal
{

/// A device's description, byte for byte as the device gave it when it was opened, and its nodes.
///
/// Owned by the device's RemotePort; constant after construction.
class DeviceDescription
{
public:
    /// Fetches the document that the port's first URL names, and reads it.
    /// @throws std::invalid_argument, std::out_of_range a URL whose fields are not numbers
    /// @throws GenTLException GC_ERR_IO for a bad archive; whatever the lower producer fails with
    explicit DeviceDescription(ProxyModule &port);

    /// The nodes; null when the URL names no address. A document that is not XML gives a parser that is not
    /// valid.
    const nodemap::NodeMapParser *Parser() const { return m_parser.get(); }

    /// Reads registers: the document's from memory, those around it through `readDevice`.
    void Read(uint64_t address, uint8_t *buffer, size_t size, const PortOverrides::ReadGap &readDevice) const;

private:
    std::unique_ptr<nodemap::NodeMapParser> m_parser;
    std::vector<uint8_t> m_document;         ///< as read, compressed or not
    std::vector<uint8_t> m_unzippedDocument; ///< empty for a plain document
    uint64_t m_address = 0;
};

} // namespace GenTL::internal
