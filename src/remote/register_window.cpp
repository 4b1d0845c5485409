#include "remote/register_window.h"

#include "utils/checks.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace GenTL::internal
{

namespace
{

constexpr uint64_t firstBase = 0x7151'0000'0000'0000;
constexpr uint64_t baseDistance = uint64_t{1} << 40U;
constexpr uint64_t baseCount = ((uint64_t{1} << 63U) - firstBase) / baseDistance;

/// The windows, by number, that a range of addresses touches: first and one behind the last.
struct Windows
{
    uint64_t first = 0;
    uint64_t end = 0;
};

Windows WindowsTouchedBy(const AddressRange &range)
{
    if (range.length == 0)
    {
        return {};
    }
    // A range that would wrap around ends at the last address.
    const uint64_t last = range.address + std::min(range.length - 1, ~range.address);
    const auto isBehindWindow = [](uint64_t address)
    { return (address - firstBase) % baseDistance >= RegisterWindow::size; };
    if (last < firstBase)
    {
        return {};
    }
    const uint64_t first = std::max(range.address, firstBase);
    return {(first - firstBase) / baseDistance + (isBehindWindow(first) ? 1U : 0U),
            (last - firstBase) / baseDistance + 1};
}

GenTLException NoRegisters(uint64_t address, size_t length)
{
    return {fmt::format("The {} bytes at 0x{:X} are no whole registers", length, address),
            GC_ERR_INVALID_ADDRESS};
}

} // namespace

std::optional<uint64_t> RegisterWindow::FreeBase(std::span<const AddressRange> taken)
{
    std::vector<Windows> touched;
    for (const auto &range : taken)
    {
        if (const auto windows = WindowsTouchedBy(range); windows.first < windows.end)
        {
            touched.push_back(windows);
        }
    }
    std::ranges::sort(touched, {}, &Windows::first);
    uint64_t window = 0;
    for (const auto &windows : touched)
    {
        if (windows.first > window)
        {
            break;
        }
        window = std::max(window, windows.end);
    }
    return window < baseCount ? std::optional(firstBase + window * baseDistance) : std::nullopt;
}

uint64_t RegisterWindow::RegistersOffset(uint64_t documentSize)
{
    return (documentSize + registersAlignment - 1) / registersAlignment * registersAlignment;
}

RegisterWindow::RegisterWindow(uint64_t base, std::string document)
    : m_base(base), m_document(std::move(document)), m_end(RegistersOffset(m_document.size()))
{
}

void RegisterWindow::Add(Register entry)
{
    const auto length = entry.length;
    m_registers.push_back({m_end, std::move(entry)});
    m_end += length;
}

bool RegisterWindow::IsTouchedBy(uint64_t address, size_t length) const
{
    return length != 0 && (address >= m_base ? address - m_base < size : m_base - address < length);
}

bool RegisterWindow::IsInDocument(uint64_t address, size_t length) const
{
    return address >= m_base && utils::RangeFits(address - m_base, length, m_document.size());
}

std::span<const RegisterWindow::Placed> RegisterWindow::RegistersIn(uint64_t address, size_t length) const
{
    const uint64_t offset = address - m_base;
    const auto first = std::ranges::find(m_registers, offset, &Placed::offset);
    auto behind = first;
    size_t covered = 0;
    while (behind != m_registers.end() && covered < length)
    {
        covered += behind->entry.length;
        ++behind;
    }
    if (covered != length || first == behind)
    {
        throw NoRegisters(address, length);
    }
    return {first, behind};
}

void RegisterWindow::Read(uint64_t address, std::span<uint8_t> bytes) const
{
    if (IsInDocument(address, bytes.size()))
    {
        std::memcpy(bytes.data(), m_document.data() + (address - m_base), bytes.size());
        return;
    }
    size_t done = 0;
    for (const auto &[offset, entry] : RegistersIn(address, bytes.size()))
    {
        entry.read(bytes.subspan(done, entry.length));
        done += entry.length;
    }
}

void RegisterWindow::Write(uint64_t address, std::span<const uint8_t> bytes) const
{
    if (IsInDocument(address, bytes.size()))
    {
        throw GenTLException("The description is read-only", GC_ERR_ACCESS_DENIED);
    }
    const auto registers = RegistersIn(address, bytes.size());
    const auto readOnly =
        std::ranges::find_if(registers, [](const Placed &placed) { return !placed.entry.write; });
    if (readOnly != registers.end())
    {
        throw GenTLException(fmt::format("{} is read-only", readOnly->entry.name), GC_ERR_ACCESS_DENIED);
    }
    size_t done = 0;
    for (const auto &[offset, entry] : registers)
    {
        entry.write(bytes.subspan(done, entry.length));
        done += entry.length;
    }
}

} // namespace GenTL::internal
