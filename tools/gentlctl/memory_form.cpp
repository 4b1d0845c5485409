#include "gentlctl/memory_form.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <stdexcept>

namespace gentlctl
{
namespace
{

constexpr MemoryForm memoryForms[] = {
    {"bytes", 0, false}, {"le32", 4, false}, {"be32", 4, true}, {"le64", 8, false}, {"be64", 8, true},
};

constexpr size_t bytesInLine = 16;
constexpr unsigned bitsOfByte = 8;
constexpr int hexadecimal = 16;

/// The byte of this weight in a number: 0 is the lowest.
size_t PlaceOf(size_t weight, const MemoryForm &form)
{
    return form.isBigEndian ? form.numberSize - 1 - weight : weight;
}

std::vector<uint8_t> BytesOfNumber(uint64_t number, const MemoryForm &form)
{
    std::vector<uint8_t> bytes(form.numberSize);
    for (size_t weight = 0; weight < bytes.size(); ++weight)
    {
        bytes[PlaceOf(weight, form)] = static_cast<uint8_t>(number >> (bitsOfByte * weight));
    }
    return bytes;
}

std::vector<uint8_t> BytesOfDigits(const std::string &text)
{
    std::vector<uint8_t> bytes(text.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        const auto *const pair = text.data() + 2 * i;
        if (std::from_chars(pair, pair + 2, bytes[i], hexadecimal).ptr != pair + 2)
        {
            bytes.clear();
        }
    }
    if (bytes.empty() || text.size() % 2 != 0)
    {
        throw std::runtime_error(
            fmt::format("\"{}\" is no row of bytes in hexadecimal digits, as in 0f or 8002", text));
    }
    return bytes;
}

std::string CharactersOf(std::span<const uint8_t> bytes)
{
    std::string text;
    std::ranges::transform(bytes, std::back_inserter(text),
                           [](uint8_t byte)
                           { return byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.'; });
    return text;
}

std::string LineText(std::span<const uint8_t> bytes, const MemoryForm &form)
{
    if (form.numberSize == 0)
    {
        return fmt::format("{:<{}}  {}", HexText(bytes), 3 * bytesInLine - 1, CharactersOf(bytes));
    }
    const auto number = NumbersIn(bytes, form).front();
    return fmt::format("{}  {:#x}", number, number);
}

} // namespace

std::span<const MemoryForm> MemoryForms()
{
    return memoryForms;
}

const MemoryForm &MemoryFormNamed(const std::string &name)
{
    return *std::ranges::find(memoryForms, name, &MemoryForm::name);
}

uint64_t ParseUnsigned(const std::string &text, size_t size)
{
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto *const begin = text.data() + (isHexadecimal ? 2 : 0);
    const auto *const end = text.data() + text.size();
    uint64_t number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number, isHexadecimal ? hexadecimal : 10);
    const bool fits = size == sizeof(number) || number >> (bitsOfByte * size) == 0;
    if (error != std::errc() || stop != end || !fits)
    {
        throw std::runtime_error(
            fmt::format("\"{}\" is no number of {} bytes without a sign, as in 4096 or 0x1000", text, size));
    }
    return number;
}

std::vector<uint8_t> MemoryBytes(const std::vector<std::string> &texts, const MemoryForm &form)
{
    std::vector<uint8_t> bytes;
    for (const auto &text : texts)
    {
        const auto more = form.numberSize == 0 ? BytesOfDigits(text)
                                               : BytesOfNumber(ParseUnsigned(text, form.numberSize), form);
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

std::vector<uint64_t> NumbersIn(std::span<const uint8_t> bytes, const MemoryForm &form)
{
    std::vector<uint64_t> numbers(form.numberSize == 0 ? 0 : bytes.size() / form.numberSize);
    for (size_t i = 0; i < numbers.size(); ++i)
    {
        for (size_t weight = 0; weight < form.numberSize; ++weight)
        {
            const uint64_t byte = bytes[i * form.numberSize + PlaceOf(weight, form)];
            numbers[i] |= byte << (bitsOfByte * weight);
        }
    }
    return numbers;
}

std::string HexText(std::span<const uint8_t> bytes)
{
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

std::string MemoryText(uint64_t address, std::span<const uint8_t> bytes, const MemoryForm &form)
{
    std::string text;
    const size_t step = form.numberSize == 0 ? bytesInLine : form.numberSize;
    for (size_t begin = 0; begin < bytes.size(); begin += step)
    {
        const auto line = bytes.subspan(begin, std::min(step, bytes.size() - begin));
        text += fmt::format("{:#010x}  {}\n", address + begin, LineText(line, form));
    }
    return text;
}

} // namespace gentlctl
