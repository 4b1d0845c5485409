#pragma once

#include <gentl/gentl.h>

#include <functional>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// Where a node's register is, and how its bytes form the value.
struct NodeRegister
{
    uint64_t address;
    size_t length;
    bool bigEndian;
};

/// Access to the registers of a module.
struct RegisterPort
{
    /// @throws std::runtime_error the registers cannot be read
    std::function<std::vector<uint8_t>(uint64_t address, size_t length)> read;
    std::function<GC_ERROR(uint64_t address, const std::vector<uint8_t> &bytes)> write;
};

/// Features of a module by name, for tests. Evaluates the description: registers in either byte order, bits
/// of registers, formulas over other nodes. Nothing is cached.
class DescribedNodes
{
public:
    /// `description` is XML, with or without a byte order mark.
    DescribedNodes(RegisterPort port, const std::string &description);

    /// The value of an integer, a Boolean, an enumeration or a formula.
    int64_t Get(const std::string &name) const;
    float GetFloat(const std::string &name) const;
    std::string GetText(const std::string &name) const;

    GC_ERROR Set(const std::string &name, int64_t value) const;
    GC_ERROR SetEntry(const std::string &name, const std::string &entry) const;
    GC_ERROR SetFloat(const std::string &name, float value) const;
    GC_ERROR SetText(const std::string &name, const std::string &value) const;

    /// Whether the entry is implemented and available now.
    bool IsAvailable(const std::string &name, const std::string &entry) const;
    int64_t EntryValue(const std::string &name, const std::string &entry) const;

    pugi::xml_node Node(const std::string &name) const;
    const pugi::xml_document &Document() const { return *m_document; }
    NodeRegister RegisterOf(pugi::xml_node node) const;
    /// The register that holds the value of the feature.
    NodeRegister RegisterBehind(const std::string &name) const;

private:
    int64_t Evaluate(pugi::xml_node node, const char *element,
                     const std::map<std::string, double> &more) const;
    uint64_t AddressOf(pugi::xml_node node) const;
    pugi::xml_node Behind(const std::string &name) const;

    RegisterPort m_port;
    std::shared_ptr<pugi::xml_document> m_document;
    std::map<std::string, pugi::xml_node> m_nodes;
};

} // namespace GenTL::internal
