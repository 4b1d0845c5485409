#include "simulator/sources/scene_source.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace GenTL::simulator
{

namespace
{

using Brightness = uint32_t;

/// Rows of 5 bits, the left pixel in the highest bit.
using Glyph = std::array<uint8_t, 7>;

constexpr std::array<Glyph, 10> digitGlyphs = {{
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E},
    {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F},
    {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02},
    {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E},
    {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E},
    {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},
}};
constexpr Glyph glyphA = {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11};
constexpr Glyph glyphB = {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E};
constexpr Glyph glyphF = {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10};
constexpr Glyph glyphR = {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11};

constexpr uint32_t glyphWidth = 5;
constexpr uint32_t glyphHeight = 7;
constexpr uint32_t numberMargin = 8;
constexpr uint32_t numberDigits = 8;

bool GlyphHas(const Glyph &glyph, uint32_t x, uint32_t y)
{
    return ((glyph[y] >> (glyphWidth - 1 - x)) & 1) != 0;
}

/// Pixels of a dot of a glyph: the number takes a good third of the image's width.
uint32_t NumberScale(const ImageSettings &settings)
{
    return std::clamp(settings.width / 128, 1U, 12U);
}

/// The share of each colour in the light of the disc, which is orange.
double DiscColour(Colour colour)
{
    return colour == Colour::Blue ? 0.125 : colour == Colour::Green ? 0.5 : 1.0;
}

/// The chart for one size of sensor.
class Chart
{
public:
    Chart(uint32_t width, uint32_t height) : m_width(width), m_height(height), m_unit(height / 64 + 1) {}

    Brightness At(uint32_t x, uint32_t y, Colour colour) const
    {
        if (OnBorder(x, y) || OnCircle(x, y))
        {
            return white;
        }
        if (InCornerLetter(x, y))
        {
            return white * 9 / 10;
        }
        if (x % 128 == 0 || y % 128 == 0)
        {
            return white / 2;
        }
        return y < m_height / 2 && !HasBarColour(x, colour) ? Ramp(x, y) / 4 : Ramp(x, y);
    }

private:
    bool OnBorder(uint32_t x, uint32_t y) const
    {
        constexpr uint32_t thickness = 4;
        return x < thickness || y < thickness || x >= m_width - thickness || y >= m_height - thickness;
    }

    /// The seven bars of the upper half, from left to right: white, yellow, cyan, green, magenta, red, blue.
    bool HasBarColour(uint32_t x, Colour colour) const
    {
        constexpr uint32_t bars = 7;
        constexpr std::array<uint8_t, bars> bitsRedGreenBlue = {7, 6, 3, 2, 5, 4, 1};
        const uint8_t bits = bitsRedGreenBlue[std::min(bars - 1, x * bars / m_width)];
        switch (colour)
        {
        case Colour::Red:
            return (bits & 4) != 0;
        case Colour::Green:
            return (bits & 2) != 0;
        case Colour::Blue:
            return (bits & 1) != 0;
        case Colour::Grey:
            break;
        }
        return true;
    }

    bool OnCircle(uint32_t x, uint32_t y) const
    {
        const double dx = x - (m_width - 1) / 2.0;
        const double dy = y - (m_height - 1) / 2.0;
        const double distance = std::sqrt(dx * dx + dy * dy); // std::hypot is several times slower
        const double outer = m_height * 0.4;
        return std::abs(distance - outer) < 2.0 || std::abs(distance - outer / 2) < 2.0;
    }

    /// The letters in the corners: F upper left, A upper right, B lower left, R lower right.
    bool InCornerLetter(uint32_t x, uint32_t y) const
    {
        const uint32_t margin = 4 * m_unit;
        const uint32_t w = glyphWidth * m_unit;
        const uint32_t h = glyphHeight * m_unit;
        const bool left = x < m_width / 2;
        const bool top = y < m_height / 2;
        const uint32_t originX = left ? margin : m_width - margin - w;
        const uint32_t originY = top ? margin : m_height - margin - h;
        if (x < originX || y < originY || x >= originX + w || y >= originY + h)
        {
            return false;
        }
        const auto &glyph = top ? (left ? glyphF : glyphA) : (left ? glyphB : glyphR);
        return GlyphHas(glyph, (x - originX) / m_unit, (y - originY) / m_unit);
    }

    /// Upper half: one ramp, from left to right. Lower half: three bands, which rise from pixel to pixel by
    /// one step of 8, 10 or 12 bits. A format with fewer bits shows stairs there.
    Brightness Ramp(uint32_t x, uint32_t y) const
    {
        if (y < m_height / 2)
        {
            return static_cast<Brightness>(uint64_t{x} * white / (m_width - 1)) * 3 / 4 + white / 16;
        }
        const uint32_t band = (y - m_height / 2) / std::max(1U, m_height / 6);
        const unsigned shift = band == 0 ? 8 : band == 1 ? 6 : 4;
        return (x << shift) & white;
    }

    uint32_t m_width;
    uint32_t m_height;
    uint32_t m_unit;
};

} // namespace

void SceneSource::Prepare(const ImageSettings &settings)
{
    m_settings = settings;
    m_samples.resize(settings.Samples());
    RenderChart();
    m_packed.resize(settings.Bytes());
    settings.format->pack(m_samples, m_packed.data());
}

