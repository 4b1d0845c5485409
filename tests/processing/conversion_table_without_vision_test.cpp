#include "processing/conversion_table.h"

#include <gtest/gtest.h>

namespace GenTL::internal
{
namespace
{

TEST(ConversionTableWithoutVisionLibrary, OffersNothing)
{
    EXPECT_TRUE(ConversionTable::Probe(tarn::common::wideFormats).IsEmpty());
    EXPECT_TRUE(ConversionTable::Instance().IsEmpty());
}

} // namespace
} // namespace GenTL::internal
