#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <cstdint>
#include <optional>
#include <string>

namespace GenTL::internal
{

/// The features of a device by name. Reads the device's own registers, below the overrides that a consumer
/// sees.
///
/// A view: port and parser must outlive it. Copies are cheap. As thread-safe as the port.
class DeviceFeatures
{
public:
    /// @param parser null for a device without a description
    DeviceFeatures(IPort &port, const nodemap::NodeMapParser *parser) : m_port(port), m_parser(parser) {}

    IPort &Port() const { return m_port; }
    /// @throws GenTLException "Parser not initialized"
    const nodemap::NodeMapParser &Parser() const;
    /// Like Parser, for callers that need a valid description.
    /// @throws GenTLException "XML not parsed or not valid!"
    const nodemap::NodeMapParser &ValidParser() const;

    /// @throws GenTLException "Parser not initialized"; "Did not find node {}!"
    const nodemap::NodeInfo &Find(const std::string &name) const;
    /// Null when the description has no such node.
    /// @throws GenTLException "Parser not initialized"
    const nodemap::NodeInfo *TryFind(const std::string &name) const;

    /// The node if it is there and readable, else null.
    const nodemap::NodeInfo *TryFindReadable(const std::string &name) const;
    /// The node if it is there, readable and writable, else null.
    const nodemap::NodeInfo *TryFindReadableAndWritable(const std::string &name) const;

    /// @throws GenTLException "Did not find node {}!"
    uint32_t ReadUnsigned32(const std::string &name) const;
    /// None unless the feature is readable.
    std::optional<double> ReadOptionalFloat(const std::string &name) const;

private:
    IPort &m_port;
    const nodemap::NodeMapParser *m_parser;
};

} // namespace GenTL::internal
