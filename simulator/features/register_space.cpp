#include "simulator/features/register_space.h"

#include "simulator/error.h"

#include <algorithm>
#include <cstring>

namespace GenTL::simulator
{

void RegisterSpace::Add(Register added)
{
    const uint64_t address = added.address;
    m_registers.emplace(address, std::move(added));
}

std::vector<RegisterSpace::Piece> RegisterSpace::Cover(uint64_t address, size_t size, Access denied)
{
    std::vector<Piece> pieces;
    size_t done = 0;
    while (done < size)
    {
        const uint64_t at = address + done;
        const auto next = m_registers.upper_bound(at);
        const bool wrapped = at < address;
        auto *const found = wrapped || next == m_registers.begin() ? nullptr : &std::prev(next)->second;
        const uint64_t offset = found == nullptr ? 0 : at - found->address;
        if (found == nullptr || offset >= found->value->size())
        {
            throw Error(GC_ERR_INVALID_ADDRESS, "No register at address {}", at);
        }
        if (found->access == denied)
        {
            throw Error(GC_ERR_ACCESS_DENIED, "Access to the register at address {} is denied",
                        found->address);
        }
        const size_t count = std::min<size_t>(size - done, found->value->size() - offset);
        pieces.push_back({found, static_cast<size_t>(offset), done, count});
        done += count;
    }
    return pieces;
}

void RegisterSpace::Read(uint64_t address, std::span<uint8_t> out)
{
    for (const auto &piece : Cover(address, out.size(), Access::WriteOnly))
    {
        if (piece.target->refresh)
        {
            piece.target->refresh();
        }
        std::memcpy(out.data() + piece.inRequest, piece.target->value->data() + piece.inRegister,
                    piece.count);
    }
}

void RegisterSpace::Write(uint64_t address, std::span<const uint8_t> in)
{
    for (const auto &piece : Cover(address, in.size(), Access::ReadOnly))
    {
        if (piece.target->refresh)
        {
            piece.target->refresh();
        }
        std::vector<uint8_t> value = *piece.target->value;
        std::memcpy(value.data() + piece.inRegister, in.data() + piece.inRequest, piece.count);
        if (piece.target->check)
        {
            piece.target->check(value);
        }
        *piece.target->value = std::move(value);
        if (piece.target->written)
        {
            piece.target->written();
        }
    }
}

} // namespace GenTL::simulator
