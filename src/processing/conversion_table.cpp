#include "processing/conversion_table.h"

#include "utils/log.h"
#include "vision/dynamic.h"
#include "vision/image.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <tuple>
#include <utility>

namespace GenTL::internal
{

using tarn::common::FormatTable;
using tarn::common::GetSizeInBytes;

namespace
{

/// Even in both directions, for formats whose pixels or lines share samples.
constexpr tarn::common::Size tinySize{8, 4};

bool HasVisionLibrary()
{
    try
    {
        tarn::cvl::dynamic::Binding::Instance();
        return true;
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_DEBUG("No conversions are offered: {}", exception.what());
        return false;
    }
}

bool IsPossible(const FormatConversion &conversion)
{
    const auto &[input, output] = conversion;
    std::vector<uint8_t> source(GetSizeInBytes(*input, tinySize));
    std::vector<uint8_t> target(GetSizeInBytes(*output, tinySize));
    try
    {
        const tarn::cvl::Image image(input->format, tinySize, source.data(), source.size());
        image.ConvertTo(output->format, target.data(), target.size());
        return true;
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_DEBUG("{} to {} is not offered: {}", input->name, output->name, exception.what());
        return false;
    }
}

} // namespace

ConversionTable::ConversionTable(std::vector<FormatConversion> conversions)
    : m_conversions(std::move(conversions))
{
    std::ranges::sort(m_conversions, {},
                      [](const FormatConversion &conversion)
                      { return std::tuple(conversion.input->bits, conversion.input->format); });
}

ConversionTable ConversionTable::Probe(const FormatTable &formats)
{
    if (!HasVisionLibrary())
    {
        return {};
    }
    std::vector<FormatConversion> conversions;
    for (const auto &row : formats.Formats())
    {
        const FormatConversion conversion{&row, formats.Find(row.unpacked)};
        if (row.unpacked != row.format && IsPossible(conversion))
        {
            conversions.push_back(conversion);
        }
    }
    return ConversionTable(std::move(conversions));
}

const ConversionTable &ConversionTable::Instance()
{
    static const auto table = Probe(tarn::common::wideFormats);
    return table;
}

const FormatConversion *ConversionTable::Find(PixelFormat input, PixelFormat output) const
{
    const auto found = std::ranges::find_if(
        m_conversions, [&](const FormatConversion &conversion)
        { return conversion.input->format == input && conversion.output->format == output; });
    return found != m_conversions.end() ? &*found : nullptr;
}

std::vector<const ConversionTable::FormatInfo *> ConversionTable::OutputsOf(PixelFormat input) const
{
    std::vector<const FormatInfo *> outputs;
    for (const auto &conversion : m_conversions)
    {
        if (conversion.input->format == input)
        {
            outputs.push_back(conversion.output);
        }
    }
    return outputs;
}

std::vector<const ConversionTable::FormatInfo *> ConversionTable::InputsFor(PixelFormat output) const
{
    std::vector<const FormatInfo *> inputs;
    for (const auto &conversion : m_conversions)
    {
        if (conversion.output->format == output)
        {
            inputs.push_back(conversion.input);
        }
    }
    return inputs;
}

} // namespace GenTL::internal
