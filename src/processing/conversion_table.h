#pragma once

#include "common/format_table.h"

#include <vector>

namespace GenTL::internal
{

/// A conversion between two pixel formats, which are rows of a constant table.
struct FormatConversion
{
    const tarn::common::FormatInfo *input = nullptr;
    const tarn::common::FormatInfo *output = nullptr;

    friend bool operator==(const FormatConversion &, const FormatConversion &) = default;
};

/// The conversions of pixel formats that a consumer is offered: each format to its unpacked form, as far as
/// the vision library can make it.
///
/// Constant after it is made, so any thread may read it.
class ConversionTable
{
public:
    using PixelFormat = tarn::common::PixelFormat;
    using FormatInfo = tarn::common::FormatInfo;

    /// Offers nothing.
    ConversionTable() = default;
    /// @param conversions of rows that outlive the table
    explicit ConversionTable(std::vector<FormatConversion> conversions);

    /// Converts a tiny image of each format that has an unpacked form. What the vision library refuses, or
    /// fails to do, is not offered; without a vision library, nothing is.
    static ConversionTable Probe(const tarn::common::FormatTable &formats);
    /// The table for wideFormats, which the first call makes. Later calls return the same, even when a vision
    /// library could be loaded only then.
    static const ConversionTable &Instance();

    bool IsEmpty() const { return m_conversions.empty(); }
    /// The conversion of this pair; null when it is not offered.
    const FormatConversion *Find(PixelFormat input, PixelFormat output) const;
    /// The formats that can be made from a format, without that format itself.
    std::vector<const FormatInfo *> OutputsOf(PixelFormat input) const;
    /// The formats that a format can be made from: by bits per pixel, the fewest first, then by code.
    std::vector<const FormatInfo *> InputsFor(PixelFormat output) const;

private:
    std::vector<FormatConversion> m_conversions; ///< ordered by bits and code of the input
};

} // namespace GenTL::internal
