#include "genapi/values.h"

#include "genapi/access.h"
#include "genapi/formulas.h"
#include "genapi/registers.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>

namespace GenTL::internal::genapi
{
namespace
{

/// The number of a literal, as it was written last.
Number LiteralNumber(Evaluator &evaluator, NodeId id, const Property &literal)
{
    const auto number = evaluator.State().literals.NumberIn(id, literal);
    if (!number)
    {
        evaluator.Fail(fmt::format("its {} \"{}\" is no number", NameOf(literal.tag), literal.Text()));
    }
    return *number;
}

/// The number behind a feature, before the feature gives it a meaning.
Number SourceNumber(Evaluator &evaluator, NodeId id)
{
    const auto &source = SourceOf(evaluator, id);
    return IsReference(source.tag) ? ValueOf(evaluator, evaluator.Target(source))
                                   : LiteralNumber(evaluator, id, source);
}

bool IsDone(Evaluator &evaluator, NodeId command)
{
    const auto access = AccessOf(evaluator, command);
    return !access.readable ||
           evaluator.Integer(SourceNumber(evaluator, command)) != CommandValue(evaluator, command);
}

/// Fails in an expression that must yield a property.
[[noreturn]] const Property &NoSource(const Evaluator &evaluator, const std::string &cause)
{
    evaluator.Fail(cause);
}

Number ConvertedValue(Evaluator &evaluator, NodeId id)
{
    const auto &source = SourceOf(evaluator, id);
    const auto to = ValueOf(evaluator, evaluator.Target(source));
    return EvaluateFormula(evaluator, id, Tag::FormulaFrom, FormulaArgument{"TO", to});
}

Number RegisterValue(Evaluator &evaluator, NodeId id)
{
    const auto layout = LayoutOf(evaluator, id);
    if (evaluator.Graph()[id].kind != NodeKind::FloatReg)
    {
        const auto field = FieldOf(evaluator, id, layout);
        return field.Extract(ReadRegisterNumber(evaluator, id, layout));
    }
    CheckFloatLength(evaluator, layout);
    const auto bits = ReadRegisterNumber(evaluator, id, layout);
    return layout.length == sizeof(float) ? double{std::bit_cast<float>(static_cast<uint32_t>(bits))}
                                          : std::bit_cast<double>(bits);
}

Number Compute(Evaluator &evaluator, NodeId id)
{
    const auto kind = evaluator.Graph()[id].kind;
    switch (kind)
    {
    case NodeKind::Integer:
    case NodeKind::Enumeration:
        return evaluator.Integer(SourceNumber(evaluator, id));
    case NodeKind::Float:
        return SourceNumber(evaluator, id).Float();
    case NodeKind::Boolean:
        return int64_t{evaluator.Integer(SourceNumber(evaluator, id)) == BooleanValue(evaluator, id, true)};
    case NodeKind::Command:
        return int64_t{IsDone(evaluator, id)};
    case NodeKind::IntReg:
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
    case NodeKind::FloatReg:
        return RegisterValue(evaluator, id);
    case NodeKind::Converter:
    case NodeKind::IntConverter:
        return ConvertedValue(evaluator, id);
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
        return EvaluateFormula(evaluator, id, Tag::Formula, {});
    case NodeKind::EnumEntry:
        return EntryValue(evaluator, id);
    default:
        evaluator.Fail(fmt::format("{} has no number", WithArticle(kind)));
    }
}

} // namespace

Number ValueOf(Evaluator &evaluator, NodeId id)
{
    return evaluator.Once(id, Aspect::Value,
                          [&]
                          {
                              CheckReadable(evaluator, id);
                              return Compute(evaluator, id);
                          });
}

std::string TextOf(Evaluator &evaluator, NodeId id)
{
    const Evaluator::Step step(evaluator, id, Aspect::Value);
    CheckReadable(evaluator, id);
    const auto kind = evaluator.Graph()[id].kind;
    if (kind == NodeKind::StringReg)
    {
        const auto bytes = ReadRegister(evaluator, id);
        return {bytes.begin(), std::ranges::find(bytes, 0)};
    }
    if (kind != NodeKind::String)
    {
        evaluator.Fail(fmt::format("{} has no text", WithArticle(kind)));
    }
    const auto &source = SourceOf(evaluator, id);
    return IsReference(source.tag) ? TextOf(evaluator, evaluator.Target(source))
                                   : evaluator.State().literals.TextIn(source);
}

const Property &SourceOf(Evaluator &evaluator, NodeId id)
{
    const auto &graph = evaluator.Graph();
    if (const auto *const reference = graph.Find(id, Tag::pValue))
    {
        return *reference;
    }
    const auto *const indexNode = graph.Find(id, Tag::pIndex);
    if (indexNode == nullptr)
    {
        const auto *const literal = graph.Find(id, Tag::Value);
        return literal != nullptr ? *literal : NoSource(evaluator, "it has no value");
    }
    const auto index = evaluator.Integer(ValueOf(evaluator, evaluator.Target(*indexNode)));
    const Property *otherwise = nullptr;
    for (const auto &property : graph.PropertiesOf(id))
    {
        if ((property.tag == Tag::ValueIndexed || property.tag == Tag::pValueIndexed) &&
            IntegerFrom(evaluator, "Index", property.Attribute("Index")) == index)
        {
            return property;
        }
        if (property.tag == Tag::ValueDefault || property.tag == Tag::pValueDefault)
        {
            otherwise = &property;
        }
    }
    return otherwise != nullptr ? *otherwise
                                : NoSource(evaluator, fmt::format("it has no value for index {}", index));
}

std::string_view EntryName(const Evaluator &evaluator, NodeId enumeration, int64_t value)
{
    const auto &graph = evaluator.Graph();
    for (const auto &property : graph.PropertiesOf(enumeration))
    {
        if (property.tag == Tag::EnumEntry && EntryValue(evaluator, property.target) == value)
        {
            return graph[property.target].name;
        }
    }
    return {};
}

int64_t EntryValue(const Evaluator &evaluator, NodeId entry)
{
    const auto *const value = evaluator.Graph().Find(entry, Tag::Value);
    return IntegerFrom(evaluator, "entry", value == nullptr ? std::string_view() : value->Text());
}

int64_t CommandValue(Evaluator &evaluator, NodeId id)
{
    const auto &graph = evaluator.Graph();
    if (const auto *const reference = graph.Find(id, Tag::pCommandValue))
    {
        return evaluator.Integer(ValueOf(evaluator, evaluator.Target(*reference)));
    }
    const auto *const literal = graph.Find(id, Tag::CommandValue);
    return IntegerFrom(evaluator, "CommandValue", literal == nullptr ? std::string_view() : literal->Text());
}

int64_t BooleanValue(const Evaluator &evaluator, NodeId id, bool isTrue)
{
    return isTrue ? LiteralOr(evaluator, id, Tag::OnValue, 1) : LiteralOr(evaluator, id, Tag::OffValue, 0);
}

int64_t IntegerFrom(const Evaluator &evaluator, std::string_view what, std::string_view text)
{
    const auto value = ParseInteger(text);
    if (!value)
    {
        evaluator.Fail(fmt::format("its {} \"{}\" is no integer", what, text));
    }
    return *value;
}

double FloatFrom(const Evaluator &evaluator, std::string_view what, std::string_view text)
{
    const auto value = ParseFloat(text);
    if (!value)
    {
        evaluator.Fail(fmt::format("its {} \"{}\" is no number", what, text));
    }
    return *value;
}

int64_t LiteralOr(const Evaluator &evaluator, NodeId id, Tag tag, int64_t missing)
{
    const auto *const literal = evaluator.Graph().FindInherited(id, tag);
    return literal == nullptr ? missing : IntegerFrom(evaluator, NameOf(tag), literal->Text());
}

} // namespace GenTL::internal::genapi
