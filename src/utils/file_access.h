#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/i_port.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal::utils
{

/// Reads files of a device through the standard features for file access.
///
/// Does not interpret the content. Made for one use; port and parser must outlive it. An operation takes
/// several register accesses, so nothing else may use the device's file features meanwhile.
class FileAccess
{
public:
    FileAccess(IPort &port, const nodemap::NodeMapParser &parser) : m_port(port), m_parser(parser) {}

    /// @throws GenTLException "Did not find node {}!" for a device without file access
    std::vector<std::string> AvailableFiles() const;

    /// The size in bytes. A failure is logged and gives 0.
    uint64_t FileSize(std::string_view name) const;

    /// The content. A failure is logged, unless the device itself reports it, and gives an empty result.
    /// Trusts the device to transfer all requested bytes.
    std::vector<uint8_t> ReadFile(std::string_view name) const;

private:
    struct Nodes;

    std::vector<uint8_t> Read(const std::string &name) const;
    /// @return false when the device reports a failure
    bool Transfer(const Nodes &nodes, int64_t size, std::vector<uint8_t> &content) const;
    void Set(const nodemap::NodeInfo &enumeration, const std::string &entry) const;
    void Execute(const nodemap::NodeInfo &command) const;

    IPort &m_port;
    const nodemap::NodeMapParser &m_parser;
};

} // namespace GenTL::internal::utils
