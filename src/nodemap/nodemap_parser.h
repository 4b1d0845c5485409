#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace GenTL::internal::nodemap
{

/// The kind of a node, by where its value comes from.
enum class GenNodeType : int32_t
{
    Unknown = 0, ///< not in the document
    Register = 1,
    Converter = 2, ///< SwissKnife, IntSwissKnife, Converter, IntConverter
    Interface = 3, ///< Integer, Float, Enumeration, Boolean, Command
    StructEntry = 4,
};

enum class AccessMode : int32_t
{
    None = 0,
    RO = 1,
    WO = 2,
    RW = 3,
};

enum class Endianess : int32_t
{
    Little = 0xDEAD,
    Big = 0xFACE,
};

enum class Sign : int32_t
{
    Signed = 0,
    Unsigned = 1,
};

class NodeMapParser;
struct NodeInfo;

/// Points to a node of a parser's table by index, so it stays valid when the table grows.
class VectorPtr
{
public:
    VectorPtr() = default;
    VectorPtr(const NodeMapParser *parser, size_t index) : m_parser(parser), m_index(index) {}

    /// @throws std::runtime_error "Cannot dereference invalid VectorPtr"
    /// @throws std::out_of_range
    const NodeInfo &operator*() const;
    const NodeInfo *operator->() const { return &**this; }

private:
    const NodeMapParser *m_parser = nullptr;
    size_t m_index = 0;
};

/// A limit, increment or value: a literal, or a reference to the node that holds it.
struct Bound
{
    bool IsReference = false;
    /// A literal is a double or an integer. A reference is a node, or the name of a node that was unknown
    /// when the reference was read.
    std::variant<double, int64_t, std::string, VectorPtr> Value;
};

struct EnumEntry
{
    std::string Name;
    /// The parser only stores integers.
    std::variant<int64_t, std::string> Value;
    std::string pIsAvailable;
    std::string pIsImplemented;
};

/// One node of a description. A value node has copies of the address, length, access mode and byte order of
/// its register.
struct NodeInfo
{
    std::string Name;
    uint64_t Address = 0; ///< 0 for a value node without a register
    uint64_t Length = 0;  ///< bytes
    nodemap::AccessMode AccessMode = nodemap::AccessMode::None;
    std::string Type; ///< the element's name
    nodemap::Endianess Endianess = nodemap::Endianess::Little;
    nodemap::Sign Sign = nodemap::Sign::Signed;
    std::string pPort;
    std::vector<EnumEntry> EnumEntries;
    std::vector<std::string> pSelected;
    std::vector<std::string> pInvalidator;
    std::string pIsAvailable;
    std::string pIsImplemented;
    std::optional<Bound> Min;
    std::optional<Bound> Max;
    std::optional<Bound> Inc;
    std::string pValue;
    std::optional<Bound> Value;
};

/// A formula and its variables.
struct ConverterRecord
{
    std::string Formula;
    std::unordered_map<std::string, std::string> Variables; ///< variable to node
    std::unordered_map<std::string, double> Constants;
    std::string pValue; ///< empty for a SwissKnife
};

struct StructEntryRecord
{
    std::string Name;
    uint64_t Bit = 0;
    NodeInfo Register;
};

/// A GenICam description as a flat table of nodes.
///
/// Reads only what this producer needs, far less than GenApi: the register of a feature, the entries of an
/// enumeration, and the nodes that decide availability. Constant after construction. References that it
/// returns live as long as the parser. Any thread may read it.
class NodeMapParser
{
public:
    /// Malformed XML does not throw; IsValid is false then. A well-formed document with a bad value throws.
    /// @throws GenTLException "Invalid access mode in XML: {}!", "Invalid sign value in XML: {}!"
    explicit NodeMapParser(const std::string_view &xml);
    NodeMapParser(const NodeMapParser &) = delete;
    NodeMapParser &operator=(const NodeMapParser &) = delete;

    bool IsValid() const { return m_valid; }

    GenNodeType GetNodeType(const std::string &name) const;

    /// @throws GenTLException "Did not find node {}!"
    const NodeInfo &FindNode(const std::string &name) const;
    std::optional<NodeInfo> TryFindNode(const std::string &name) const;
    bool HasNode(const std::string &name) const;

    /// @throws std::runtime_error "Register Node {} not found!"
    const NodeInfo &FindRegisterNode(const std::string &name) const;
    /// @throws std::runtime_error "Interface Node {} not found!"
    const NodeInfo &FindInterfaceNode(const std::string &name) const;
    /// Finds a feature: a value node, otherwise a register that is itself a feature, such as a StringReg.
    /// @throws std::runtime_error "Interface Node {} not found!"
    const NodeInfo &FindFeatureNode(const std::string &name) const;
    /// Like FindFeatureNode; null when there is no such feature.
    const NodeInfo *TryFindFeatureNode(const std::string &name) const;
    std::optional<NodeInfo> TryFindNodeByAddress(uint64_t address) const;

    /// @throws std::runtime_error "Converter {} not found!"
    const ConverterRecord &FindConverter(const std::string &name) const;
    std::optional<ConverterRecord> TryFindConverter(const std::string &name) const;
    /// @throws std::runtime_error "StructEntry {} not found!"
    const StructEntryRecord &FindStructEntry(const std::string &name) const;
    /// @throws std::runtime_error "Category {} not found!"
    std::vector<std::string> GetCategoryFeatures(const std::string &name) const;

private:
    template <GenNodeType type>
    friend struct NodeWalker;
    friend class VectorPtr;

    bool Parse(const std::string_view &xml);
    const NodeInfo *Search(const std::string &name) const;
    std::optional<size_t> IndexOf(const std::string &name) const;
    VectorPtr Append(NodeInfo node);

    std::vector<NodeInfo> m_nodes;
    std::unordered_map<std::string, size_t> m_indices; ///< the first node of each name
    std::unordered_map<std::string, VectorPtr> m_registers;
    std::unordered_map<std::string, VectorPtr> m_interfaces;
    std::map<uint64_t, VectorPtr> m_addresses;
    std::unordered_map<std::string, ConverterRecord> m_converters;
    std::unordered_map<std::string, StructEntryRecord> m_structEntries;
    std::unordered_map<std::string, std::vector<std::string>> m_categories;
    bool m_valid = false;
};

} // namespace GenTL::internal::nodemap
