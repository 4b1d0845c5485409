#include "genapi/writes.h"

#include "genapi/access.h"
#include "genapi/formulas.h"
#include "genapi/limits.h"
#include "genapi/registers.h"
#include "genapi/values.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

namespace GenTL::internal::genapi
{
namespace
{

/// Writes the node or literal that carries the value of a feature, and its copies.
void WriteSource(Evaluator &evaluator, NodeId id, Number value)
{
    const auto &source = SourceOf(evaluator, id);
    if (IsReference(source.tag))
    {
        WriteNumber(evaluator, evaluator.Target(source), value);
    }
    else
    {
        evaluator.State().literals.Store(source, value);
        evaluator.ForgetValues();
    }
    for (const auto &property : evaluator.Graph().PropertiesOf(id))
    {
        if (property.tag == Tag::pValueCopy)
        {
            WriteNumber(evaluator, evaluator.Target(property), value);
        }
    }
}

void WriteLimited(Evaluator &evaluator, NodeId id, Number value)
{
    CheckLimits(evaluator, id, value);
    WriteSource(evaluator, id, value);
}

void WriteEntry(Evaluator &evaluator, NodeId id, int64_t value)
{
    const auto &graph = evaluator.Graph();
    std::string cause = fmt::format("there is no entry with the value {}", value);
    for (const auto &property : graph.PropertiesOf(id))
    {
        if (property.tag == Tag::EnumEntry && EntryValue(evaluator, property.target) == value)
        {
            const auto access = OwnAccess(evaluator, property.target);
            if (access.available)
            {
                return WriteSource(evaluator, id, value);
            }
            cause =
                fmt::format("the entry {} is not available: {}", graph[property.target].name, access.cause);
        }
    }
    evaluator.Fail(cause, GC_ERR_INVALID_VALUE);
}

void WriteField(Evaluator &evaluator, NodeId id, int64_t value)
{
    CheckLimits(evaluator, id, value);
    const auto layout = LayoutOf(evaluator, id);
    const auto field = FieldOf(evaluator, id, layout);
    const bool isWhole = field.bits == 8 * layout.length;
    const auto bytes = isWhole ? 0 : ReadRegisterNumberOnDevice(evaluator, layout);
    WriteRegisterNumber(evaluator, layout, field.Insert(bytes, value));
}

void WriteFloatRegister(Evaluator &evaluator, NodeId id, double value)
{
    const auto layout = LayoutOf(evaluator, id);
    CheckFloatLength(evaluator, layout);
    // A FloatReg can hold an infinity and NaN, although they are beyond its limits.
    if (std::isfinite(value))
    {
        CheckLimits(evaluator, id, value);
    }
    const auto bits = layout.length == sizeof(float) ? std::bit_cast<uint32_t>(static_cast<float>(value))
                                                     : std::bit_cast<uint64_t>(value);
    WriteRegisterNumber(evaluator, layout, bits);
}

/// Writes through a converter: FormulaTo with FROM, the value wanted.
void WriteConverted(Evaluator &evaluator, NodeId id, Number value)
{
    const auto converted = EvaluateFormula(evaluator, id, Tag::FormulaTo, FormulaArgument{"FROM", value});
    WriteSource(evaluator, id, converted);
}

} // namespace

void WriteNumber(Evaluator &evaluator, NodeId id, Number value)
{
    const Evaluator::Step step(evaluator, id, Aspect::Write);
    CheckWritable(evaluator, id);
    const auto kind = evaluator.Graph()[id].kind;
    switch (kind)
    {
    case NodeKind::Integer:
        return WriteLimited(evaluator, id, evaluator.Integer(value));
    case NodeKind::Float:
        return WriteLimited(evaluator, id, value.Float());
    case NodeKind::Boolean:
        return WriteSource(evaluator, id, BooleanValue(evaluator, id, value.IsTrue()));
    case NodeKind::Enumeration:
        return WriteEntry(evaluator, id, evaluator.Integer(value));
    case NodeKind::Command:
        return WriteSource(evaluator, id, evaluator.Integer(value));
    case NodeKind::IntReg:
    case NodeKind::MaskedIntReg:
    case NodeKind::StructEntry:
        return WriteField(evaluator, id, evaluator.Integer(value));
    case NodeKind::FloatReg:
        return WriteFloatRegister(evaluator, id, value.Float());
    case NodeKind::Converter:
        return WriteConverted(evaluator, id, value);
    case NodeKind::IntConverter:
        return WriteConverted(evaluator, id, evaluator.Integer(value));
    default:
        evaluator.Fail(fmt::format("{} takes no number", WithArticle(kind)));
    }
}

void WriteText(Evaluator &evaluator, NodeId id, std::string_view text)
{
    const Evaluator::Step step(evaluator, id, Aspect::Write);
    CheckWritable(evaluator, id);
    const auto kind = evaluator.Graph()[id].kind;
    if (kind == NodeKind::StringReg)
    {
        const auto layout = LayoutOf(evaluator, id);
        if (text.size() > layout.length)
        {
            evaluator.Fail(fmt::format("a text of {} bytes is too long for {}", text.size(), layout.length),
                           GC_ERR_INVALID_VALUE);
        }
        std::vector<uint8_t> bytes(layout.length);
        std::ranges::copy(text, bytes.begin());
        return WriteRegister(evaluator, layout, bytes);
    }
    if (kind != NodeKind::String)
    {
        evaluator.Fail(fmt::format("{} takes no text", WithArticle(kind)));
    }
    const auto &source = SourceOf(evaluator, id);
    if (IsReference(source.tag))
    {
        return WriteText(evaluator, evaluator.Target(source), text);
    }
    evaluator.State().literals.Store(source, std::string(text));
}

void WriteBytes(Evaluator &evaluator, NodeId id, std::span<const uint8_t> bytes)
{
    const Evaluator::Step step(evaluator, id, Aspect::Write);
    CheckWritable(evaluator, id);
    const auto kind = evaluator.Graph()[id].kind;
    if (!IsRegister(kind))
    {
        evaluator.Fail(fmt::format("{} has no bytes", WithArticle(kind)));
    }
    const auto layout = LayoutOf(evaluator, id);
    if (bytes.size() != layout.length)
    {
        evaluator.Fail(fmt::format("{} bytes for a register of {}", bytes.size(), layout.length),
                       GC_ERR_INVALID_VALUE);
    }
    WriteRegister(evaluator, layout, bytes);
}

} // namespace GenTL::internal::genapi