void SceneSource::RenderChart()
{
    const auto &s = m_settings;
    const Chart chart(s.sensorWidth, s.sensorHeight);
    const auto lightAt = [&](uint32_t x, uint32_t y, Colour colour) {
        return chart.At(s.reverseX ? s.sensorWidth - 1 - x : x, s.reverseY ? s.sensorHeight - 1 - y : y,
                        colour);
    };
    uint16_t *out = m_samples.data();
    for (uint32_t row = 0; row < s.height; ++row)
    {
        const uint32_t y = (s.offsetY + row) * s.stepY;
        for (uint32_t i = 0; i < s.width * s.format->components; ++i)
        {
            const uint32_t column = i / s.format->components;
            const Colour colour = s.format->ColourAt(column, row, i % s.format->components);
            const uint32_t x = (s.offsetX + column) * s.stepX;
            uint64_t sum = 0;
            for (uint32_t j = 0; j < s.binningX * s.binningY; ++j)
            {
                sum += lightAt(x + j % s.binningX, y + j / s.binningX, colour);
            }
            *out++ = s.SampleOf(static_cast<double>(sum) / (s.binningX * s.binningY), column, row);
        }
    }
}

void SceneSource::DrawDisc(uint64_t number, std::vector<uint16_t> &rows, uint32_t firstRow,
                           uint32_t count) const
{
    const auto &s = m_settings;
    const int64_t radius = s.sensorHeight / 12;
    const int64_t travel = int64_t{s.sensorWidth} + 2 * radius;
    const int64_t sensorX = static_cast<int64_t>(number * 8 % static_cast<uint64_t>(travel)) - radius;
    const int64_t centreX = s.reverseX ? int64_t{s.sensorWidth} - sensorX : sensorX;
    const int64_t centreY = s.sensorHeight / 2;
    for (uint32_t row = 0; row < count; ++row)
    {
        const int64_t dy = int64_t{s.offsetY + firstRow + row} * s.stepY - centreY;
        if (std::abs(dy) > radius)
        {
            continue;
        }
        const auto half = static_cast<int64_t>(std::sqrt(double(radius * radius - dy * dy)));
        const auto toColumn = [&](int64_t x)
        { return static_cast<uint32_t>(std::clamp<int64_t>(x / s.stepX - s.offsetX, 0, s.width)); };
        for (uint32_t column = toColumn(centreX - half); column < toColumn(centreX + half); ++column)
        {
            DrawPixel(rows, firstRow, column, firstRow + row, DiscColour);
        }
    }
}

void SceneSource::DrawPixel(std::vector<uint16_t> &rows, uint32_t firstRow, uint32_t column, uint32_t row,
                            double (*partOf)(Colour colour)) const
{
    const auto &s = m_settings;
    const unsigned components = s.format->components;
    const size_t first = (size_t{row - firstRow} * s.width + column) * components;
    for (unsigned i = 0; i < components; ++i)
    {
        rows[first + i] = s.SampleOf(white * partOf(s.format->ColourAt(column, row, i)), column, row);
    }
}

void SceneSource::DrawNumber(const std::string &digits, std::vector<uint16_t> &rows, uint32_t firstRow,
                             uint32_t count) const
{
    const uint32_t scale = NumberScale(m_settings);
    const uint32_t boxWidth = (glyphWidth + 1) * scale * static_cast<uint32_t>(digits.size());
    for (uint32_t row = firstRow; row < firstRow + count; ++row)
    {
        if (row < numberMargin || row >= numberMargin + glyphHeight * scale)
        {
            continue;
        }
        const uint32_t y = (row - numberMargin) / scale;
        for (uint32_t i = 0; i < boxWidth && numberMargin + i < m_settings.width; ++i)
        {
            const uint32_t x = i / scale % (glyphWidth + 1);
            const auto digit = static_cast<size_t>(digits[i / scale / (glyphWidth + 1)] - '0');
            const bool lit = x < glyphWidth && GlyphHas(digitGlyphs[digit], x, y);
            DrawPixel(
                rows, firstRow, numberMargin + i, row,
                lit ? [](Colour) { return 1.0; } : [](Colour) { return 0.0; });
        }
    }
}

void SceneSource::PatchRows(uint64_t number, uint32_t firstRow, uint32_t endRow, std::span<uint8_t> image)
{
    // A row can begin in the middle of a byte. A band of eight rows never does, whatever its width.
    firstRow -= firstRow % pixelsPerGroup;
    endRow = std::min<uint32_t>(m_settings.height,
                                (endRow + pixelsPerGroup - 1) / pixelsPerGroup * pixelsPerGroup);
    if (firstRow >= endRow)
    {
        return;
    }
    const size_t first = size_t{firstRow} * m_settings.width;
    const size_t count = size_t{endRow - firstRow} * m_settings.width;
    const unsigned components = m_settings.format->components;
    std::vector<uint16_t> rows(m_samples.begin() + static_cast<ptrdiff_t>(first * components),
                               m_samples.begin() + static_cast<ptrdiff_t>((first + count) * components));
    const auto digits = fmt::format("{:0{}}", number % 100000000, numberDigits);
    DrawDisc(number, rows, firstRow, endRow - firstRow);
    DrawNumber(digits, rows, firstRow, endRow - firstRow);
    m_settings.format->pack(rows, image.data() + m_settings.format->SizeOf(first));
}

void SceneSource::Render(uint64_t number, std::span<uint8_t> image)
{
    std::memcpy(image.data(), m_packed.data(), image.size());
    const auto &s = m_settings;
    const int64_t radius = s.sensorHeight / 12;
    const auto toRow = [&](int64_t y)
    { return static_cast<uint32_t>(std::clamp<int64_t>(y / s.stepY - s.offsetY, 0, s.height)); };
    const uint32_t discFirst = toRow(s.sensorHeight / 2 - radius);
    const uint32_t discEnd = toRow(s.sensorHeight / 2 + radius + s.stepY);
    const uint32_t numberEnd = std::min(s.height, numberMargin + glyphHeight * NumberScale(s));
    PatchRows(number, 0, numberEnd, image);
    PatchRows(number, discFirst, discEnd, image);
}

} // namespace GenTL::simulator
