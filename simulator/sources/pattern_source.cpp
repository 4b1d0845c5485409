#include "simulator/sources/pattern_source.h"

#include <algorithm>
#include <cstring>

namespace GenTL::simulator
{

namespace
{

/// Value of a pixel along the axis that the pattern varies on; `shift` is the frame number.
using Profile = uint16_t (*)(uint64_t position, uint64_t length, uint64_t shift, uint16_t maximum);

uint16_t Black(uint64_t, uint64_t, uint64_t, uint16_t)
{
    return 0;
}

uint16_t White(uint64_t, uint64_t, uint64_t, uint16_t maximum)
{
    return maximum;
}

uint16_t Ramp(uint64_t position, uint64_t length, uint64_t, uint16_t maximum)
{
    return static_cast<uint16_t>(position * maximum / std::max<uint64_t>(1, length - 1));
}

uint16_t MovingRamp(uint64_t position, uint64_t length, uint64_t shift, uint16_t maximum)
{
    return Ramp((position + shift) % length, length, 0, maximum);
}

uint16_t MovingLine(uint64_t position, uint64_t length, uint64_t shift, uint16_t maximum)
{
    return position == shift % length ? maximum : uint16_t{0};
}

uint16_t Counter(uint64_t, uint64_t, uint64_t shift, uint16_t maximum)
{
    return static_cast<uint16_t>(shift & maximum);
}

struct Pattern
{
    EnumEntry entry;
    Profile profile;
    bool alongRow; ///< varies from left to right, else from top to bottom
    bool moves;
};

const Pattern patterns[] = {
    {{"Black", 1}, Black, true, false},
    {{"White", 2}, White, true, false},
    {{"GreyHorizontalRamp", 3}, Ramp, true, false},
    {{"GreyVerticalRamp", 4}, Ramp, false, false},
    {{"GreyHorizontalRampMoving", 5}, MovingRamp, true, true},
    {{"GreyVerticalRampMoving", 6}, MovingRamp, false, true},
    {{"HorizontalLineMoving", 7}, MovingLine, false, true},
    {{"VerticalLineMoving", 8}, MovingLine, true, true},
    {{"FrameCounter", 9}, Counter, true, true},
};

const Pattern &Find(int64_t value)
{
    return *std::ranges::find_if(patterns,
                                 [value](const Pattern &pattern) { return pattern.entry.value == value; });
}

} // namespace

std::vector<EnumEntry> TestPatterns()
{
    std::vector<EnumEntry> entries = {{"Off", 0}};
    for (const auto &pattern : patterns)
    {
        entries.push_back(pattern.entry);
    }
    return entries;
}

void PatternSource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
    m_moves = Find(settings.testPattern).moves;
    m_still.resize(m_moves ? 0 : settings.Bytes());
    if (!m_moves)
    {
        Draw(0, m_still);
    }
}

void PatternSource::Render(uint64_t number, std::span<uint8_t> image)
{
    if (m_moves)
    {
        Draw(number, image);
    }
    else
    {
        std::memcpy(image.data(), m_still.data(), image.size());
    }
}

void PatternSource::Draw(uint64_t number, std::span<uint8_t> image) const
{
    // A band of this many rows begins on a byte in every format.
    constexpr uint32_t bandRows = pixelsPerGroup;
    const auto &s = m_settings;
    const bool alongRow = Find(s.testPattern).alongRow;
    const size_t rowSamples = size_t{s.width} * s.format->components;
    std::vector<uint16_t> band(bandRows * rowSamples);
    for (uint32_t first = 0; first < s.height; first += bandRows)
    {
        const uint32_t rows = std::min(bandRows, s.height - first);
        const size_t offset = s.format->SizeOf(size_t{first} * s.width);
        if (alongRow && first > 0 && rows == bandRows)
        {
            std::memcpy(image.data() + offset, image.data(),
                        s.format->SizeOf(size_t{bandRows} * s.width)); // the same as the first band
            continue;
        }
        for (uint32_t row = 0; row < rows; ++row)
        {
            DrawRow(number, first + row, std::span(band).subspan(row * rowSamples, rowSamples));
        }
        s.format->pack(std::span(band).first(rows * rowSamples), image.data() + offset);
    }
}

void PatternSource::DrawRow(uint64_t number, uint32_t y, std::span<uint16_t> row) const
{
    const auto &pattern = Find(m_settings.testPattern);
    const uint16_t maximum = m_settings.format->MaximumSample();
    if (!pattern.alongRow)
    {
        std::ranges::fill(row, pattern.profile(y, m_settings.height, number, maximum));
        return;
    }
    const unsigned components = m_settings.format->components;
    for (size_t x = 0; x < row.size(); ++x)
    {
        row[x] = pattern.profile(x / components, m_settings.width, number, maximum);
    }
}

} // namespace GenTL::simulator
