#pragma once

#include "genapi/node_graph.h"
#include "remote/description_editor.h"
#include "support/description_fixture.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Descriptions and what the editor makes of them.
namespace GenTL::internal::edited
{

/// Conversions by the names of the formats.
inline ConversionTable
ConversionsBetween(const std::vector<std::pair<std::string_view, std::string_view>> &names)
{
    using tarn::common::wideFormats;
    std::vector<FormatConversion> conversions;
    for (const auto &[input, output] : names)
    {
        conversions.push_back({wideFormats.Find(input), wideFormats.Find(output)});
    }
    return ConversionTable(conversions);
}

inline const ConversionTable &UsualConversions()
{
    static const auto conversions = ConversionsBetween({{"Mono10p", "Mono10"},
                                                        {"Mono12p", "Mono12"},
                                                        {"Mono10Packed", "Mono10"},
                                                        {"Mono12Packed", "Mono12"},
                                                        {"BayerRG12p", "BayerRG12"},
                                                        {"BayerRG12Packed", "BayerRG12"}});
    return conversions;
}

/// A parsed description.
struct Parsed
{
    explicit Parsed(std::string document) : text(std::move(document))
    {
        const auto result =
            tree.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
        if (!result)
        {
            throw std::runtime_error(fmt::format("{} at {}:\n{}", result.description(), result.offset, text));
        }
        graph = std::make_unique<genapi::NodeGraph>(tree);
    }

    DeviceDocument Device() const { return {text, tree.document_element(), *graph, {0x10000, text.size()}}; }

    std::string text;
    pugi::xml_document tree;
    std::unique_ptr<genapi::NodeGraph> graph;
};

/// The text of a node, without the white space between its elements.
inline std::string NodeText(const Parsed &document, std::string_view name)
{
    const auto id = document.graph->Find(name);
    if (id == genapi::noNode)
    {
        return "none";
    }
    std::ostringstream text;
    (*document.graph)[id].element.print(text, "", pugi::format_raw);
    return text.str();
}

/// A description as the device has it and as the editor makes it.
struct Edit
{
    explicit Edit(const std::string &document, const ConversionTable &conversions = UsualConversions())
        : device(document), result(DescriptionEditor(device.Device(), conversions).Edit()),
          consumer(result.document)
    {
    }

    Parsed device;
    EditedDescription result;
    Parsed consumer;
};

/// The names of all fixtures, in alphabetical order.
inline std::vector<std::string> AllFixtures()
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(std::filesystem::path(QVR_SOURCE_DIR) /
                                                                 "tests/fixtures/descriptions"))
    {
        names.push_back(entry.path().stem());
    }
    std::ranges::sort(names);
    return names;
}

/// A description of these nodes and a port.
inline std::string DescriptionOf(const std::string &nodes)
{
    return "<RegisterDescription SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\">" + nodes +
           "<Port Name=\"Device\"/></RegisterDescription>";
}

/// A register of 4 bytes.
inline std::string RegisterNode(const std::string &name, uint64_t address)
{
    return fmt::format(
        "<IntReg Name=\"{}\"><Address>0x{:X}</Address><Length>4</Length><AccessMode>RW</AccessMode>"
        "<pPort>Device</pPort></IntReg>",
        name, address);
}

/// A PixelFormat with these entries, at 0x108.
inline std::string PixelFormatNode(const std::string &entries, const std::string &head = "")
{
    return "<Enumeration Name=\"PixelFormat\">" + head + entries +
           "<pValue>PixelFormatReg</pValue></Enumeration>" + RegisterNode("PixelFormatReg", 0x108);
}

inline std::string EntryNode(const std::string &name, int64_t value, const std::string &head = "")
{
    return fmt::format("<EnumEntry Name=\"{}\">{}<Value>{}</Value></EnumEntry>", name, head, value);
}

} // namespace GenTL::internal::edited
