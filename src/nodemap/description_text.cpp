#include "nodemap/description_text.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace GenTL::internal
{

namespace
{

constexpr std::string_view declarationOfUtf8 = R"(<?xml version="1.0" encoding="utf-8"?>)";

enum class ByteOrder : uint8_t
{
    Little,
    Big,
};

std::string_view TextView(std::span<const uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

void AppendUtf8(std::string &text, uint32_t codePoint)
{
    const auto append = [&text](uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto appendLow = [&](uint32_t shift) { append(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80)
    {
        append(codePoint);
    }
    else if (codePoint < 0x800)
    {
        append(0xC0U | (codePoint >> 6U));
        appendLow(0);
    }
    else if (codePoint < 0x10000)
    {
        append(0xE0U | (codePoint >> 12U));
        appendLow(6);
        appendLow(0);
    }
    else
    {
        append(0xF0U | (codePoint >> 18U));
        appendLow(12);
        appendLow(6);
        appendLow(0);
    }
}

std::string FromLatin1(std::span<const uint8_t> bytes)
{
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const auto byte : bytes)
    {
        AppendUtf8(text, byte);
    }
    return text;
}

bool IsHighSurrogate(uint32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(uint32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

/// Half a surrogate pair becomes U+FFFD. An odd byte at the end is left out.
std::string FromUtf16(std::span<const uint8_t> bytes, ByteOrder order)
{
    const auto unitAt = [&](size_t index) -> uint32_t
    {
        const uint32_t first = bytes[2 * index];
        const uint32_t second = bytes[2 * index + 1];
        return order == ByteOrder::Little ? first | second << 8U : first << 8U | second;
    };
    constexpr uint32_t replacement = 0xFFFD;
    const size_t count = bytes.size() / 2;
    std::string text;
    text.reserve(count + count / 8);
    for (size_t i = 0; i < count; ++i)
    {
        const auto unit = unitAt(i);
        if (IsHighSurrogate(unit) && i + 1 < count && IsLowSurrogate(unitAt(i + 1)))
        {
            ++i;
            AppendUtf8(text, 0x10000U + ((unit - 0xD800U) << 10U) + (unitAt(i) - 0xDC00U));
        }
        else
        {
            AppendUtf8(text, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? replacement : unit);
        }
    }
    return text;
}

/// The declaration at the text's start, from `<?xml` to `?>`; empty without one.
std::string_view DeclarationOf(std::string_view text)
{
    const auto start = text.find('<');
    if (start == std::string_view::npos || text.substr(start, 5) != "<?xml")
    {
        return {};
    }
    const auto end = text.find("?>", start);
    return end == std::string_view::npos ? std::string_view{} : text.substr(start, end + 2 - start);
}

/// The encoding that a declaration names, in lower case; empty when it names none.
std::string EncodingIn(std::string_view declaration)
{
    auto position = declaration.find("encoding");
    if (position == std::string_view::npos)
    {
        return {};
    }
    position = declaration.find_first_of("'\"", position);
    if (position == std::string_view::npos)
    {
        return {};
    }
    const auto end = declaration.find(declaration[position], position + 1);
    if (end == std::string_view::npos)
    {
        return {};
    }
    std::string name(declaration.substr(position + 1, end - position - 1));
    std::ranges::transform(
        name, name.begin(),
        [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
    return name;
}

bool IsLatin1(std::string_view encoding)
{
    return encoding == "iso-8859-1" || encoding == "latin1" || encoding == "latin-1" ||
           encoding == "windows-1252";
}

bool StartsWith(std::span<const uint8_t> bytes, std::initializer_list<uint8_t> start)
{
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

std::string ToUtf8(std::span<const uint8_t> bytes)
{
    if (StartsWith(bytes, {0xEF, 0xBB, 0xBF}))
    {
        return std::string(TextView(bytes.subspan(3)));
    }
    if (StartsWith(bytes, {0xFF, 0xFE}) || StartsWith(bytes, {0xFE, 0xFF}))
    {
        return FromUtf16(bytes.subspan(2), bytes[0] == 0xFF ? ByteOrder::Little : ByteOrder::Big);
    }
    if (bytes.size() >= 4 && bytes[0] == '<' && bytes[1] == 0 && bytes[3] == 0)
    {
        return FromUtf16(bytes, ByteOrder::Little);
    }
    if (bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == '<' && bytes[2] == 0)
    {
        return FromUtf16(bytes, ByteOrder::Big);
    }
    constexpr size_t longestDeclaration = 1024;
    const auto start = TextView(bytes).substr(0, longestDeclaration);
    return IsLatin1(EncodingIn(DeclarationOf(start))) ? FromLatin1(bytes) : std::string(TextView(bytes));
}

/// Behind the first end tag of a RegisterDescription, with or without a prefix; the text's end without one.
size_t EndOfDescription(std::string_view text)
{
    constexpr std::string_view name = "RegisterDescription";
    size_t position = 0;
    while (true)
    {
        // memmem, since std::string_view::find stops at each first letter: ten times slower in a megabyte.
        const void *found = memmem(text.data() + position, text.size() - position, name.data(), name.size());
        if (found == nullptr)
        {
            return text.size();
        }
        position = static_cast<size_t>(static_cast<const char *>(found) - text.data());
        const auto tag = text.rfind('<', position);
        const bool isEndTag = tag != std::string_view::npos && tag + 1 < position && text[tag + 1] == '/' &&
                              (tag + 2 == position || text.find(':', tag) == position - 1);
        position += name.size();
        const auto close = text.find_first_not_of(" \t\r\n", position);
        if (isEndTag && close != std::string_view::npos && text[close] == '>')
        {
            return close + 1;
        }
    }
}

} // namespace

std::string DescriptionText(std::span<const uint8_t> bytes)
{
    auto text = ToUtf8(bytes);
    text.resize(EndOfDescription(text));
    text.erase(0, text.find('<'));
    const auto declaration = DeclarationOf(text);
    const auto encoding = EncodingIn(declaration);
    if (!encoding.empty() && encoding != "utf-8")
    {
        text.replace(0, declaration.size(), declarationOfUtf8);
    }
    return text;
}

bool IsZip(std::span<const uint8_t> bytes)
{
    return StartsWith(bytes, {'P', 'K', 3, 4});
}

std::span<const uint8_t> WithoutTail(std::span<const uint8_t> archive)
{
    constexpr std::string_view endRecord{"PK\5\6", 4};
    constexpr size_t recordSize = 22;
    constexpr size_t commentLength = 20;
    const auto text = TextView(archive);
    const auto record = text.rfind(endRecord);
    if (record == std::string_view::npos || text.size() - record < recordSize)
    {
        return archive;
    }
    const size_t comment =
        archive[record + commentLength] | static_cast<size_t>(archive[record + commentLength + 1]) << 8U;
    return archive.first(std::min(archive.size(), record + recordSize + comment));
}

} // namespace GenTL::internal
