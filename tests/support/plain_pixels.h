#pragma once

#include <algorithm>
#include <cstdint>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{

/// A pixel format as its name describes it.
struct PlainFormat
{
    std::string base;    // "Mono", "BayerRG", "RGB"
    unsigned bits = 0;   // of a sample
    std::string packing; // "p", "p32", "g40QVR", "g24QVR"; empty for whole bytes
    std::string images;  // "I_A_B", "I_AB_CD", "AB", "ABCD"; empty for one image

    bool IsPacked() const { return !packing.empty(); }
    bool IsInterleaved() const { return images.starts_with("I_"); }
    size_t Components() const { return base == "RGB" || base == "BGR" ? 3 : 1; }

    std::string UnpackedName() const
    {
        const std::string ending = images == "I_A_B" ? "_AB" : images == "I_AB_CD" ? "_ABCD" : "";
        return base + std::to_string(bits) + ending;
    }
};

inline PlainFormat FormatByName(const std::string &name)
{
    static const std::regex pattern(
        "([A-Za-z]+)(8|10|12)(p32|p|g40QVR|g24QVR)?(?:_(I_A_B|I_AB_CD|AB|ABCD))?");
    std::smatch parts;
    if (!std::regex_match(name, parts, pattern))
    {
        throw std::invalid_argument("No pixel format " + name);
    }
    return {parts[1], static_cast<unsigned>(std::stoul(parts[2])), parts[3], parts[4]};
}

/// Reads an image bit by bit according to docs/pixel-layouts.md, without the code under test.
class PlainImage
{
public:
    /// @param bytes begin with the image
    PlainImage(PlainFormat format, size_t width, size_t height, std::vector<uint8_t> bytes)
        : m_format(std::move(format)), m_width(width), m_height(height), m_bytes(std::move(bytes))
    {
        m_bytes.resize(Size());
    }

    const std::vector<uint8_t> &Bytes() const { return m_bytes; }

    /// A sample as a number; `index` counts the samples of all components.
    unsigned Sample(size_t index) const
    {
        if (m_format.packing.empty())
        {
            return m_format.bits > 8 ? Bits(index * 16, 16) : Bits(index * 8, 8);
        }
        if (m_format.packing == "p")
        {
            return Bits(index * m_format.bits, m_format.bits);
        }
        if (m_format.packing == "p32")
        {
            return Bits(index / 3 * 32 + index % 3 * 10, 10);
        }
        const size_t perGroup = m_format.packing == "g40QVR" ? 4 : 2;
        const size_t lowBits = 8 / perGroup;
        const size_t group = index / perGroup * (perGroup + 1);
        const size_t inGroup = index % perGroup;
        // An incomplete last group has fewer upper bytes before its byte of low bits.
        const size_t low = std::min(group + perGroup, m_bytes.size() - 1);
        return Bits((group + inGroup) * 8, 8) << lowBits | Bits(low * 8 + inGroup * lowBits, lowBits);
    }

    /// The image in whole samples. A pixel of an interleaved image holds the samples of all sub-images.
    std::vector<uint8_t> Unpacked() const
    {
        std::vector<uint8_t> result;
        const auto append = [&](size_t x, size_t y, size_t component)
        {
            const unsigned sample = Sample((std::min(y, m_height - 1) * m_width + std::min(x, m_width - 1)) *
                                               m_format.Components() +
                                           component);
            result.push_back(static_cast<uint8_t>(sample));
            if (m_format.bits > 8)
            {
                result.push_back(static_cast<uint8_t>(sample >> 8));
            }
        };
        for (size_t y = 0; y < m_height; ++y)
        {
            for (size_t x = 0; x < m_width; ++x)
            {
                const size_t evenX = x / 2 * 2;
                const size_t evenY = y / 2 * 2;
                if (m_format.images == "I_A_B")
                {
                    append(x, evenY, 0);
                    append(x, evenY + 1, 0);
                }
                else if (m_format.images == "I_AB_CD")
                {
                    append(evenX, evenY, 0);
                    append(evenX + 1, evenY, 0);
                    append(evenX, evenY + 1, 0);
                    append(evenX + 1, evenY + 1, 0);
                }
                else
                {
                    for (size_t component = 0; component < m_format.Components(); ++component)
                    {
                        append(x, y, component);
                    }
                }
            }
        }
        return result;
    }

private:
    /// Bytes of the image; the last byte may be padded.
    size_t Size() const
    {
        const size_t samples = m_width * m_height * m_format.Components();
        if (m_format.packing.empty())
        {
            return samples * (m_format.bits > 8 ? 2 : 1);
        }
        return m_format.packing == "p32" ? samples / 3 * 4 : (samples * m_format.bits + 7) / 8;
    }

    unsigned Bits(size_t first, size_t count) const
    {
        unsigned value = 0;
        for (size_t i = 0; i < count; ++i)
        {
            value |= (m_bytes.at((first + i) / 8) >> ((first + i) % 8) & 1U) << i;
        }
        return value;
    }

    PlainFormat m_format;
    size_t m_width;
    size_t m_height;
    std::vector<uint8_t> m_bytes;
};

} // namespace GenTL::internal
