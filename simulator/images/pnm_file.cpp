// PGM and PPM, as text or in binary.

#include "simulator/images/picture.h"

#include <algorithm>
#include <charconv>

namespace GenTL::simulator
{

namespace
{

constexpr bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

class PnmReader
{
public:
    explicit PnmReader(Bytes file)
        : m_at(reinterpret_cast<const char *>(file.data())), m_end(m_at + file.size())
    {
    }

    Picture Read()
    {
        const char kind = m_at[1];
        m_at += 2;
        m_isText = kind == '2' || kind == '3';
        const bool isColour = kind == '3' || kind == '6';
        Picture picture;
        const unsigned width = Number();
        picture.Resize(width, Number());
        const unsigned white = Number();
        if (white == 0 || white > 65535 || m_at == m_end)
        {
            throw NoPicture();
        }
        picture.white = static_cast<uint16_t>(white);
        picture.canBeDepth = !isColour && white > 255;
        m_sampleBytes = white > 255 ? 2 : 1;
        ++m_at; // the one space before the samples
        for (uint16_t &value : picture.values)
        {
            const uint16_t first = Sample();
            if (!isColour)
            {
                value = first;
                continue;
            }
            const uint16_t green = Sample();
            value = GreyOf(first, green, Sample());
        }
        return picture;
    }

private:
    unsigned Number()
    {
        for (; m_at != m_end && (IsSpace(*m_at) || *m_at == '#'); ++m_at)
        {
            if (*m_at == '#')
            {
                m_at = std::find(m_at, m_end - 1, '\n');
            }
        }
        unsigned value = 0;
        const auto [end, error] = std::from_chars(m_at, m_end, value);
        if (error != std::errc())
        {
            throw NoPicture();
        }
        m_at = end;
        return value;
    }

    uint16_t Sample()
    {
        if (m_isText)
        {
            return static_cast<uint16_t>(std::min(Number(), 65535U));
        }
        if (m_end - m_at < m_sampleBytes)
        {
            throw NoPicture();
        }
        unsigned value = 0;
        for (int i = 0; i < m_sampleBytes; ++i)
        {
            value = value << 8 | static_cast<uint8_t>(*m_at++);
        }
        return static_cast<uint16_t>(value);
    }

    const char *m_at;
    const char *m_end;
    bool m_isText = false;
    int m_sampleBytes = 1;
};

} // namespace

Picture ReadPnm(Bytes file)
{
    return PnmReader(file).Read();
}

} // namespace GenTL::simulator
