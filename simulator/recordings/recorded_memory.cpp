#include "simulator/recordings/recorded_memory.h"

#include "simulator/error.h"

#include <algorithm>
#include <cstring>

namespace GenTL::simulator
{

namespace
{

using Memory = std::vector<recording::Memory>;

std::string KeyOf(const Memory &selectors)
{
    std::string key;
    for (const auto &selector : selectors)
    {
        key += selector.bytes;
    }
    return key;
}

bool SamePlaces(const Memory &one, const Memory &other)
{
    return std::ranges::equal(one, other,
                              [](const auto &a, const auto &b)
                              { return a.address == b.address && a.bytes.size() == b.bytes.size(); });
}

} // namespace

RecordedMemory::RecordedMemory(const recording::Registers &registers)
{
    for (const auto &selection : registers.selections)
    {
        Add(selection.selectors);
        Add(selection.values);
        AddBank(selection);
    }
    Add(registers.memory);
    for (auto &bank : m_banks)
    {
        Load(bank.selectors);
    }
}

void RecordedMemory::AddBank(const recording::Selection &selection)
{
    const auto found = std::ranges::find_if(m_banks, [&](const Bank &bank)
                                            { return SamePlaces(bank.selectors, selection.selectors); });
    auto &bank = found == m_banks.end() ? m_banks.emplace_back(Bank{selection.selectors, {}}) : *found;
    bank.values[KeyOf(selection.selectors)] = selection.values;
}

void RecordedMemory::Add(const Memory &memory)
{
    Cover(memory);
    for (const auto &block : memory)
    {
        Store(block);
    }
}

/// Makes sure that segments cover the memory.
void RecordedMemory::Cover(const Memory &memory)
{
    for (const auto &[address, bytes] : memory)
    {
        if (bytes.size() > UINT64_MAX - address)
        {
            throw Error(GC_ERR_IO, "A recorded register at address {} reaches beyond the last address",
                        address);
        }
        auto begin = address;
        auto end = address + bytes.size();
        // All segments that the block meets become one.
        auto next = m_segments.upper_bound(address);
        auto segment = next;
        if (next != m_segments.begin() && std::prev(next)->first + std::prev(next)->second.size() >= address)
        {
            segment = std::prev(next);
        }
        std::vector<recording::Memory> met;
        while (segment != m_segments.end() && segment->first <= end)
        {
            begin = std::min(begin, segment->first);
            end = std::max(end, segment->first + segment->second.size());
            met.push_back({segment->first, std::string(segment->second.begin(), segment->second.end())});
            segment = m_segments.erase(segment);
        }
        m_segments[begin].resize(end - begin);
        for (const auto &piece : met)
        {
            Store(piece);
        }
    }
}

/// Where `size` bytes from `address` on lie; null when one of them was not recorded.
const std::vector<uint8_t> *RecordedMemory::SegmentAt(uint64_t address, size_t size, size_t &offset) const
{
    const auto next = m_segments.upper_bound(address);
    if (next == m_segments.begin())
    {
        return nullptr;
    }
    const auto &[begin, bytes] = *std::prev(next);
    offset = address - begin;
    return offset <= bytes.size() && size <= bytes.size() - offset ? &bytes : nullptr;
}

void RecordedMemory::Store(const recording::Memory &memory)
{
    size_t offset = 0;
    if (SegmentAt(memory.address, memory.bytes.size(), offset) != nullptr)
    {
        auto &segment = m_segments.at(memory.address - offset);
        std::memcpy(segment.data() + offset, memory.bytes.data(), memory.bytes.size());
    }
}

/// Replaces the bytes by the present ones.
void RecordedMemory::Load(Memory &memory) const
{
    for (auto &block : memory)
    {
        size_t offset = 0;
        if (const auto *const segment = SegmentAt(block.address, block.bytes.size(), offset))
        {
            std::memcpy(block.bytes.data(), segment->data() + offset, block.bytes.size());
        }
    }
}

void RecordedMemory::Read(uint64_t address, std::span<uint8_t> out) const
{
    size_t offset = 0;
    const auto *const segment = SegmentAt(address, out.size(), offset);
    if (segment == nullptr)
    {
        throw Error(GC_ERR_INVALID_ADDRESS, "The {} bytes at address {:#x} were not recorded", out.size(),
                    address);
    }
    std::memcpy(out.data(), segment->data() + offset, out.size());
}

void RecordedMemory::Write(uint64_t address, std::span<const uint8_t> in)
{
    std::vector<uint8_t> before(in.size());
    Read(address, before);
    Store({address, std::string(in.begin(), in.end())});
    // The values that a selection brings in may contain another selector.
    bool changed = true;
    for (size_t round = 0; changed && round <= m_banks.size(); ++round)
    {
        changed = false;
        for (auto &bank : m_banks)
        {
            changed = Reselect(bank) || changed;
        }
    }
}

/// Keeps the values of the former selection and brings in those of the present one. Returns whether they
/// differ.
bool RecordedMemory::Reselect(Bank &bank)
{
    const auto before = KeyOf(bank.selectors);
    Load(bank.selectors);
    const auto now = KeyOf(bank.selectors);
    if (now == before)
    {
        return false;
    }
    if (const auto former = bank.values.find(before); former != bank.values.end())
    {
        Load(former->second);
    }
    if (const auto present = bank.values.find(now); present != bank.values.end())
    {
        for (const auto &value : present->second)
        {
            Store(value);
        }
    }
    return true;
}

} // namespace GenTL::simulator
