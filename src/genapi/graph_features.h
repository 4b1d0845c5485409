#pragma once

#include "genapi/feature_types.h"
#include "genapi/graph_walks.h"
#include "genapi/i_register_port.h"
#include "genapi/literal_cells.h"
#include "genapi/node_graph.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal::genapi
{

struct GraphState;

/// The features of a device by name, read and written through their chains of nodes.
///
/// Owned by whoever opens the device; graph and port must outlive it. Any thread may call Invalidate. The
/// owner holds one lock during all other calls and while it uses Literals(). Each operation is one pass. It
/// reads a node once, and a cachable register only if nobody has read it since the last write or Invalidate.
/// All operations throw GenApiError, with the chain of nodes in the text.
class GraphFeatures
{
public:
    GraphFeatures(const NodeGraph &graph, IRegisterPort &port);
    ~GraphFeatures();
    GraphFeatures(const GraphFeatures &) = delete;
    GraphFeatures &operator=(const GraphFeatures &) = delete;

    bool Has(std::string_view name) const;
    /// An unknown name is not implemented. Throws nothing: the cause holds the failure.
    Access AccessOf(std::string_view name);

    /// Returns the number of an enumeration, 1 or 0 for a boolean, 1 for a command that is done, else 0.
    /// Rounds a floating number half away from zero.
    int64_t ReadInteger(std::string_view name);
    double ReadFloat(std::string_view name);
    /// Returns the entry's name for an enumeration, "true" or "false" for a boolean, the decimal text of a
    /// number.
    std::string ReadText(std::string_view name);
    /// All bytes of any register.
    std::vector<uint8_t> ReadBytes(std::string_view name);

    /// T is int64_t or double. A limit beyond int64 becomes the nearest int64. A text or register of n bytes
    /// has the limits 0 and n.
    template <typename T>
    Limits<T> LimitsOf(std::string_view name);
    /// All entries, in document order, with their conditions as they are now.
    std::vector<Entry> EntriesOf(std::string_view name);

    /// An enumeration takes the number of an entry that is implemented and available; a boolean takes any
    /// number but 0 as true; a feature with a floating value is converted.
    void WriteInteger(std::string_view name, int64_t value);
    /// A feature with an integer value is rounded half away from zero.
    void WriteFloat(std::string_view name, double value);
    /// The name of an entry, "true" or "false", a number, or the text of a string.
    void WriteText(std::string_view name, std::string_view text);
    /// The bytes of a Register, all of them.
    void WriteBytes(std::string_view name, std::span<const uint8_t> bytes);
    void Execute(std::string_view command);

    /// The values written to literals, which an owner may share with others.
    LiteralCells &Literals();
    /// Drops all register values read so far. Any thread may call it at any time.
    void Invalidate() noexcept;

private:
    friend std::vector<AddressRange> PlacesOf(GraphFeatures &features, std::string_view name);

    std::unique_ptr<GraphState> m_state;
};

/// The places of the registers that carry a feature's value, at their present addresses. Empty for an unknown
/// name.
/// @throws GenApiError an address cannot be computed
std::vector<AddressRange> PlacesOf(GraphFeatures &features, std::string_view name);

/// Whether a condition holds: a node with a value other than 0. A missing node counts as no.
/// @throws GenApiError its value cannot be read
inline bool IsTrue(GraphFeatures &features, std::string_view node)
{
    return features.Has(node) && features.ReadFloat(node) != 0;
}

/// The names of the entries that can be chosen now, in document order.
/// @throws GenApiError as EntriesOf
std::vector<std::string> AvailableEntriesOf(GraphFeatures &features, std::string_view name);

extern template Limits<int64_t> GraphFeatures::LimitsOf(std::string_view name);
extern template Limits<double> GraphFeatures::LimitsOf(std::string_view name);

} // namespace GenTL::internal::genapi
