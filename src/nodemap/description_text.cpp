#include "nodemap/description_text.h"

#include <algorithm>
#include <cstring>
#include <optional>
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

std::string FromLatin1(std::string_view latin1)
{
    std::string text;
    text.reserve(latin1.size() + latin1.size() / 8);
    for (const char letter : latin1)
    {
        AppendUtf8(text, static_cast<uint8_t>(letter));
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

/// The number of bytes that follow the first byte of a sequence in UTF-8; none for a byte that begins no
/// sequence.
std::optional<size_t> FollowingBytes(uint8_t first)
{
    if (first < 0x80)
    {
        return 0;
    }
    if (first >= 0xC2 && first < 0xE0)
    {
        return 1;
    }
    if (first >= 0xE0 && first < 0xF0)
    {
        return 2;
    }
    return first >= 0xF0 && first < 0xF5 ? std::optional<size_t>(3) : std::nullopt;
}

/// The number of ASCII characters from a position on, in whole words.
size_t WordsOfAscii(std::span<const uint8_t> bytes, size_t position)
{
    size_t end = position;
    uint64_t word = 0;
    for (; bytes.size() - end >= sizeof word; end += sizeof word)
    {
        std::memcpy(&word, bytes.data() + end, sizeof word);
        if ((word & 0x8080808080808080U) != 0)
        {
            break;
        }
    }
    return end - position;
}

bool IsUtf8(std::string_view text)
{
    const std::span bytes(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    const auto isFollowing = [](uint8_t byte) { return (byte & 0xC0U) == 0x80; };
    for (size_t i = WordsOfAscii(bytes, 0); i < bytes.size(); i += WordsOfAscii(bytes, i))
    {
        const auto following = FollowingBytes(bytes[i]);
        if (!following || bytes.size() - i <= *following ||
            !std::ranges::all_of(bytes.subspan(i + 1, *following), isFollowing))
        {
            return false;
        }
        i += *following + 1;
    }
    return true;
}

/// The first place of `wanted` from `position` on; the size of `text` if there is none. Uses memmem:
/// std::string_view::find stops at each first letter, and took ten times as long in a megabyte.
size_t Find(std::string_view text, std::string_view wanted, size_t position)
{
    if (position >= text.size())
    {
        return text.size();
    }
    const void *found = memmem(text.data() + position, text.size() - position, wanted.data(), wanted.size());
    return found == nullptr ? text.size()
                            : static_cast<size_t>(static_cast<const char *>(found) - text.data());
}

bool StartsWith(std::span<const uint8_t> bytes, std::initializer_list<uint8_t> start)
{
    return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

/// The byte order of UTF-16, by the mark or by the first letters; none for all other encodings.
std::optional<ByteOrder> OrderOfUtf16(std::span<const uint8_t> bytes)
{
    if (StartsWith(bytes, {0xFF, 0xFE}) ||
        (bytes.size() >= 4 && bytes[0] == '<' && bytes[1] == 0 && bytes[3] == 0))
    {
        return ByteOrder::Little;
    }
    if (StartsWith(bytes, {0xFE, 0xFF}) ||
        (bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == '<' && bytes[2] == 0))
    {
        return ByteOrder::Big;
    }
    return std::nullopt;
}

/// Whether a place lies between `open` and the next `close`.
bool IsWithin(std::string_view text, size_t place, std::string_view open, std::string_view close)
{
    size_t position = 0;
    while (true)
    {
        const auto begin = Find(text, open, position);
        if (begin >= place)
        {
            return false;
        }
        const auto end = Find(text, close, begin + open.size());
        if (end > place)
        {
            return end < text.size();
        }
        position = end + close.size();
    }
}

bool IsMarkup(std::string_view text, size_t place)
{
    return !IsWithin(text, place, "<!--", "-->") && !IsWithin(text, place, "<![CDATA[", "]]>");
}

/// The position behind the first end tag of a RegisterDescription, with or without a namespace prefix; the
/// text's end if there is no such tag.
size_t EndOfDescription(std::string_view text)
{
    constexpr std::string_view name = "RegisterDescription";
    size_t position = 0;
    while (true)
    {
        position = Find(text, name, position);
        if (position == text.size())
        {
            return position;
        }
        const auto tag = text.rfind('<', position);
        const bool isEndTag = tag != std::string_view::npos && tag + 1 < position && text[tag + 1] == '/' &&
                              (tag + 2 == position || text.find(':', tag) == position - 1);
        position += name.size();
        const auto close = text.find_first_not_of(" \t\r\n", position);
        if (isEndTag && close != std::string_view::npos && text[close] == '>' && IsMarkup(text, tag))
        {
            return close + 1;
        }
    }
}

constexpr std::string_view endRecord{"PK\5\6", 4};
constexpr size_t endRecordSize = 22;

/// A number of an archive: little-endian.
uint64_t NumberIn(std::span<const uint8_t> bytes, size_t position, size_t length)
{
    uint64_t number = 0;
    for (size_t i = 0; i < length; ++i)
    {
        number |= static_cast<uint64_t>(bytes[position + i]) << (8 * i);
    }
    return number;
}

/// Whether an end record stands right behind the archive's directory. The record holds the directory's size
/// and place.
bool IsEndRecordAt(std::span<const uint8_t> record, size_t position)
{
    return NumberIn(record, 12, 4) + NumberIn(record, 16, 4) == position;
}

/// The description without anything around it, such as a byte order mark.
std::string_view DescriptionIn(std::string_view text)
{
    text = text.substr(0, EndOfDescription(text));
    return text.substr(std::min(text.find('<'), text.size()));
}

std::string ToUtf8(std::span<const uint8_t> bytes)
{
    if (const auto order = OrderOfUtf16(bytes))
    {
        return std::string(DescriptionIn(FromUtf16(bytes, *order)));
    }
    const auto text = DescriptionIn(TextView(bytes));
    const bool isLatin1 = IsLatin1(EncodingIn(DeclarationOf(text))) || !IsUtf8(text);
    return isLatin1 ? FromLatin1(text) : std::string(text);
}

} // namespace

std::string DescriptionText(std::span<const uint8_t> bytes)
{
    auto text = ToUtf8(bytes);
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
    // Takes the first end record that fits its place, because an older, longer archive may have left its end
    // behind. If none fits, takes the last one.
    const auto text = TextView(archive);
    auto end = archive.size();
    bool isFound = false;
    for (size_t position = Find(text, endRecord, 0); position < text.size() && !isFound;
         position = Find(text, endRecord, position + 1))
    {
        const auto record = archive.subspan(position);
        if (record.size() >= endRecordSize)
        {
            end = std::min(archive.size(), position + endRecordSize + NumberIn(record, 20, 2));
            isFound = IsEndRecordAt(record, position);
        }
    }
    return archive.first(end);
}

} // namespace GenTL::internal
