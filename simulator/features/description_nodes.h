#pragma once

#include "simulator/features/register_space.h"

#include <pugixml.hpp>

#include <string>
#include <vector>

namespace GenTL::simulator
{

/// Adds `<element>text</element>`. The schema demands the children of a node in a fixed order.
void AddChild(pugi::xml_node parent, const std::string &element, const std::string &text);

/// As the schema's type hexBinary: whole bytes, without a prefix.
std::string HexBinary(uint64_t value);

enum class NameSpace
{
    Standard, ///< named by the SFNC
    Custom
};

/// A variable of a formula, and the node that it stands for.
struct FormulaVariable
{
    std::string name;
    std::string target;
};

/// Where a register is, and what a consumer can do with it.
struct RegisterPlace
{
    uint64_t address;
    size_t length; ///< bytes
    Access access;
};

/// A GenICam description (GenApi schema 1.1) that grows node by node.
class DescriptionNodes
{
public:
    /// `port` is the name of the module's port. The caller adds its node last.
    explicit DescriptionNodes(std::string port);

    pugi::xml_node Root() { return m_root; }
    const std::string &Port() const { return m_port; }

    pugi::xml_node Add(const char *element, const std::string &name, NameSpace nameSpace);
    /// A node that consumers do not see.
    pugi::xml_node AddInvisible(const char *element, const std::string &name,
                                NameSpace nameSpace = NameSpace::Custom);
    /// Adds the place of a register to its node. `port` is empty for the port of the module.
    void AddPlace(pugi::xml_node node, const RegisterPlace &place, const std::string &port = {});
    void AddFormula(const char *element, const std::string &name,
                    const std::vector<FormulaVariable> &variables, const std::string &formula);

    std::string Text() const;

private:
    const std::string m_port;
    pugi::xml_document m_document;
    pugi::xml_node m_root;
};

} // namespace GenTL::simulator
