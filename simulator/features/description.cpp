#include "simulator/features/description.h"

#include "simulator/features/feature_nodes.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

void AddIdentity(pugi::xml_node root, const DescriptionIdentity &identity)
{
    const std::pair<const char *, const char *> attributes[] = {
        {"ModelName", identity.modelName.c_str()},
        {"VendorName", "QVR"},
        {"ToolTip", identity.toolTip.c_str()},
        {"StandardNameSpace", "None"},
        {"SchemaMajorVersion", "1"},
        {"SchemaMinorVersion", "1"},
        {"SchemaSubMinorVersion", "0"},
        {"MajorVersion", "1"},
        {"MinorVersion", "0"},
        {"SubMinorVersion", "0"},
        {"ProductGuid", identity.productGuid.c_str()},
        {"VersionGuid", identity.versionGuid.c_str()},
        {"xmlns", "http://www.genicam.org/GenApi/Version_1_1"},
        {"xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"},
        {"xsi:schemaLocation", "http://www.genicam.org/GenApi/Version_1_1 "
                               "http://www.genicam.org/GenApi/GenApiSchema_Version_1_1.xsd"}};
    for (const auto &[name, value] : attributes)
    {
        root.append_attribute(name) = value;
    }
}

/// A category and the names of its features.
using Category = std::pair<std::string, std::vector<std::string>>;

/// The categories in the order in which they appear in the list of features.
std::vector<Category> CategoriesOf(const FeatureLayout &layout, const std::vector<ChunkPort> &chunks)
{
    std::vector<Category> categories;
    const auto add = [&](const std::string &category, const std::string &feature)
    {
        auto found = std::ranges::find(categories, category, &Category::first);
        if (found == categories.end())
        {
            found = categories.insert(categories.end(), {category, {}});
        }
        found->second.push_back(feature);
    };
    for (const auto &place : layout.places)
    {
        if (!place.feature.category.empty())
        {
            add(place.feature.category, place.feature.name);
        }
    }
    for (const auto &chunk : chunks)
    {
        add("ChunkDataControl", chunk.feature);
    }
    return categories;
}

void AddCategories(DescriptionNodes &nodes, const std::vector<Category> &categories)
{
    const auto root = nodes.Add("Category", "Root", NameSpace::Standard);
    for (const auto &[category, features] : categories)
    {
        AddChild(root, "pFeature", category);
        const auto node = nodes.Add("Category", category, NameSpace::Standard);
        AddChild(node, "DisplayName", DisplayName(category));
        for (const auto &feature : features)
        {
            AddChild(node, "pFeature", feature);
        }
    }
}

void AddChunk(DescriptionNodes &nodes, const ChunkPort &chunk)
{
    const auto port = chunk.feature + "Port";
    const auto portNode = nodes.AddInvisible("Port", port);
    AddChild(portNode, "ChunkID", HexBinary(chunk.id));

    const bool isFloat = chunk.kind == FeatureKind::Float;
    const auto reg = nodes.AddInvisible(isFloat ? "FloatReg" : "IntReg", chunk.feature + "Reg");
    nodes.AddPlace(reg, {0, chunk.length, Access::ReadOnly}, port);
    AddChild(reg, "Cachable", "NoCache");
    if (!isFloat)
    {
        AddChild(reg, "Sign", "Unsigned");
    }
    AddChild(reg, "Endianess", "LittleEndian");

    const auto value = nodes.Add(isFloat ? "Float" : "Integer", chunk.feature, NameSpace::Standard);
    AddChild(value, "ToolTip", chunk.toolTip);
    AddChild(value, "Description", chunk.toolTip);
    AddChild(value, "DisplayName", DisplayName(chunk.feature));
    AddChild(value, "Visibility", "Expert");
    AddChild(value, "pValue", chunk.feature + "Reg");
}

} // namespace

std::string BuildDescription(const DescriptionIdentity &identity, const FeatureLayout &layout,
                             const std::vector<ChunkPort> &chunks)
{
    DescriptionNodes nodes(identity.portName);
    AddIdentity(nodes.Root(), identity);
    AddCategories(nodes, CategoriesOf(layout, chunks));
    FeatureNodes features(nodes, layout);
    for (const auto &place : layout.places)
    {
        features.Add(place);
    }
    for (const auto &chunk : chunks)
    {
        AddChunk(nodes, chunk);
    }
    nodes.AddInvisible("Port", nodes.Port(), NameSpace::Standard);
    return nodes.Text();
}

} // namespace GenTL::simulator
