#include "simulator/features/description_nodes.h"

#include <fmt/format.h>

#include <sstream>

namespace GenTL::simulator
{

void AddChild(pugi::xml_node parent, const std::string &element, const std::string &text)
{
    parent.append_child(element.c_str()).text().set(text.c_str());
}

std::string HexBinary(uint64_t value)
{
    const auto digits = fmt::format("{:X}", value);
    return digits.size() % 2 == 0 ? digits : "0" + digits;
}

DescriptionNodes::DescriptionNodes(std::string port) : m_port(std::move(port))
{
    auto declaration = m_document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "utf-8";
    m_root = m_document.append_child("RegisterDescription");
}

pugi::xml_node DescriptionNodes::Add(const char *element, const std::string &name, NameSpace nameSpace)
{
    auto node = m_root.append_child(element);
    node.append_attribute("Name") = name.c_str();
    node.append_attribute("NameSpace") = nameSpace == NameSpace::Custom ? "Custom" : "Standard";
    return node;
}

pugi::xml_node DescriptionNodes::AddInvisible(const char *element, const std::string &name,
                                              NameSpace nameSpace)
{
    auto node = Add(element, name, nameSpace);
    AddChild(node, "Visibility", "Invisible");
    return node;
}

void DescriptionNodes::AddPlace(pugi::xml_node node, const RegisterPlace &place, const std::string &port)
{
    AddChild(node, "Address", fmt::format("0x{:X}", place.address));
    AddChild(node, "Length", fmt::to_string(place.length));
    AddChild(node, "AccessMode",
             place.access == Access::ReadOnly    ? "RO"
             : place.access == Access::WriteOnly ? "WO"
                                                 : "RW");
    AddChild(node, "pPort", port.empty() ? m_port : port);
}

void DescriptionNodes::AddFormula(const char *element, const std::string &name,
                                  const std::vector<FormulaVariable> &variables, const std::string &formula)
{
    auto node = AddInvisible(element, name);
    for (const auto &[variable, target] : variables)
    {
        auto child = node.append_child("pVariable");
        child.append_attribute("Name") = variable.c_str();
        child.text().set(target.c_str());
    }
    AddChild(node, "Formula", formula);
}

std::string DescriptionNodes::Text() const
{
    std::ostringstream text;
    m_document.save(text, "  ");
    return text.str();
}

} // namespace GenTL::simulator
