#include "genapi/registers.h"

#include "genapi/values.h"
#include "utils/exception_code.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace GenTL::internal::genapi
{
namespace
{

constexpr int64_t maximumRegisterLength = int64_t{1} << 20;
constexpr size_t maximumNumberLength = 8;

/// The node that states the address and the length: a StructEntry leaves them to its StructReg.
NodeId PlaceOwner(const NodeGraph &graph, NodeId id)
{
    const auto &node = graph[id];
    return node.kind == NodeKind::StructEntry && node.parent != noNode ? node.parent : id;
}

const Property *PortOf(const Evaluator &evaluator, NodeId id)
{
    return evaluator.Graph().FindInherited(id, Tag::pPort);
}

bool IsBigEndian(const Evaluator &evaluator, NodeId id)
{
    const auto &graph = evaluator.Graph();
    const auto *const order = graph.FindInherited(id, Tag::Endianess);
    const auto *const port = PortOf(evaluator, id);
    const auto *const swap =
        port == nullptr || port->target == noNode ? nullptr : graph.Find(port->target, Tag::SwapEndianess);
    return (order != nullptr && order->Text() == "BigEndian") != (swap != nullptr && swap->Text() == "Yes");
}

/// The offset that a pIndex adds to an address: the index times its Offset or pOffset, else times the length.
uint64_t IndexedOffset(Evaluator &evaluator, NodeId owner, const Property &index, size_t length)
{
    const auto factor = [&]() -> int64_t
    {
        if (const auto name = index.Attribute("pOffset"); !name.empty())
        {
            const auto id = evaluator.Graph().Find(name);
            if (id == noNode)
            {
                evaluator.Fail(fmt::format("no node {}, which {} names as pOffset", name,
                                           evaluator.Graph().Label(owner)));
            }
            return evaluator.Integer(ValueOf(evaluator, id));
        }
        const auto offset = index.Attribute("Offset");
        return offset.empty() ? static_cast<int64_t>(length) : IntegerFrom(evaluator, "Offset", offset);
    }();
    const auto value = evaluator.Integer(ValueOf(evaluator, evaluator.Target(index)));
    return static_cast<uint64_t>(value) * static_cast<uint64_t>(factor);
}

uint64_t AddressOf(Evaluator &evaluator, NodeId owner, size_t length)
{
    std::optional<uint64_t> address;
    const auto add = [&](auto value) { address = address.value_or(0) + static_cast<uint64_t>(value); };
    for (const auto &property : evaluator.Graph().PropertiesOf(owner))
    {
        switch (property.tag)
        {
        case Tag::Address:
            add(IntegerFrom(evaluator, "Address", property.Text()));
            break;
        case Tag::pAddress:
        case Tag::IntSwissKnife:
            add(evaluator.Integer(ValueOf(evaluator, evaluator.Target(property))));
            break;
        case Tag::pIndex:
            add(IndexedOffset(evaluator, owner, property, length));
            break;
        default:
            break;
        }
    }
    if (!address)
    {
        evaluator.Fail("it has no address");
    }
    return *address;
}

/// Calls the port, and puts the place of the register in front of a failure.
template <typename Call>
void CallPort(const Evaluator &evaluator, const char *what, const RegisterLayout &layout, Call call)
{
    try
    {
        call();
    }
    catch (const std::exception &cause)
    {
        const auto code = ErrorCodeOf(cause);
        evaluator.Fail(fmt::format("port {} of {} bytes at {:#x} failed: {} ({})", what, layout.length,
                                   layout.address, cause.what(), code),
                       code);
    }
}

bool MayBeCached(const Evaluator &evaluator, NodeId id)
{
    const auto &graph = evaluator.Graph();
    const auto *const cachable = graph.FindInherited(id, Tag::Cachable);
    return graph.FindInherited(id, Tag::PollingTime) == nullptr &&
           (cachable == nullptr || cachable->Text() != "NoCache");
}

void Read(Evaluator &evaluator, bool fromDevice, const RegisterLayout &layout, std::span<uint8_t> bytes)
{
    auto &registers = evaluator.State().registers;
    CallPort(evaluator, "read", layout,
             [&] {
                 fromDevice ? registers.ReadDevice(layout.address, bytes)
                            : registers.Read(layout.address, bytes);
             });
}

/// The position in a register of byte `index`, counted from the least significant one.
size_t BytePosition(const RegisterLayout &layout, size_t index)
{
    return layout.isBigEndian ? layout.length - 1 - index : index;
}

uint64_t ReadNumberFrom(Evaluator &evaluator, bool fromDevice, const RegisterLayout &layout)
{
    if (layout.length > maximumNumberLength)
    {
        evaluator.Fail(fmt::format("{} bytes are too many for a number", layout.length));
    }
    std::array<uint8_t, maximumNumberLength> bytes{};
    Read(evaluator, fromDevice, layout, std::span(bytes).first(layout.length));
    uint64_t value = 0;
    for (size_t i = 0; i < layout.length; ++i)
    {
        value |= uint64_t{bytes[BytePosition(layout, i)]} << (8 * i);
    }
    return value;
}

/// The bits that a MaskedIntReg or a StructEntry names.
std::pair<int64_t, int64_t> NamedBits(Evaluator &evaluator, NodeId id)
{
    if (evaluator.Graph().FindInherited(id, Tag::Bit) != nullptr)
    {
        const auto bit = LiteralOr(evaluator, id, Tag::Bit, 0);
        return {bit, bit};
    }
    const auto bits =
        std::minmax({LiteralOr(evaluator, id, Tag::LSB, -1), LiteralOr(evaluator, id, Tag::MSB, -1)});
    return {bits.first, bits.second};
}

uint64_t MaskOf(unsigned bits)
{
    return bits >= 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
}

} // namespace

int64_t IntegerField::Min() const
{
    return isSigned ? static_cast<int64_t>(~uint64_t{0} << (bits - 1)) : 0;
}

int64_t IntegerField::Max() const
{
    return static_cast<int64_t>(MaskOf(isSigned || bits == 64 ? bits - 1 : bits));
}

int64_t IntegerField::Extract(uint64_t bytes) const
{
    const auto unused = 64 - bits;
    const auto atTop = bytes >> low << unused;
    return isSigned ? static_cast<int64_t>(atTop) >> unused : static_cast<int64_t>(atTop >> unused);
}

uint64_t IntegerField::Insert(uint64_t bytes, int64_t value) const
{
    const auto mask = MaskOf(bits) << low;
    return (bytes & ~mask) | ((static_cast<uint64_t>(value) << low) & mask);
}

std::string PortObstacle(const Evaluator &evaluator, NodeId id)
{
    const auto *const port = PortOf(evaluator, id);
    if (port == nullptr || port->target == noNode)
    {
        return {};
    }
    const auto &graph = evaluator.Graph();
    const auto has = [&](Tag tag) { return graph.Find(port->target, tag) != nullptr; };
    if (has(Tag::ChunkID) || has(Tag::pChunkID))
    {
        return fmt::format("its port {} stands for chunks of a frame", port->Text());
    }
    return has(Tag::EventID) ? fmt::format("its port {} stands for an event", port->Text()) : std::string();
}

size_t LengthOf(Evaluator &evaluator, NodeId id)
{
    const auto owner = PlaceOwner(evaluator.Graph(), id);
    const auto *const reference = evaluator.Graph().Find(owner, Tag::pLength);
    const auto length = reference != nullptr
                            ? evaluator.Integer(ValueOf(evaluator, evaluator.Target(*reference)))
                            : LiteralOr(evaluator, owner, Tag::Length, 0);
    if (length < 1 || length > maximumRegisterLength)
    {
        evaluator.Fail(fmt::format("a length of {} bytes", length));
    }
    return static_cast<size_t>(length);
}

RegisterLayout LayoutOf(Evaluator &evaluator, NodeId id)
{
    if (const auto *const port = PortOf(evaluator, id); port != nullptr)
    {
        evaluator.Target(*port);
    }
    const auto length = LengthOf(evaluator, id);
    return {AddressOf(evaluator, PlaceOwner(evaluator.Graph(), id), length), length,
            IsBigEndian(evaluator, id)};
}

IntegerField FieldOf(Evaluator &evaluator, NodeId id, const RegisterLayout &layout)
{
    if (layout.length > maximumNumberLength)
    {
        evaluator.Fail(fmt::format("{} bytes are too many for a number", layout.length));
    }
    const auto *const sign = evaluator.Graph().FindInherited(id, Tag::Sign);
    const bool isSigned = sign != nullptr && sign->Text() == "Signed";
    const auto total = static_cast<unsigned>(8 * layout.length);
    if (evaluator.Graph()[id].kind == NodeKind::IntReg)
    {
        return {0, total, isSigned};
    }
    const auto [first, last] = NamedBits(evaluator, id);
    if (first < 0 || last >= int64_t{total})
    {
        evaluator.Fail(fmt::format("bits {} to {} of a register of {}", first, last, total));
    }
    const auto low = static_cast<unsigned>(layout.isBigEndian ? int64_t{total} - 1 - last : first);
    return {low, static_cast<unsigned>(last - first + 1), isSigned};
}

void CheckFloatLength(const Evaluator &evaluator, const RegisterLayout &layout)
{
    if (layout.length != sizeof(float) && layout.length != sizeof(double))
    {
        evaluator.Fail(fmt::format("a floating number of {} bytes", layout.length));
    }
}

std::vector<uint8_t> ReadRegister(Evaluator &evaluator, NodeId id)
{
    const auto layout = LayoutOf(evaluator, id);
    std::vector<uint8_t> bytes(layout.length);
    Read(evaluator, !MayBeCached(evaluator, id), layout, bytes);
    return bytes;
}

uint64_t ReadRegisterNumber(Evaluator &evaluator, NodeId id, const RegisterLayout &layout)
{
    return ReadNumberFrom(evaluator, !MayBeCached(evaluator, id), layout);
}

uint64_t ReadRegisterNumberOnDevice(Evaluator &evaluator, const RegisterLayout &layout)
{
    return ReadNumberFrom(evaluator, true, layout);
}

void WriteRegister(Evaluator &evaluator, const RegisterLayout &layout, std::span<const uint8_t> bytes)
{
    evaluator.ForgetValues();
    CallPort(evaluator, "write", layout, [&] { evaluator.State().registers.Write(layout.address, bytes); });
}

void WriteRegisterNumber(Evaluator &evaluator, const RegisterLayout &layout, uint64_t value)
{
    std::array<uint8_t, maximumNumberLength> bytes{};
    for (size_t i = 0; i < layout.length; ++i)
    {
        bytes[BytePosition(layout, i)] = static_cast<uint8_t>(value >> (8 * i));
    }
    WriteRegister(evaluator, layout, std::span(bytes).first(layout.length));
}

} // namespace GenTL::internal::genapi
