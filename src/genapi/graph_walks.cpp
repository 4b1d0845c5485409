#include "genapi/graph_walks.h"

#include "genapi/number.h"

#include <algorithm>
#include <array>
#include <optional>

namespace GenTL::internal::genapi
{
namespace
{

bool CarriesValue(Tag tag)
{
    constexpr std::array tags{Tag::pValue, Tag::pValueCopy, Tag::pValueIndexed, Tag::pValueDefault};
    return std::ranges::find(tags, tag) != tags.end();
}

/// Whether a writable literal behind a reference of this kind changes what other nodes mean.
bool BindsLiteral(Tag tag)
{
    constexpr std::array tags{Tag::pIndex, Tag::pAddress, Tag::pVariable, Tag::pIsAvailable,
                              Tag::pIsImplemented};
    return std::ranges::find(tags, tag) != tags.end();
}

/// Whether the evaluation of a node follows a property.
bool IsEvaluated(Tag tag)
{
    constexpr std::array tags{Tag::pMin,  Tag::pMax,          Tag::pInc,      Tag::pLength,
                              Tag::pPort, Tag::pCommandValue, Tag::EnumEntry, Tag::IntSwissKnife};
    return CarriesValue(tag) || BindsLiteral(tag) || std::ranges::find(tags, tag) != tags.end();
}

std::optional<AddressRange> StaticRange(const NodeGraph &graph, NodeId id)
{
    std::optional<AddressRange> range;
    for (const auto &property : graph.PropertiesOf(id))
    {
        if (property.tag == Tag::Address)
        {
            range = range.value_or(AddressRange{0, 1});
            range->address += static_cast<uint64_t>(ParseInteger(property.Text()).value_or(0));
        }
    }
    const auto *const length = graph.Find(id, Tag::Length);
    if (range && length != nullptr)
    {
        range->length = static_cast<uint64_t>(std::max<int64_t>(ParseInteger(length->Text()).value_or(1), 1));
    }
    return range;
}

/// A walk over all evaluated references. Notes each node that it meets, and whether a reference on the way to
/// it binds literals. It visits a node a second time when a way with such a reference follows one without.
class LiteralWalk
{
public:
    explicit LiteralWalk(const NodeGraph &graph) : m_graph(graph), m_seen(graph.Size()), m_bound(graph.Size())
    {
    }

    void Add(NodeId id, bool isBound)
    {
        if (id == noNode || (isBound ? m_bound[id] : m_seen[id]))
        {
            return;
        }
        m_seen[id] = true;
        m_bound[id] = m_bound[id] || isBound;
        m_open.push_back({id, isBound});
    }

    void Run()
    {
        while (!m_open.empty())
        {
            const auto [id, isBound] = m_open.back();
            m_open.pop_back();
            Follow(id, isBound);
        }
    }

    bool IsBound(NodeId id) const { return m_bound[id]; }

private:
    struct Visit
    {
        NodeId id;
        bool isBound;
    };

    void Follow(NodeId id, bool isBound)
    {
        if (m_graph[id].kind == NodeKind::StructEntry)
        {
            Add(m_graph[id].parent, isBound);
        }
        for (const auto &property : m_graph.PropertiesOf(id))
        {
            if (IsEvaluated(property.tag))
            {
                Add(property.target, isBound || BindsLiteral(property.tag));
            }
            if (property.tag == Tag::pIndex)
            {
                Add(m_graph.Find(property.Attribute("pOffset")), true);
            }
        }
    }

    const NodeGraph &m_graph;
    std::vector<bool> m_seen;
    std::vector<bool> m_bound;
    std::vector<Visit> m_open;
};

} // namespace

std::vector<NodeId> ValueChain(const NodeGraph &graph, NodeId feature)
{
    std::vector<NodeId> chain;
    WalkInDepth(graph, feature,
                [&](NodeId id, std::vector<NodeId> &open)
                {
                    chain.push_back(id);
                    AppendTargets(graph, id, CarriesValue, open);
                    if (graph[id].kind == NodeKind::StructEntry)
                    {
                        open.push_back(graph[id].parent);
                    }
                });
    return chain;
}

std::vector<AddressRange> StaticRanges(const NodeGraph &graph)
{
    std::vector<AddressRange> ranges;
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        if (const auto range = IsRegister(graph[id].kind) ? StaticRange(graph, id) : std::nullopt)
        {
            ranges.push_back(*range);
        }
    }
    return ranges;
}

bool IsWritableLiteral(const NodeGraph &graph, NodeId id)
{
    constexpr std::array kinds{NodeKind::Integer, NodeKind::Float, NodeKind::Boolean, NodeKind::Enumeration};
    const auto *const imposed = graph.Find(id, Tag::ImposedAccessMode);
    return std::ranges::find(kinds, graph[id].kind) != kinds.end() && graph.Find(id, Tag::Value) != nullptr &&
           graph.Find(id, Tag::pValue) == nullptr &&
           (imposed == nullptr || imposed->Text() == "RW" || imposed->Text() == "WO");
}

std::vector<NodeId> WritableLiteralsBehind(const NodeGraph &graph, std::span<const NodeId> features)
{
    LiteralWalk walk(graph);
    for (const auto feature : features)
    {
        walk.Add(feature, false);
    }
    walk.Run();
    std::vector<NodeId> literals;
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        if (walk.IsBound(id) && IsWritableLiteral(graph, id))
        {
            literals.push_back(id);
        }
    }
    return literals;
}

} // namespace GenTL::internal::genapi
