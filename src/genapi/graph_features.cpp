#include "genapi/graph_features.h"

#include "genapi/access.h"
#include "genapi/evaluator.h"
#include "genapi/graph_state.h"
#include "genapi/limits.h"
#include "genapi/registers.h"
#include "genapi/values.h"
#include "genapi/writes.h"

#include <fmt/format.h>

#include <optional>
#include <type_traits>

namespace GenTL::internal::genapi
{
namespace
{

NodeId NodeNamed(const NodeGraph &graph, std::string_view name)
{
    const auto id = graph.Find(name);
    if (id == noNode)
    {
        throw GenApiError(fmt::format("no node {}", name));
    }
    return id;
}

/// One operation on a feature: a pass, and the feature's node.
class Operation
{
public:
    Operation(GraphState &state, std::string_view name) : Operation(state, NodeNamed(state.graph, name)) {}

    NodeKind Kind() const { return pass.Graph()[id].kind; }

    /// @throws GenApiError the feature is of another kind
    void Require(NodeKind kind) const
    {
        if (Kind() != kind)
        {
            pass.Fail(fmt::format("{} is no {}", WithArticle(Kind()), NameOf(kind)));
        }
    }

    Evaluator pass;
    const NodeId id;

private:
    Operation(GraphState &state, NodeId node) : pass(state, node), id(node) {}
};

bool HasText(NodeKind kind)
{
    return kind == NodeKind::String || kind == NodeKind::StringReg;
}

std::string TextOfEntry(Operation &operation)
{
    const auto value = ValueOf(operation.pass, operation.id);
    const auto name = EntryName(operation.pass, operation.id, operation.pass.Integer(value));
    if (name.empty())
    {
        operation.pass.Fail(fmt::format("there is no entry with the value {}", value.Text()));
    }
    return std::string(name);
}

Number EntryNamed(Operation &operation, std::string_view name)
{
    const auto &graph = operation.pass.Graph();
    for (const auto &property : graph.PropertiesOf(operation.id))
    {
        if (property.tag == Tag::EnumEntry && graph[property.target].name == name)
        {
            return EntryValue(operation.pass, property.target);
        }
    }
    operation.pass.Fail(fmt::format("there is no entry {}", name), GC_ERR_INVALID_VALUE);
}

Number NumberInText(Operation &operation, std::string_view text)
{
    if (operation.Kind() == NodeKind::Enumeration)
    {
        return EntryNamed(operation, text);
    }
    if (operation.Kind() == NodeKind::Boolean && (text == "true" || text == "false"))
    {
        return int64_t{text == "true"};
    }
    if (const auto number = ParseNumber(text))
    {
        return *number;
    }
    operation.pass.Fail(fmt::format("\"{}\" is no number", text), GC_ERR_INVALID_VALUE);
}

template <typename T>
T LimitAs(Number limit)
{
    if constexpr (std::is_same_v<T, int64_t>)
    {
        return IntegerLimit(limit);
    }
    else
    {
        return limit.Float();
    }
}

} // namespace

GraphFeatures::GraphFeatures(const NodeGraph &graph, IRegisterPort &port)
    : m_state(std::make_unique<GraphState>(graph, port))
{
}

GraphFeatures::~GraphFeatures() = default;

bool GraphFeatures::Has(std::string_view name) const
{
    return m_state->graph.Find(name) != noNode;
}

Access GraphFeatures::AccessOf(std::string_view name)
{
    try
    {
        Operation operation(*m_state, name);
        return genapi::AccessOf(operation.pass, operation.id);
    }
    catch (const GenApiError &error)
    {
        return {Has(name), false, false, false, false, error.what(), true};
    }
}

int64_t GraphFeatures::ReadInteger(std::string_view name)
{
    Operation operation(*m_state, name);
    const auto value = ValueOf(operation.pass, operation.id);
    return operation.pass.Integer(value);
}

double GraphFeatures::ReadFloat(std::string_view name)
{
    Operation operation(*m_state, name);
    return ValueOf(operation.pass, operation.id).Float();
}

std::string GraphFeatures::ReadText(std::string_view name)
{
    Operation operation(*m_state, name);
    if (HasText(operation.Kind()))
    {
        return TextOf(operation.pass, operation.id);
    }
    if (operation.Kind() == NodeKind::Enumeration)
    {
        return TextOfEntry(operation);
    }
    const auto value = ValueOf(operation.pass, operation.id);
    if (operation.Kind() == NodeKind::Boolean)
    {
        return value.IsTrue() ? "true" : "false";
    }
    return value.Text();
}

std::vector<uint8_t> GraphFeatures::ReadBytes(std::string_view name)
{
    Operation operation(*m_state, name);
    if (!IsRegister(operation.Kind()))
    {
        operation.pass.Fail(fmt::format("{} has no bytes", WithArticle(operation.Kind())));
    }
    CheckReadable(operation.pass, operation.id);
    return ReadRegister(operation.pass, operation.id);
}

template <typename T>
Limits<T> GraphFeatures::LimitsOf(std::string_view name)
{
    Operation operation(*m_state, name);
    auto &pass = operation.pass;
    const auto min = MinOf(pass, operation.id);
    const auto max = MaxOf(pass, operation.id);
    const auto increment = IncrementOf(pass, operation.id);
    return {LimitAs<T>(min), LimitAs<T>(max),
            increment ? std::optional(LimitAs<T>(*increment)) : std::nullopt};
}

template Limits<int64_t> GraphFeatures::LimitsOf(std::string_view name);
template Limits<double> GraphFeatures::LimitsOf(std::string_view name);

std::vector<Entry> GraphFeatures::EntriesOf(std::string_view name)
{
    Operation operation(*m_state, name);
    operation.Require(NodeKind::Enumeration);
    const auto &graph = m_state->graph;
    const Evaluator::Step step(operation.pass, operation.id, Aspect::Access);
    std::vector<Entry> entries;
    for (const auto &property : graph.PropertiesOf(operation.id))
    {
        if (property.tag == Tag::EnumEntry)
        {
            operation.pass.RestartCount();
            const auto access = OwnAccess(operation.pass, property.target);
            entries.push_back({graph[property.target].name, EntryValue(operation.pass, property.target),
                               access.implemented, access.available});
        }
    }
    return entries;
}

void GraphFeatures::WriteInteger(std::string_view name, int64_t value)
{
    Operation operation(*m_state, name);
    WriteNumber(operation.pass, operation.id, value);
}

void GraphFeatures::WriteFloat(std::string_view name, double value)
{
    Operation operation(*m_state, name);
    WriteNumber(operation.pass, operation.id, value);
}

void GraphFeatures::WriteText(std::string_view name, std::string_view text)
{
    Operation operation(*m_state, name);
    if (HasText(operation.Kind()))
    {
        genapi::WriteText(operation.pass, operation.id, text);
    }
    else
    {
        WriteNumber(operation.pass, operation.id, NumberInText(operation, text));
    }
}

void GraphFeatures::WriteBytes(std::string_view name, std::span<const uint8_t> bytes)
{
    Operation operation(*m_state, name);
    genapi::WriteBytes(operation.pass, operation.id, bytes);
}

void GraphFeatures::Execute(std::string_view command)
{
    Operation operation(*m_state, command);
    operation.Require(NodeKind::Command);
    WriteNumber(operation.pass, operation.id, CommandValue(operation.pass, operation.id));
}

LiteralCells &GraphFeatures::Literals()
{
    return m_state->literals;
}

void GraphFeatures::Invalidate() noexcept
{
    m_state->registers.Invalidate();
}

std::vector<AddressRange> PlacesOf(GraphFeatures &features, std::string_view name)
{
    const auto &graph = features.m_state->graph;
    std::vector<AddressRange> places;
    if (const auto feature = graph.Find(name); feature != noNode)
    {
        for (const auto id : ValueChain(graph, feature))
        {
            if (IsRegister(graph[id].kind))
            {
                Evaluator pass(*features.m_state, id);
                const auto layout = LayoutOf(pass, id);
                places.push_back({layout.address, layout.length});
            }
        }
    }
    return places;
}

std::vector<std::string> AvailableEntriesOf(GraphFeatures &features, std::string_view name)
{
    std::vector<std::string> names;
    for (const auto &entry : features.EntriesOf(name))
    {
        if (entry.implemented && entry.available)
        {
            names.emplace_back(entry.name);
        }
    }
    return names;
}

} // namespace GenTL::internal::genapi
