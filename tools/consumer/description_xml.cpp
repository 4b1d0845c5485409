#include "consumer/description_xml.h"

#include "consumer/description.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <pugixml.hpp>

#include <charconv>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace gentlctl
{
namespace
{

int64_t LiteralOf(const pugi::xml_text &text)
{
    return std::string_view(text.get()) == "true" ? 1 : text.as_llong();
}

/// Replaces the literal value of each integer, boolean and enumeration by a register that the port itself
/// holds.
void GiveRegisters(pugi::xml_document &description, Port &port)
{
    auto root = description.child("RegisterDescription");
    for (const auto &found :
         description.select_nodes("//Integer[Value]|//Boolean[Value]|//Enumeration[Value]"))
    {
        auto node = found.node();
        const auto name = std::string(node.attribute("Name").value()) + "_Literal";
        auto reg = root.append_child("IntReg");
        reg.append_attribute("Name").set_value(name.c_str());
        const auto add = [&reg](const char *element, const std::string &text)
        { reg.append_child(element).text().set(text.c_str()); };
        add("Address", fmt::format("0x{:X}", port.AddRegister(LiteralOf(node.child("Value").text()))));
        add("Length", "8");
        add("AccessMode",
            node.child("ImposedAccessMode") ? node.child("ImposedAccessMode").text().get() : "RW");
        add("Endianess", "LittleEndian");
        node.remove_child("Value");
        node.append_child("pValue").text().set(name.c_str());
    }
}

std::string TextOf(const pugi::xml_document &description)
{
    std::ostringstream text;
    description.save(text, "", pugi::format_raw);
    return text.str();
}

std::map<std::string, uint64_t> ChunkIds(const pugi::xml_document &description)
{
    std::map<std::string, uint64_t> ids;
    for (const auto &found : description.select_nodes("//Port[ChunkID]"))
    {
        const std::string_view text = found.node().child("ChunkID").text().get();
        const auto digits = text.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
        uint64_t id = 0;
        if (std::from_chars(digits.data(), digits.data() + digits.size(), id, 16).ec == std::errc())
        {
            ids[found.node().attribute("Name").value()] = id;
        }
    }
    return ids;
}

std::map<std::string, std::string> PassingPorts(const pugi::xml_document &description)
{
    std::map<std::string, std::string> ports;
    for (const auto &found : description.select_nodes("//Port"))
    {
        const auto port = found.node();
        const std::string name = port.attribute("Name").value();
        if (port.child("ChunkID") || port.child("pChunkID"))
        {
            ports[name] = "only with a frame";
        }
        else if (port.child("EventID"))
        {
            ports[name] = "only with an event";
        }
    }
    return ports;
}

std::string Ipv4Address(uint64_t value)
{
    return fmt::format("{}.{}.{}.{}", (value >> 24U) & 0xFFU, (value >> 16U) & 0xFFU, (value >> 8U) & 0xFFU,
                       value & 0xFFU);
}

std::string MacAddress(uint64_t value)
{
    std::vector<uint64_t> bytes;
    for (int shift = 40; shift >= 0; shift -= 8)
    {
        bytes.push_back((value >> static_cast<unsigned>(shift)) & 0xFFU);
    }
    return fmt::format("{:02x}", fmt::join(bytes, ":"));
}

std::map<std::string, NumberForm> NumberForms(const pugi::xml_document &description)
{
    std::map<std::string, NumberForm> forms;
    for (const auto &found : description.select_nodes("//Representation"))
    {
        const std::string name = found.node().parent().attribute("Name").value();
        const std::string_view form = found.node().text().get();
        if (form == "IPV4Address")
        {
            forms[name] = Ipv4Address;
        }
        else if (form == "MACAddress")
        {
            forms[name] = MacAddress;
        }
    }
    return forms;
}

} // namespace

DescriptionXml ReadDescriptionXml(Port &port)
{
    const auto text = LoadDescription(port);
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    GiveRegisters(document, port);
    return {TextOf(document), PassingPorts(document), ChunkIds(document), NumberForms(document)};
}

} // namespace gentlctl
