#pragma once

#include "genapi/node_graph.h"
#include "remote/edited_description.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// The registers of ours that a description gets, and the names of all its new nodes.
///
/// A helper of the editor; the graph must outlive it.
class RegisterPlan
{
public:
    explicit RegisterPlan(const genapi::NodeGraph &graph);

    /// Whether the description has a port for registers of ours.
    bool HasPort() const { return m_defaultPort != genapi::noNode; }
    /// Plans a register.
    /// @param name of the node, still without prefix and suffix
    /// @param replaced the feature whose value it takes the place of; its port is used. noNode: the device's.
    /// @return its position
    size_t Add(RegisterRole role, std::string_view name, genapi::NodeId replaced);
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

    const genapi::NodeGraph &m_graph;
    genapi::NodeId m_defaultPort;
    std::vector<EditedRegister> m_registers;
    std::string m_suffix;
};

/// The visible nodes that the editor may add.
namespace names
{
inline constexpr std::string_view category = "ProxyControl";
inline constexpr std::string_view transport = "PixelFormatTransport";
inline constexpr std::string_view devicePixelFormat = "DevicePixelFormat";
inline constexpr std::string_view devicePixelSize = "DevicePixelSize";
inline constexpr std::string_view devicePayloadSize = "DevicePayloadSize";
} // namespace names

} // namespace GenTL::internal
