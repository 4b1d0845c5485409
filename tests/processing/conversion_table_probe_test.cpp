#include "processing/conversion_table.h"
#include "support/vision_library.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;

TEST(ConversionTableProbe, OffersWhatASucceedingLibraryIsAskedFor)
{
    const VisionLibrary vision;
    const auto table = ConversionTable::Probe(tarn::common::familyFormats);
    EXPECT_EQ(std::ranges::count(vision->calls, "Image_ConvertPixelFormat"), 64);
    for (const auto &row : tarn::common::familyFormats.Formats())
    {
        EXPECT_EQ(table.OutputsOf(row.format).size(), row.unpacked != row.format ? 1U : 0U) << row.name;
    }
    EXPECT_EQ(vision->LiveObjects(), 0U);
}

TEST(ConversionTableProbe, LeavesOutWhatTheLibraryFailsToDo)
{
    const VisionLibrary vision;
    // The first format with an unpacked form is Mono10p.
    vision->failures["Image_ConvertPixelFormat"] = {TARN_CVL_NOT_SUPPORTED};
    const auto table = ConversionTable::Probe(tarn::common::familyFormats);
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Mono10p).empty());
    EXPECT_EQ(table.OutputsOf(PixelFormat::Mono12p).size(), 1U);
    EXPECT_EQ(vision->LiveObjects(), 0U);
}

TEST(ConversionTableProbe, LeavesOutFormatsThatTheLibraryDoesNotKnow)
{
    const VisionLibrary vision;
    vision->failures["Image_CreateFromImageInfo"] = {TARN_CVL_NOT_SUPPORTED};
    const auto table = ConversionTable::Probe(tarn::common::familyFormats);
    EXPECT_TRUE(table.OutputsOf(PixelFormat::Mono10p).empty());
    EXPECT_EQ(table.OutputsOf(PixelFormat::BayerBG10p).size(), 1U);
    EXPECT_EQ(vision->LiveObjects(), 0U);
}

} // namespace
} // namespace GenTL::internal
