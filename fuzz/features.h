#pragma once

#include "fuzz/try.h"
#include "genapi/graph_features.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// A device's features over any registers, and all that can be done with a feature.
namespace fuzz
{

using namespace GenTL::internal::genapi;

/// An input of the fuzzer: a document, and behind its terminating zero the content of registers.
struct DocumentAndRegisters
{
    std::span<const uint8_t> document;
    std::span<const uint8_t> registers;

    DocumentAndRegisters(const uint8_t *data, size_t size)
    {
        const auto *const end = std::find(data, data + size, uint8_t{0});
        document = {data, end};
        registers = {end, data + size};
    }
};

/// 256 registers of one byte, which repeat over all addresses.
class RepeatingRegisters final : public IRegisterPort
{
public:
    explicit RepeatingRegisters(std::span<const uint8_t> content)
    {
        std::copy_n(content.begin(), std::min(content.size(), m_bytes.size()), m_bytes.begin());
    }

    void Read(uint64_t address, void *data, size_t size) override
    {
        for (size_t i = 0; i < size; ++i)
        {
            static_cast<uint8_t *>(data)[i] = m_bytes[(address + i) % m_bytes.size()];
        }
    }
    void Write(uint64_t address, const void *data, size_t size) override
    {
        for (size_t i = 0; i < size; ++i)
        {
            m_bytes[(address + i) % m_bytes.size()] = static_cast<const uint8_t *>(data)[i];
        }
    }

private:
    std::array<uint8_t, 256> m_bytes{};
};

/// Performs every operation on a feature.
inline void Use(GraphFeatures &features, std::string_view name)
{
    features.AccessOf(name);
    Try([&] { features.ReadInteger(name); });
    Try([&] { features.ReadText(name); });
    Try([&] { features.WriteText(name, features.ReadText(name)); });
    Try([&] { features.WriteBytes(name, features.ReadBytes(name)); });
    Try([&] { features.WriteInteger(name, features.LimitsOf<int64_t>(name).max); });
    Try([&] { features.WriteFloat(name, features.LimitsOf<double>(name).min); });
    Try(
        [&]
        {
            for (const auto &entry : features.EntriesOf(name))
            {
                Try([&] { features.WriteInteger(name, entry.value); });
            }
        });
    Try([&] { features.Execute(name); });
    Try([&] { features.Literals().Set(name, features.ReadFloat(name)); });
}

} // namespace fuzz
