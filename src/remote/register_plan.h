#pragma once

#include "genapi/node_graph.h"
#include "remote/edited_description.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// The producer's registers that a description gets, and the names of all its new nodes.
///
/// A value inside EditPlan, for the thread of the DescriptionEditor; the graph must outlive it.
class RegisterPlan
{
public:
    explicit RegisterPlan(const genapi::NodeGraph &graph);

    /// Whether the description has a port for the producer's registers.
    bool HasPort() const { return m_defaultPort != genapi::noNode; }
    /// Plans a register.
    /// @param name of the node, still without prefix and suffix
    /// @param replaced the feature whose value it takes the place of; its port is used. noNode: the device's.
    /// @return its position
    size_t Add(RegisterRole role, std::string_view name, genapi::NodeId replaced);
    /// Plans a visible node.
    void Reserve(std::string_view name) { m_reserved.emplace_back(name); }
    EditedRegister &operator[](size_t position) { return m_registers[position]; }
    const EditedRegister &operator[](size_t position) const { return m_registers[position]; }

    /// Chooses a suffix for all names, such that no node of the description has one of them. After the last
    /// Add.
    void ChooseNames();
    /// A name of a new node that is no register. After ChooseNames.
    std::string Name(std::string_view plain) const { return std::string(plain) + m_suffix; }
    const std::vector<EditedRegister> &Registers() const { return m_registers; }

private:
    genapi::NodeId PortOf(genapi::NodeId feature) const;
    bool IsFree(const std::string &suffix) const;

    const genapi::NodeGraph *m_graph;
    genapi::NodeId m_defaultPort;
    std::vector<EditedRegister> m_registers;
    std::vector<std::string> m_reserved; ///< plain names of visible nodes
    std::string m_suffix;
};

/// The visible nodes that the producer adds, besides the device's features under their new names.
namespace names
{
inline constexpr std::string_view category = "ProxyControl";
inline constexpr std::string_view transport = "PixelFormatTransport";
} // namespace names

} // namespace GenTL::internal
