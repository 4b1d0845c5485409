#include "genapi/literal_cells.h"

#include "genapi/gen_api_error.h"

#include <fmt/format.h>

namespace GenTL::internal::genapi
{
namespace
{

const Property &LiteralOf(const NodeGraph &graph, std::string_view node)
{
    const auto id = graph.Find(node);
    const auto *const literal = id == noNode ? nullptr : graph.Find(id, Tag::Value);
    if (literal == nullptr)
    {
        throw GenApiError(fmt::format("no node {} with a literal value", node));
    }
    return *literal;
}

} // namespace

Number LiteralCells::Read(std::string_view node) const
{
    const auto &literal = LiteralOf(m_graph, node);
    const auto value = NumberIn(m_graph.Find(node), literal);
    if (!value)
    {
        throw GenApiError(fmt::format("the value of {} is no number", node));
    }
    return *value;
}

void LiteralCells::Set(std::string_view node, Number value)
{
    Store(LiteralOf(m_graph, node), value);
}

std::optional<Number> LiteralCells::NumberIn(NodeId node, const Property &literal) const
{
    if (const auto cell = m_numbers.find(&literal); cell != m_numbers.end())
    {
        return cell->second;
    }
    const auto text = literal.Text();
    if (m_graph[node].kind == NodeKind::Boolean && (text == "true" || text == "false"))
    {
        const bool isTrue = text == "true";
        const auto *const value = m_graph.Find(node, isTrue ? Tag::OnValue : Tag::OffValue);
        const std::optional<int64_t> number =
            value == nullptr ? int64_t{isTrue} : ParseInteger(value->Text());
        return number ? std::optional<Number>(*number) : std::nullopt;
    }
    if (const auto integer = ParseInteger(text))
    {
        return *integer;
    }
    if (const auto value = ParseFloat(text))
    {
        return *value;
    }
    return {};
}

std::string LiteralCells::TextIn(const Property &literal) const
{
    const auto cell = m_texts.find(&literal);
    return cell != m_texts.end() ? cell->second : std::string(literal.RawText());
}

} // namespace GenTL::internal::genapi
