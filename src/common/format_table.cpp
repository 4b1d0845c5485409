#include "common/format_table.h"

#include <algorithm>
#include <array>

namespace tarn::common
{

namespace
{

using Name = FormatTable::Name;

template <typename Row, size_t count, typename Key>
constexpr std::array<Row, count> Sorted(std::array<Row, count> rows, Key Row::*key)
{
    std::ranges::sort(rows, {}, key);
    return rows;
}

template <size_t count>
constexpr std::array<Name, count> NamesOf(const std::array<FormatInfo, count> &formats)
{
    std::array<Name, count> names{};
    std::ranges::transform(formats, names.begin(),
                           [](const FormatInfo &row) {
                               return Name{row.name, row.format};
                           });
    return names;
}

template <typename Row, size_t count, size_t more>
constexpr std::array<Row, count + more> Joined(const std::array<Row, count> &first,
                                               const std::array<Row, more> &second)
{
    std::array<Row, count + more> all{};
    std::ranges::copy(second, std::ranges::copy(first, all.begin()).out);
    return all;
}

#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked)                                            \
    FormatInfo{PixelFormat::name, #name, bits, maximum, packed, PixelFormat::unpacked},
constexpr std::array familyRows{
#include "common/pixel_formats.inc"
};
constexpr std::array publishedRows{
#include "common/published_formats.inc"
};

constexpr std::array aliasNames{
#define PIXEL_FORMAT_ALIAS(alias, name) Name{#alias, PixelFormat::name, true},
#include "common/published_formats.inc"
};

constexpr auto familyByCode = Sorted(familyRows, &FormatInfo::format);
constexpr auto wideByCode = Sorted(Joined(familyRows, publishedRows), &FormatInfo::format);
constexpr auto familyByName = Sorted(NamesOf(familyRows), &Name::text);
constexpr auto wideByName = Sorted(Joined(NamesOf(wideByCode), aliasNames), &Name::text);

static_assert(familyByCode.size() == 123);
static_assert(std::ranges::adjacent_find(wideByCode, {}, &FormatInfo::format) == wideByCode.end(),
              "a code stands twice");
static_assert(std::ranges::adjacent_find(wideByName, {}, &Name::text) == wideByName.end(),
              "a name stands twice");

template <typename Row, typename Key>
const Row *FindRow(std::span<const Row> rows, const Key &key, Key Row::*field)
{
    const auto row = std::ranges::lower_bound(rows, key, {}, field);
    return row != rows.end() && (*row).*field == key ? &*row : nullptr;
}

/// Whether the code lies in the range of the published list. Camera makers choose all other codes themselves,
/// so two makers may use one code for two formats.
bool IsPublishedCode(PixelFormat format)
{
    const auto kind = static_cast<int64_t>(format) >> 24;
    return kind == 1 || kind == 2;
}

} // namespace

constinit const FormatTable familyFormats{familyByCode, familyByName};
constinit const FormatTable wideFormats{wideByCode, wideByName};

uint64_t GetSizeInBytes(const FormatInfo &format, Size size)
{
    return (uint64_t{size.width} * size.height * format.bits + 7) >> 3;
}

const FormatInfo *FormatTable::Find(PixelFormat format) const
{
    return FindRow(m_formats, format, &FormatInfo::format);
}

const FormatInfo *FormatTable::Find(std::string_view name) const
{
    const auto *row = FindRow(m_names, name, &Name::text);
    return row != nullptr ? Find(row->format) : nullptr;
}

const FormatInfo *FormatTable::Resolve(std::string_view name, PixelFormat code) const
{
    const auto *named = Find(name);
    const auto *coded = IsPublishedCode(code) ? Find(code) : nullptr;
    if (named == nullptr)
    {
        return coded;
    }
    return coded == nullptr || coded == named ? named : nullptr;
}

std::vector<std::string_view> FormatTable::AliasesOf(PixelFormat format) const
{
    std::vector<std::string_view> aliases;
    for (const auto &name : m_names)
    {
        if (name.isAlias && name.format == format)
        {
            aliases.push_back(name.text);
        }
    }
    return aliases;
}

} // namespace tarn::common
