#pragma once

#include "recording/device_record.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace GenTL::simulator
{

/// The registers of a recorded camera as memory. What was recorded for the values of selectors comes and goes
/// with them; what is written while a selection is current belongs to it. No lock: the owner serialises the
/// calls.
class RecordedMemory
{
public:
    explicit RecordedMemory(const recording::Registers &registers);

    /// Adds memory, which replaces what was recorded at the same addresses.
    /// @throws Error GC_ERR_IO: it reaches beyond the last address.
    void Add(const std::vector<recording::Memory> &memory);

    /// @throws Error GC_ERR_INVALID_ADDRESS: a byte of the request was not recorded.
    void Read(uint64_t address, std::span<uint8_t> out) const;
    /// Throws as Read.
    void Write(uint64_t address, std::span<const uint8_t> in);

private:
    /// The selections by one set of selectors.
    struct Bank
    {
        std::vector<recording::Memory> selectors;                     ///< with the bytes that are current
        std::map<std::string, std::vector<recording::Memory>> values; ///< by the bytes of all selectors
    };

    const std::vector<uint8_t> *SegmentAt(uint64_t address, size_t size, size_t &offset) const;
    void Cover(const std::vector<recording::Memory> &memory);
    void Store(const recording::Memory &memory);
    void Load(std::vector<recording::Memory> &memory) const;
    void AddBank(const recording::Selection &selection);
    bool Reselect(Bank &bank);

    std::map<uint64_t, std::vector<uint8_t>> m_segments; ///< by address; they do not touch each other
    std::vector<Bank> m_banks;
};

} // namespace GenTL::simulator
