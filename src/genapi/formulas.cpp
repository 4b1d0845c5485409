#include "genapi/formulas.h"

#include "genapi/formula_error.h"
#include "genapi/limits.h"
#include "genapi/values.h"

#include <fmt/format.h>

#include <numbers>

namespace GenTL::internal::genapi
{
namespace
{

NumberKind KindOfFormula(NodeKind kind)
{
    return kind == NodeKind::IntSwissKnife || kind == NodeKind::IntConverter ? NumberKind::Integer
                                                                             : NumberKind::Float;
}

/// The constants of the language. A description may give their names to variables of its own.
Number Constant(std::string_view name)
{
    if (name != "PI" && name != "E")
    {
        throw FormulaError(fmt::format("there is no variable {}", name));
    }
    return name == "PI" ? std::numbers::pi : std::numbers::e;
}

/// The names in the formulas of one node.
class NodeSymbols final : public Expression::Symbols
{
public:
    NodeSymbols(Evaluator &evaluator, NodeId id, const std::optional<FormulaArgument> &argument)
        : m_evaluator(evaluator), m_id(id), m_argument(argument)
    {
    }

    Number ValueOf(std::string_view name) override;
    Number Evaluate(const Property &formula);

private:
    const Property *FindNamed(std::string_view name) const;
    Number ValueOfVariable(const Property &variable, std::string_view name, std::string_view suffix);
    Number ValueOfEntry(NodeId enumeration, std::string_view entry) const;

    Evaluator &m_evaluator;
    NodeId m_id;
    const std::optional<FormulaArgument> &m_argument;
};

Number NodeSymbols::Evaluate(const Property &formula)
{
    const auto kind = KindOfFormula(m_evaluator.Graph()[m_id].kind);
    try
    {
        return m_evaluator.State().formulas.Compiled(formula, kind).Evaluate(*this);
    }
    catch (const FormulaError &error)
    {
        m_evaluator.Fail(fmt::format("{}: {}", NameOf(formula.tag), error.what()));
    }
}

Number NodeSymbols::ValueOf(std::string_view name)
{
    if (m_argument && name == m_argument->name)
    {
        return m_argument->value;
    }
    const auto dot = name.find('.');
    const auto *property = FindNamed(name);
    if (property == nullptr)
    {
        property = FindNamed(name.substr(0, dot));
        if (property == nullptr || property->tag != Tag::pVariable)
        {
            return Constant(name);
        }
    }
    if (property->tag == Tag::pVariable)
    {
        return ValueOfVariable(*property, name, dot == std::string_view::npos ? "" : name.substr(dot + 1));
    }
    if (property->tag == Tag::Expression)
    {
        const Evaluator::Step step(m_evaluator, m_id, Aspect::Value, property);
        return Evaluate(*property);
    }
    const auto text = property->Text();
    const auto integer = ParseInteger(text);
    return integer ? Number(*integer) : Number(FloatFrom(m_evaluator, "Constant", text));
}

const Property *NodeSymbols::FindNamed(std::string_view name) const
{
    const auto &names = m_evaluator.State().formulas.NamesOf(m_evaluator.Graph(), m_id);
    const auto found = names.find(name);
    return found == names.end() ? nullptr : found->second;
}

Number NodeSymbols::ValueOfVariable(const Property &variable, std::string_view name, std::string_view suffix)
{
    const auto target = m_evaluator.Target(variable);
    if (suffix.empty() || suffix == "Value")
    {
        return genapi::ValueOf(m_evaluator, target);
    }
    if (suffix == "Min")
    {
        return MinOf(m_evaluator, target);
    }
    if (suffix == "Max")
    {
        return MaxOf(m_evaluator, target);
    }
    if (suffix == "Inc")
    {
        const auto increment = IncrementOf(m_evaluator, target);
        return increment ? *increment
                         : throw FormulaError(
                               fmt::format("{} has no increment", m_evaluator.Graph().Label(target)));
    }
    if (suffix.starts_with("Entry.") || suffix.starts_with("Enum."))
    {
        return ValueOfEntry(target, suffix.substr(suffix.find('.') + 1));
    }
    if (variable.Attribute("Name") == name && suffix != "AccessMode" && suffix != "Visibility" &&
        suffix != "CachingMode")
    {
        return genapi::ValueOf(m_evaluator, target);
    }
    throw FormulaError(fmt::format("{} is not supported", name));
}

Number NodeSymbols::ValueOfEntry(NodeId enumeration, std::string_view entry) const
{
    const auto &graph = m_evaluator.Graph();
    for (const auto &property : graph.PropertiesOf(enumeration))
    {
        if (property.tag == Tag::EnumEntry && graph[property.target].name == entry)
        {
            return EntryValue(m_evaluator, property.target);
        }
    }
    throw FormulaError(fmt::format("{} has no entry {}", graph.Label(enumeration), entry));
}

} // namespace

Number EvaluateFormula(Evaluator &evaluator, NodeId id, Tag formula,
                       const std::optional<FormulaArgument> &argument)
{
    const auto *const text = evaluator.Graph().Find(id, formula);
    if (text == nullptr)
    {
        evaluator.Fail(fmt::format("it has no {}", NameOf(formula)));
    }
    return NodeSymbols(evaluator, id, argument).Evaluate(*text);
}

} // namespace GenTL::internal::genapi
