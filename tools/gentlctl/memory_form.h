#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace gentlctl
{

/// How the memory behind a port is shown and given: byte by byte, or as numbers.
struct MemoryForm
{
    std::string_view name;
    size_t numberSize; ///< bytes of a number; 0: byte by byte
    bool isBigEndian;
};

/// All forms; the first one is byte by byte.
std::span<const MemoryForm> MemoryForms();
/// @param name of a form
const MemoryForm &MemoryFormNamed(const std::string &name);

/// An unsigned number, decimal or hexadecimal with "0x".
/// @throws std::runtime_error the text is none, or the number needs more than `size` bytes
uint64_t ParseUnsigned(const std::string &text, size_t size = sizeof(uint64_t));

/// The bytes of a memory, for texts that are its numbers, or else pairs of hexadecimal digits.
/// @throws std::runtime_error as ParseUnsigned, or a text does not consist of pairs of digits
std::vector<uint8_t> MemoryBytes(const std::vector<std::string> &texts, const MemoryForm &form);

/// The numbers of a form that are in a memory.
std::vector<uint64_t> NumbersIn(std::span<const uint8_t> bytes, const MemoryForm &form);

/// As in "00 0a ff".
std::string HexText(std::span<const uint8_t> bytes);

/// A memory in lines: each with its address, and sixteen bytes with their characters, or a number in both
/// notations.
std::string MemoryText(uint64_t address, std::span<const uint8_t> bytes, const MemoryForm &form);

} // namespace gentlctl
