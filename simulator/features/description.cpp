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

/// The features that read the data of an event, one behind the other.
std::vector<std::string> FeaturesOf(const EventPort &event)
{
    const auto name = "Event" + event.name;
    std::vector<std::string> features{name, name + "Timestamp"};
    for (const auto &more : event.more)
    {
        features.push_back(name + more);
    }
    return features;
}

/// The categories in the order in which they appear in the list of features.
std::vector<Category> CategoriesOf(const FeatureLayout &layout, const std::vector<ChunkPort> &chunks,
                                   const std::vector<EventPort> &events)
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
    for (const auto &event : events)
    {
        for (const auto &feature : FeaturesOf(event))
        {
            add("EventControl", feature);
        }
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

/// Adds a feature that reads an address in the data of a chunk or an event.
void AddPassingFeature(DescriptionNodes &nodes, const ChunkPort &chunk, const std::string &port,
                       uint64_t address = 0)
{
    const bool isFloat = chunk.kind == FeatureKind::Float;
    const auto reg = nodes.AddInvisible(isFloat ? "FloatReg" : "IntReg", chunk.feature + "Reg");
    nodes.AddPlace(reg, {address, chunk.length, Access::ReadOnly}, port);
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

void AddChunk(DescriptionNodes &nodes, const ChunkPort &chunk)
{
    const auto port = chunk.feature + "Port";
    AddChild(nodes.AddInvisible("Port", port), "ChunkID", HexBinary(chunk.id));
    AddPassingFeature(nodes, chunk, port);
}

void AddEvent(DescriptionNodes &nodes, const EventPort &event)
{
    const auto port = "Event" + event.name + "Port";
    AddChild(nodes.AddInvisible("Port", port), "EventID", HexBinary(event.id));
    uint64_t address = 0;
    for (const auto &feature : FeaturesOf(event))
    {
        AddPassingFeature(nodes, {event.id, feature, FeatureKind::Integer, sizeof(uint64_t), event.toolTip},
                          port, address);
        address += sizeof(uint64_t);
    }
}

} // namespace

std::string BuildDescription(const DescriptionIdentity &identity, const FeatureLayout &layout,
                             const std::vector<ChunkPort> &chunks, const std::vector<EventPort> &events)
{
    DescriptionNodes nodes(identity.portName);
    AddIdentity(nodes.Root(), identity);
    AddCategories(nodes, CategoriesOf(layout, chunks, events));
    FeatureNodes features(nodes, layout);
    for (const auto &place : layout.places)
    {
        features.Add(place);
    }
    for (const auto &chunk : chunks)
    {
        AddChunk(nodes, chunk);
    }
    for (const auto &event : events)
    {
        AddEvent(nodes, event);
    }
    nodes.AddInvisible("Port", nodes.Port(), NameSpace::Standard);
    return nodes.Text();
}

} // namespace GenTL::simulator
