#include "nodemap/enum_entry_bits.h"

#include "nodemap/math_expression_parser.h"
#include "nodemap/node_access.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <variant>

namespace GenTL::internal::nodemap
{

namespace
{

/// Walks over the tokens of a formula.
class TokenCursor
{
public:
    explicit TokenCursor(const std::string &formula) : m_tokens(Tokenize(formula)) {}

    bool Accept(TokenType type)
    {
        if (m_tokens[m_position].Type != type)
        {
            return false;
        }
        ++m_position;
        return true;
    }

    std::optional<int64_t> AcceptNumber()
    {
        const auto &token = m_tokens[m_position];
        return Accept(TokenType::Number) ? std::optional(token.Value) : std::nullopt;
    }

private:
    std::vector<Token> m_tokens; // the last token is End, which is never accepted
    size_t m_position = 0;
};

std::optional<uint64_t> FindMask(const std::string &formula)
{
    constexpr int64_t bits = 64;
    TokenCursor cursor(formula);
    if (cursor.Accept(TokenType::LeftParen))
    {
        cursor.Accept(TokenType::LeftParen);
    }
    if (!cursor.Accept(TokenType::Identifier))
    {
        return std::nullopt;
    }
    if (cursor.Accept(TokenType::BitAnd))
    {
        return 1;
    }
    if (!cursor.Accept(TokenType::ShiftRight))
    {
        return std::nullopt;
    }
    const auto shift = cursor.AcceptNumber();
    cursor.Accept(TokenType::RightParen);
    if (!shift || *shift < 0 || *shift >= bits || !cursor.Accept(TokenType::BitAnd) ||
        cursor.AcceptNumber() != 1)
    {
        return std::nullopt;
    }
    return uint64_t{1} << static_cast<uint64_t>(*shift);
}

BitReference BitOfFormula(const NodeMapParser &parser, const ConverterRecord &converter)
{
    const auto mask = FindMask(converter.Formula).value();
    const auto variable = converter.Variables.begin();
    const auto node = variable != converter.Variables.end() ? variable->second : std::string();
    return {parser.FindNode(node).Address, mask};
}

} // namespace

std::optional<BitReference> ResolveBitReference(const NodeMapParser &parser, const std::string &name)
{
    if (name.empty())
    {
        return std::nullopt;
    }
    switch (parser.GetNodeType(name))
    {
    case GenNodeType::Converter:
        return BitOfFormula(parser, parser.FindConverter(name));
    case GenNodeType::StructEntry:
    {
        const auto &entry = parser.FindStructEntry(name);
        return BitReference{entry.Register.Address, uint64_t{1} << (entry.Bit % 64)};
    }
    default:
        return BitReference{parser.FindNode(name).Address, 1};
    }
}

std::vector<EnumEntryBits> CollectEnumEntryBits(const NodeMapParser &parser, const NodeInfo &node)
{
    std::vector<EnumEntryBits> entries;
    for (const auto &entry : node.EnumEntries)
    {
        const auto *value = std::get_if<int64_t>(&entry.Value);
        if (value == nullptr)
        {
            throw GenTLException("pValue on EnumEntry not supported yet.", GC_ERR_ERROR);
        }
        entries.push_back({.Name = entry.Name,
                           .Value = *value,
                           .IsAvailable = ResolveBitReference(parser, entry.pIsAvailable),
                           .IsImplemented = ResolveBitReference(parser, entry.pIsImplemented)});
    }
    return entries;
}

bool BitReader::TestBit(const std::optional<BitReference> &reference)
{
    if (!reference)
    {
        return true;
    }
    auto known = m_registers.find(reference->Address);
    if (known == m_registers.end())
    {
        const auto node = m_parser.TryFindNodeByAddress(reference->Address);
        if (!node)
        {
            throw GenTLException(fmt::format("Failed to find node with address {}, this should never happen!",
                                             reference->Address),
                                 GC_ERR_ERROR);
        }
        known = m_registers.emplace(reference->Address, ReadUnsigned(m_port, *node)).first;
    }
    return (known->second & reference->Mask) != 0;
}

} // namespace GenTL::internal::nodemap
