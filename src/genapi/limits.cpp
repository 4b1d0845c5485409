#include "genapi/limits.h"

#include "genapi/formulas.h"
#include "genapi/registers.h"
#include "genapi/values.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace GenTL::internal::genapi
{
namespace
{

/// One of the two ends of a node's range.
struct RangeEnd
{
    Aspect aspect;
    Tag reference;
    Tag literal;
};

constexpr RangeEnd lowerEnd{Aspect::Min, Tag::pMin, Tag::Min};
constexpr RangeEnd upperEnd{Aspect::Max, Tag::pMax, Tag::Max};

bool IsLower(const RangeEnd &end)
{
    return end.aspect == Aspect::Min;
}

template <typename T>
T EndOfType(const RangeEnd &end)
{
    return IsLower(end) ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
}

Number EndOfKind(NodeKind kind, const RangeEnd &end)
{
    return IsFloat(kind) ? Number(EndOfType<double>(end)) : Number(EndOfType<int64_t>(end));
}

Number EndOf(Evaluator &evaluator, NodeId id, const RangeEnd &end);

/// A limit as the kind of number that this kind of node has.
Number AsLimit(NodeKind kind, Number limit)
{
    return IsFloat(kind) ? Number(limit.Float()) : Number(IntegerLimit(limit));
}

Number EndOfFeature(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    const auto &graph = evaluator.Graph();
    const auto kind = graph[id].kind;
    if (const auto *const reference = graph.Find(id, end.reference))
    {
        return AsLimit(kind, ValueOf(evaluator, evaluator.Target(*reference)));
    }
    if (const auto *const literal = graph.Find(id, end.literal))
    {
        const auto text = literal->Text();
        return IsFloat(kind) ? Number(FloatFrom(evaluator, NameOf(end.literal), text))
                             : Number(IntegerFrom(evaluator, NameOf(end.literal), text));
    }
    const auto &source = SourceOf(evaluator, id);
    return IsReference(source.tag) ? AsLimit(kind, EndOf(evaluator, evaluator.Target(source), end))
                                   : EndOfKind(kind, end);
}

Number EndOfRegister(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    const auto layout = LayoutOf(evaluator, id);
    if (evaluator.Graph()[id].kind != NodeKind::FloatReg)
    {
        const auto field = FieldOf(evaluator, id, layout);
        return IsLower(end) ? field.Min() : field.Max();
    }
    CheckFloatLength(evaluator, layout);
    return layout.length == sizeof(float) ? double{EndOfType<float>(end)} : EndOfType<double>(end);
}

Number EndOfConverter(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    const auto &graph = evaluator.Graph();
    const auto kind = graph[id].kind;
    const auto target = evaluator.Target(SourceOf(evaluator, id));
    const auto *const slopeProperty = graph.Find(id, Tag::Slope);
    const auto slope = slopeProperty == nullptr ? "Automatic" : slopeProperty->Text();
    const auto converted = [&](const RangeEnd &of)
    {
        return EvaluateFormula(evaluator, id, Tag::FormulaFrom,
                               FormulaArgument{"TO", EndOf(evaluator, target, of)});
    };
    if (slope == "Varying")
    {
        return EndOfKind(kind, end);
    }
    if (slope == "Increasing" || slope == "Decreasing")
    {
        return converted((slope == "Increasing") == IsLower(end) ? lowerEnd : upperEnd);
    }
    const auto first = converted(lowerEnd);
    const auto last = converted(upperEnd);
    if (std::isnan(first.Float()) || std::isnan(last.Float()))
    {
        return EndOfKind(kind, end);
    }
    const bool isRising = IsFloat(kind) ? first.Float() <= last.Float() : first.Integer() <= last.Integer();
    return isRising == IsLower(end) ? first : last;
}

Number EndOfEntries(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    std::optional<int64_t> found;
    for (const auto &property : evaluator.Graph().PropertiesOf(id))
    {
        if (property.tag == Tag::EnumEntry)
        {
            const auto value = EntryValue(evaluator, property.target);
            found = !found ? value : IsLower(end) ? std::min(*found, value) : std::max(*found, value);
        }
    }
    return found ? Number(*found) : EndOfKind(NodeKind::Enumeration, end);
}

Number EndOfText(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    if (IsLower(end))
    {
        return int64_t{0};
    }
    if (evaluator.Graph()[id].kind != NodeKind::String)
    {
        return static_cast<int64_t>(LengthOf(evaluator, id));
    }
    const auto &source = SourceOf(evaluator, id);
    return IsReference(source.tag) ? EndOf(evaluator, evaluator.Target(source), end)
                                   : EndOfType<int64_t>(end);
}

Number ComputeEnd(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    const auto kind = evaluator.Graph()[id].kind;
    switch (kind)
    {
    case NodeKind::Integer:
    case NodeKind::Float:
        return EndOfFeature(evaluator, id, end);
    case NodeKind::IntReg:
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
    case NodeKind::FloatReg:
        return EndOfRegister(evaluator, id, end);
    case NodeKind::Converter:
    case NodeKind::IntConverter:
        return EndOfConverter(evaluator, id, end);
    case NodeKind::Enumeration:
        return EndOfEntries(evaluator, id, end);
    case NodeKind::Boolean:
        return int64_t{!IsLower(end)};
    case NodeKind::String:
    case NodeKind::StringReg:
    case NodeKind::Register:
        return EndOfText(evaluator, id, end);
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
        return EndOfKind(kind, end);
    default:
        evaluator.Fail(fmt::format("{} has no limits", WithArticle(kind)));
    }
}

Number EndOf(Evaluator &evaluator, NodeId id, const RangeEnd &end)
{
    return evaluator.Once(id, end.aspect, [&] { return ComputeEnd(evaluator, id, end); });
}

[[noreturn]] void FailOutOfLimits(const Evaluator &evaluator, const std::string &cause)
{
    evaluator.Fail(cause, GC_ERR_INVALID_VALUE);
}

/// Whether a value is a whole number of steps above the minimum. Floating values may be off by a millionth of
/// a step.
bool IsOnStep(Number value, Number min, Number increment)
{
    if (value.IsFloat())
    {
        const double steps = (value.Float() - min.Float()) / increment.Float();
        return increment.Float() <= 0 || !std::isfinite(steps) || std::abs(steps - std::round(steps)) <= 1e-6;
    }
    const auto distance =
        static_cast<uint64_t>(value.Integer().value_or(0)) - static_cast<uint64_t>(min.Integer().value_or(0));
    const auto step = increment.Integer().value_or(1);
    return step <= 0 || distance % static_cast<uint64_t>(step) == 0;
}

bool IsLess(Number left, Number right)
{
    return left.IsFloat() || right.IsFloat() ? left.Float() < right.Float()
                                             : left.Integer() < right.Integer();
}

} // namespace

int64_t IntegerLimit(Number limit)
{
    return limit.Integer().value_or(limit.Float() < 0 ? std::numeric_limits<int64_t>::lowest()
                                                      : std::numeric_limits<int64_t>::max());
}

Number MinOf(Evaluator &evaluator, NodeId id)
{
    return EndOf(evaluator, id, lowerEnd);
}

Number MaxOf(Evaluator &evaluator, NodeId id)
{
    return EndOf(evaluator, id, upperEnd);
}

std::optional<Number> IncrementOf(Evaluator &evaluator, NodeId id)
{
    const Evaluator::Step step(evaluator, id, Aspect::Inc);
    const auto &graph = evaluator.Graph();
    const auto kind = graph[id].kind;
    if (kind != NodeKind::Integer && kind != NodeKind::Float)
    {
        return {};
    }
    if (const auto *const reference = graph.Find(id, Tag::pInc))
    {
        return AsLimit(kind, ValueOf(evaluator, evaluator.Target(*reference)));
    }
    if (const auto *const literal = graph.Find(id, Tag::Inc))
    {
        return IsFloat(kind) ? Number(FloatFrom(evaluator, "Inc", literal->Text()))
                             : Number(IntegerFrom(evaluator, "Inc", literal->Text()));
    }
    const auto &source = SourceOf(evaluator, id);
    const auto behind =
        IsReference(source.tag) ? IncrementOf(evaluator, evaluator.Target(source)) : std::nullopt;
    return behind ? std::optional(AsLimit(kind, *behind)) : std::nullopt;
}

void CheckLimits(Evaluator &evaluator, NodeId id, Number value)
{
    if (std::isnan(value.Float()))
    {
        FailOutOfLimits(evaluator, "the value is not a number");
    }
    const auto min = MinOf(evaluator, id);
    if (IsLess(value, min))
    {
        FailOutOfLimits(evaluator, fmt::format("{} is less than the minimum {}", value.Text(), min.Text()));
    }
    const auto max = MaxOf(evaluator, id);
    if (IsLess(max, value))
    {
        FailOutOfLimits(evaluator,
                        fmt::format("{} is greater than the maximum {}", value.Text(), max.Text()));
    }
    const auto increment = IncrementOf(evaluator, id);
    if (increment && !IsOnStep(value, min, *increment))
    {
        FailOutOfLimits(evaluator, fmt::format("{} is not {} plus a multiple of {}", value.Text(), min.Text(),
                                               increment->Text()));
    }
}

} // namespace GenTL::internal::genapi
