#pragma once

#include "genapi/node_graph.h"
#include "port/i_port.h"

#include <pugixml.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

/// A port whose registers exist only with a frame or an event.
struct TransientPort
{
    std::string_view when; ///< for example "only with a frame"
    std::optional<uint64_t> chunkId;
    std::optional<uint64_t> eventId;
};

/// The address of the first byte of a chunk. No device has registers in the upper half of the addresses.
/// @param index in DescriptionTree::ChunkIds
constexpr uint64_t ChunkAddress(size_t index)
{
    return (uint64_t{1} << 63U) + (uint64_t{index} << 32U);
}

/// The description behind a port, prepared for reading with the chunks of a frame at hand.
///
/// Four things differ from the document of the device. The registers in each chunk lie at an address of its
/// own, so that one port reads them beside those of the device. A port of an event has no id, so that whoever
/// has the data of the event can read its registers. The locks are left out: a write goes to the device,
/// whose refusal says more than the lock. A register without an access mode can be written, for the same
/// reason.
///
/// Constant after construction.
class DescriptionTree
{
public:
    /// @throws std::runtime_error as LoadDescription, and when the text is no GenICam description
    explicit DescriptionTree(GenTL::internal::IPort &port);

    const pugi::xml_document &Document() const { return m_document; }
    /// By their names.
    const std::map<std::string, TransientPort, std::less<>> &TransientPorts() const
    {
        return m_transientPorts;
    }
    const std::vector<uint64_t> &ChunkIds() const { return m_chunkIds; }
    /// The nodes that lock others, by the names of those.
    const std::map<std::string, std::string, std::less<>> &Locks() const { return m_locks; }

private:
    void FindTransientPorts(const GenTL::internal::genapi::NodeGraph &graph);
    void LeaveWritesToTheDevice(const GenTL::internal::genapi::NodeGraph &graph,
                                GenTL::internal::genapi::NodeId id);
    void MoveChunk(const GenTL::internal::genapi::NodeGraph &graph, GenTL::internal::genapi::NodeId id) const;

    pugi::xml_document m_document;
    std::map<std::string, TransientPort, std::less<>> m_transientPorts;
    std::vector<uint64_t> m_chunkIds;
    std::map<std::string, std::string, std::less<>> m_locks;
};

} // namespace gentlctl
