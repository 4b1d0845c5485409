#include "simulator/features/raw_value.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace GenTL::simulator
{

int64_t DecodeInteger(const std::vector<uint8_t> &bytes, bool isSigned)
{
    uint64_t value = 0;
    std::memcpy(&value, bytes.data(), std::min<size_t>(bytes.size(), sizeof value));
    if (isSigned && bytes.size() == 4)
    {
        return static_cast<int32_t>(value);
    }
    return static_cast<int64_t>(value);
}

double DecodeFloat(const std::vector<uint8_t> &bytes)
{
    return std::bit_cast<float>(static_cast<uint32_t>(DecodeInteger(bytes)));
}

std::string DecodeText(const std::vector<uint8_t> &bytes)
{
    return {bytes.begin(), std::ranges::find(bytes, uint8_t{0})};
}

void EncodeInteger(std::vector<uint8_t> &bytes, int64_t value)
{
    std::ranges::fill(bytes, uint8_t{0});
    std::memcpy(bytes.data(), &value, std::min<size_t>(bytes.size(), sizeof value));
}

void EncodeFloat(std::vector<uint8_t> &bytes, double value)
{
    EncodeInteger(bytes, std::bit_cast<int32_t>(static_cast<float>(value)));
}

void EncodeText(std::vector<uint8_t> &bytes, const std::string &text)
{
    std::ranges::fill(bytes, uint8_t{0});
    std::ranges::copy_n(text.begin(), static_cast<ptrdiff_t>(std::min(text.size(), bytes.size() - 1)),
                        bytes.begin());
}

std::vector<uint8_t> DefaultBytes(const Feature &feature)
{
    std::vector<uint8_t> bytes(feature.length);
    if (const auto *const text = std::get_if<std::string>(&feature.defaultValue))
    {
        EncodeText(bytes, *text);
    }
    else if (const auto *const number = std::get_if<double>(&feature.defaultValue))
    {
        EncodeFloat(bytes, *number);
    }
    else
    {
        EncodeInteger(bytes, std::get<int64_t>(feature.defaultValue));
    }
    return bytes;
}

} // namespace GenTL::simulator
