#include "genapi/access.h"

#include "genapi/registers.h"
#include "genapi/values.h"

#include <fmt/format.h>

#include <optional>

namespace GenTL::internal::genapi
{
namespace
{

void AddCause(Access &access, const std::string &cause)
{
    if (access.cause.empty())
    {
        access.cause = cause;
    }
}

/// Whether a condition holds; `missing` where the node has none. A condition that cannot be evaluated does
/// not hold.
bool Holds(Evaluator &evaluator, NodeId id, Tag tag, bool missing, Access &access)
{
    const auto *const condition = evaluator.Graph().FindInherited(id, tag);
    if (condition == nullptr)
    {
        return missing;
    }
    if (condition->target == noNode)
    {
        AddCause(access, fmt::format("no node {}, which {} names as {}", condition->Text(),
                                     evaluator.Graph().Label(id), NameOf(tag)));
        access.failed = true;
        return false;
    }
    const auto [holds, failure] = evaluator.ConditionOnce(
        condition->target, [&] { return ValueOf(evaluator, condition->target).IsTrue(); });
    if (!failure.empty())
    {
        AddCause(access, failure);
        access.failed = true;
    }
    else if (holds != missing)
    {
        AddCause(access, fmt::format("{} {} is {}", NameOf(tag), condition->Text(), holds ? "true" : "0"));
    }
    return holds;
}

/// Takes away what a mode does not allow.
void Restrict(Access &access, std::string_view mode, std::string_view origin)
{
    access.implemented = access.implemented && mode != "NI";
    access.available = access.available && mode != "NA";
    access.readable = access.readable && mode != "WO";
    access.writable = access.writable && mode != "RO";
    if (mode != "RW")
    {
        AddCause(access, fmt::format("its {} is {}", origin, mode));
    }
}

/// Takes away what the kind of a node rules out: only features, registers and converters can be written.
void RestrictToKind(Access &access, NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::SwissKnife:
    case NodeKind::IntSwissKnife:
    case NodeKind::EnumEntry:
        access.writable = false;
        AddCause(access, fmt::format("{} cannot be written", WithArticle(kind)));
        break;
    case NodeKind::Node:
    case NodeKind::Category:
    case NodeKind::Port:
    case NodeKind::StructReg:
        access.readable = access.writable = false;
        AddCause(access, fmt::format("{} has no value", WithArticle(kind)));
        break;
    case NodeKind::ConfRom:
    case NodeKind::TextDesc:
    case NodeKind::IntKey:
    case NodeKind::AdvFeatureLock:
    case NodeKind::SmartFeature:
        access.readable = access.writable = false;
        AddCause(access, fmt::format("{} belongs to IEEE 1394, which is not supported", WithArticle(kind)));
        break;
    default:
        break;
    }
}

/// The access of a node alone, without its lock: a lock matters to writes only.
Access UnlockedAccess(Evaluator &evaluator, NodeId id)
{
    Access access;
    const auto &graph = evaluator.Graph();
    const auto kind = graph[id].kind;
    access.implemented = Holds(evaluator, id, Tag::pIsImplemented, true, access);
    access.available = access.implemented && Holds(evaluator, id, Tag::pIsAvailable, true, access);
    RestrictToKind(access, kind);
    if (const auto *const imposed = graph.FindInherited(id, Tag::ImposedAccessMode))
    {
        Restrict(access, imposed->Text(), "ImposedAccessMode");
    }
    if (IsRegister(kind))
    {
        const auto *const mode = graph.FindInherited(id, Tag::AccessMode);
        Restrict(access, mode == nullptr ? "RO" : mode->Text(), "AccessMode");
        if (const auto obstacle = PortObstacle(evaluator, id); !obstacle.empty())
        {
            access.available = false;
            access.cause = obstacle;
        }
    }
    access.available = access.available && access.implemented;
    access.readable = access.readable && access.available;
    access.writable = access.writable && access.available;
    return access;
}

/// The node behind a feature or a converter that carries its value; empty for a literal and for all other
/// kinds.
std::optional<NodeId> Carrier(Evaluator &evaluator, NodeId id)
{
    switch (evaluator.Graph()[id].kind)
    {
    case NodeKind::Integer:
    case NodeKind::Float:
    case NodeKind::Boolean:
    case NodeKind::Command:
    case NodeKind::Enumeration:
    case NodeKind::String:
    case NodeKind::Converter:
    case NodeKind::IntConverter:
    {
        const auto &source = SourceOf(evaluator, id);
        return IsReference(source.tag) ? std::optional(evaluator.Target(source)) : std::nullopt;
    }
    default:
        return {};
    }
}

[[noreturn]] void Refuse(Evaluator &evaluator, const Access &access, std::string_view what, GC_ERROR code)
{
    const auto state = !access.implemented ? "not implemented" : !access.available ? "not available" : what;
    evaluator.Fail(fmt::format("{}: {}", state, access.cause), code);
}

} // namespace

Access OwnAccess(Evaluator &evaluator, NodeId id)
{
    auto access = UnlockedAccess(evaluator, id);
    access.locked = Holds(evaluator, id, Tag::pIsLocked, false, access);
    access.writable = access.writable && !access.locked;
    return access;
}

Access AccessOf(Evaluator &evaluator, NodeId id)
{
    const Evaluator::Step step(evaluator, id, Aspect::Access);
    auto access = OwnAccess(evaluator, id);
    const auto carrier = Carrier(evaluator, id);
    if (!carrier)
    {
        return access;
    }
    const auto behind = AccessOf(evaluator, *carrier);
    access.implemented = access.implemented && behind.implemented;
    access.available = access.available && behind.available;
    access.locked = access.locked || behind.locked;
    access.readable = access.readable && behind.readable;
    access.writable = access.writable && behind.writable;
    access.failed = access.failed || behind.failed;
    if (!behind.cause.empty())
    {
        AddCause(access, fmt::format("{}: {}", evaluator.Graph().Label(*carrier), behind.cause));
    }
    return access;
}

void CheckReadable(Evaluator &evaluator, NodeId id)
{
    const auto access = UnlockedAccess(evaluator, id);
    // Reading a command asks whether it is done. IsDone itself checks whether the register can be read.
    const bool isCommand = evaluator.Graph()[id].kind == NodeKind::Command;
    if (isCommand ? !access.implemented || !access.available : !access.readable)
    {
        Refuse(evaluator, access, "not readable", GC_ERR_ERROR);
    }
}

void CheckWritable(Evaluator &evaluator, NodeId id)
{
    const auto access = OwnAccess(evaluator, id);
    if (!access.writable)
    {
        Refuse(evaluator, access, "not writable", GC_ERR_ACCESS_DENIED);
    }
}

} // namespace GenTL::internal::genapi
