#include "consumer/feature_details.h"

#include "consumer/feature_limits.h"
#include "utils/try.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

using namespace GenTL::internal::genapi;
using GenTL::internal::utils::Try;

namespace
{

constexpr std::string_view integerType = "Integer";
constexpr std::string_view floatType = "Float";
constexpr std::string_view textType = "String";

/// The type of the value: nodes of several kinds may stand for a number.
std::string_view TypeOf(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Boolean:
    case NodeKind::Command:
    case NodeKind::Enumeration:
    case NodeKind::Register:
        return NameOf(kind);
    case NodeKind::String:
    case NodeKind::StringReg:
        return textType;
    default:
        return IsFloat(kind) ? floatType : integerType;
    }
}

std::string_view AccessCode(const Access &access)
{
    if (!access.implemented || !access.available)
    {
        return access.implemented ? "NA" : "NI";
    }
    return access.readable ? (access.writable ? "RW" : "RO") : (access.writable ? "WO" : "NA");
}

/// The first of these properties that an element has.
std::string_view TextOf(const pugi::xml_node &element, std::initializer_list<const char *> properties)
{
    for (const auto *property : properties)
    {
        const std::string_view found = element.child(property).text().get();
        if (!found.empty())
        {
            return found;
        }
    }
    return {};
}

/// The sentence that explains a node.
std::string_view ExplanationOf(const Node &node)
{
    return TextOf(node.element, {"Description", "ToolTip"});
}

void AddText(Json &object, const char *name, std::string_view value)
{
    if (!value.empty())
    {
        object[name] = value;
    }
}

template <typename T>
void AddRange(Json &details, GraphFeatures &features, const std::string &name)
{
    const auto limits = StatedLimits<T>(features, name);
    if (limits.min)
    {
        details["min"] = *limits.min;
    }
    if (limits.max)
    {
        details["max"] = *limits.max;
    }
    if (limits.increment)
    {
        details["increment"] = *limits.increment;
    }
}

/// The sentence that explains an entry of an enumeration.
std::string_view ExplanationOfEntry(const NodeGraph &graph, NodeId enumeration, std::string_view name)
{
    for (const auto &property : graph.PropertiesOf(enumeration))
    {
        if (property.tag == Tag::EnumEntry && property.target != noNode &&
            graph[property.target].name == name)
        {
            return ExplanationOf(graph[property.target]);
        }
    }
    return {};
}

void AddEntries(Json &details, GraphFeatures &features, const NodeGraph &graph, const std::string &name)
{
    auto entries = Json::array();
    for (const auto &entry : features.EntriesOf(name))
    {
        entries.push_back({{"name", entry.name},
                           {"value", entry.value},
                           {"available", entry.implemented && entry.available}});
        AddText(entries.back(), "description", ExplanationOfEntry(graph, graph.Find(name), entry.name));
    }
    details["entries"] = std::move(entries);
}

/// Adds the values that the feature takes: entries, a range, or a length.
void AddDomain(Json &details, GraphFeatures &features, const NodeGraph &graph, const std::string &name)
{
    const auto type = TypeOf(graph[graph.Find(name)].kind);
    if (type == "Enumeration")
    {
        AddEntries(details, features, graph, name);
    }
    else if (features.AccessOf(name).writable && type == integerType)
    {
        AddRange<int64_t>(details, features, name);
    }
    else if (features.AccessOf(name).writable && type == floatType)
    {
        AddRange<double>(details, features, name);
    }
    else if (features.AccessOf(name).writable && type == textType)
    {
        const auto longest = StatedLimits<int64_t>(features, name).max;
        details.update(longest ? Json{{"maxLength", *longest}} : Json::object());
    }
}

/// The lock, which is not part of `access`: a write goes to the device in spite of it.
void AddAccess(Json &details, GraphFeatures &features, const FeatureDescription &description, NodeId id,
               Access access)
{
    if (const auto lock = description.LockOf(id))
    {
        details["lockedBy"] = *lock;
        // A lock that cannot be read is left out.
        if (const auto isClosed = Try([&] { return features.ReadFloat(*lock) != 0; }))
        {
            details["locked"] = *isClosed;
            access.writable = access.writable && !*isClosed;
        }
    }
    details["access"] = AccessCode(access);
}

void AddNames(Json &details, const char *name, const std::vector<std::string> &names)
{
    if (!names.empty())
    {
        details[name] = names;
    }
}

} // namespace

Json DescribeFeature(GraphFeatures &features, const FeatureDescription &description, const std::string &name)
{
    const auto id = description.Find(name);
    const auto &node = description.Graph()[id];
    const auto access = features.AccessOf(name);
    auto details = Json{{"type", TypeOf(node.kind)}};
    AddText(details, "unit", description.PropertyOf(id, "Unit"));
    if (access.implemented && access.available)
    {
        // A limit or an entry that cannot be read is left out.
        auto domain = Try(
            [&]
            {
                auto found = Json::object();
                AddDomain(found, features, description.Graph(), name);
                return found;
            });
        details.update(domain.value_or(Json::object()));
    }
    AddAccess(details, features, description, id, access);
    AddNames(details, "selects", description.SelectedBy(id));
    AddNames(details, "selectedBy", description.SelectorsOf(id));
    const auto visibility = TextOf(node.element, {"Visibility"});
    details["visibility"] = visibility.empty() ? "Beginner" : visibility;
    AddText(details, "displayName", TextOf(node.element, {"DisplayName"}));
    AddText(details, "description", ExplanationOf(node));
    return details;
}

} // namespace gentlctl
