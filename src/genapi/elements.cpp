#include "genapi/elements.h"

#include <array>
#include <cstddef>

namespace GenTL::internal::genapi
{
namespace
{

constexpr std::array kindNames = std::to_array<std::string_view>({
#define NODE_KIND(name) #name,
#include "genapi/elements.inc"
});

constexpr std::array tagNames = std::to_array<std::string_view>({
#define TEXT(name) #name,
#define REFERENCE(name) #name,
#include "genapi/elements.inc"
    "EnumEntry",
    "StructEntry",
    "IntSwissKnife",
});

/// A hash table of names, in which most look-ups take one comparison: a description has tens of thousands of
/// elements.
template <size_t count>
class NameTable
{
public:
    constexpr explicit NameTable(const std::array<std::string_view, count> &names) : m_names(names)
    {
        for (size_t i = 0; i < count; ++i)
        {
            auto slot = Slot(names[i]);
            while (m_slots[slot] != 0)
            {
                slot = (slot + 1) % m_slots.size();
            }
            m_slots[slot] = static_cast<uint8_t>(i + 1);
        }
    }

    /// The position of a name, or `count`.
    constexpr size_t Find(std::string_view name) const
    {
        if (name.empty())
        {
            return count;
        }
        for (auto slot = Slot(name); m_slots[slot] != 0; slot = (slot + 1) % m_slots.size())
        {
            if (m_names[m_slots[slot] - size_t{1}] == name)
            {
                return m_slots[slot] - size_t{1};
            }
        }
        return count;
    }

private:
    static constexpr size_t Slot(std::string_view name)
    {
        const auto letter = [&](size_t index) { return static_cast<unsigned char>(name[index]); };
        return (name.size() * 31 + letter(0) * size_t{7} + letter(name.size() / 2) * size_t{17} +
                letter(name.size() - 1) * size_t{13}) %
               slotCount;
    }

    static constexpr size_t slotCount = 512;
    static_assert(count < 255);

    const std::array<std::string_view, count> &m_names;
    std::array<uint8_t, slotCount> m_slots{};
};

constexpr NameTable kindTable(kindNames);
constexpr NameTable tagTable(tagNames);

} // namespace

std::string_view NameOf(NodeKind kind)
{
    return kindNames[static_cast<size_t>(kind)];
}

std::string WithArticle(NodeKind kind)
{
    const auto name = NameOf(kind);
    const bool startsWithVowel = std::string_view("AEIO").find(name.front()) != std::string_view::npos;
    return (startsWithVowel ? "an " : "a ") + std::string(name);
}

std::string_view NameOf(Tag tag)
{
    return tagNames[static_cast<size_t>(tag)];
}

std::optional<NodeKind> KindOf(std::string_view element)
{
    const auto index = kindTable.Find(element);
    return index < kindNames.size() ? std::optional(static_cast<NodeKind>(index)) : std::nullopt;
}

std::optional<Tag> TagOf(std::string_view element)
{
    const auto index = tagTable.Find(element);
    return index < tagNames.size() ? std::optional(static_cast<Tag>(index)) : std::nullopt;
}

bool IsReference(Tag tag)
{
    return tag >= Tag::pAddress && tag <= Tag::pVariable;
}

bool IsRegister(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::IntReg:
    case NodeKind::MaskedIntReg:
    case NodeKind::FloatReg:
    case NodeKind::StringReg:
    case NodeKind::Register:
    case NodeKind::StructReg:
    case NodeKind::StructEntry:
        return true;
    default:
        return false;
    }
}

bool IsFloat(NodeKind kind)
{
    return kind == NodeKind::Float || kind == NodeKind::FloatReg || kind == NodeKind::Converter ||
           kind == NodeKind::SwissKnife;
}

} // namespace GenTL::internal::genapi
