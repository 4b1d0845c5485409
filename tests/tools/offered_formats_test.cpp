#include "gentlctl/offered_formats.h"

#include "processing/processor.h"
#include "utils/gentl_exception.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace gentlctl
{
namespace
{

void ExpectOffer(const OfferedFormat &offer, const std::string &sentAs, const std::string &task)
{
    EXPECT_EQ(offer.sentAs, sentAs) << offer.name;
    EXPECT_EQ(offer.task, task) << offer.name;
}

TEST(OfferedFormats, CopyWhatIsSent)
{
    const auto offered = ExplainFormats({"Mono8", "Mono12p"}, {"Mono8", "Mono12p"});
    ASSERT_EQ(offered.size(), 2U);
    ExpectOffer(offered[0], "Mono8", "copy");
    ExpectOffer(offered[1], "Mono12p", "copy");
}

TEST(OfferedFormats, UnpackTheFirstFittingFormat)
{
    ExpectOffer(ExplainFormats({"Mono12"}, {"Mono8", "Mono12p", "Mono12g24QVR"})[0], "Mono12p", "unpack");
    ExpectOffer(ExplainFormats({"Mono12"}, {"Mono12g24QVR", "Mono12p"})[0], "Mono12g24QVR", "unpack");
}

TEST(OfferedFormats, CopyBeforeTheyUnpack)
{
    ExpectOffer(ExplainFormats({"Mono12"}, {"Mono12p", "Mono12"})[0], "Mono12", "copy");
}

TEST(OfferedFormats, CalibrateWhatIsNeitherSentNorUnpacked)
{
    ExpectOffer(ExplainFormats({"Coord3D_ABC32f"}, {"Coord3D_C16", "Mono8"})[0], "raw depth", "calibrate");
}

TEST(OfferedFormats, CopyWhatTheTableDoesNotHave)
{
    ExpectOffer(ExplainFormats({"OfTheMaker"}, {"Mono8"})[0], "OfTheMaker", "copy");
    ExpectOffer(ExplainFormats({"Mono12"}, {"OfTheMaker"})[0], "Mono12", "copy");
}

TEST(FoundFormats, SayHowTheProducerMakesThem)
{
    ExpectOffer(ExplainFormat("Mono10", "Mono10Packed"), "Mono10Packed", "unpack");
    ExpectOffer(ExplainFormat("BayerRG12p", "BayerRG12p"), "BayerRG12p", "copy");
    ExpectOffer(ExplainFormat("Coord3D_ABC32f", "Coord3D_C16"), "Coord3D_C16", "calibrate");
    ExpectOffer(ExplainFormat("OfTheMaker", "OfTheMakerToo"), "OfTheMakerToo", "copy");
}

using GenTL::internal::Component;
using tarn::common::PixelFormat;

/// How the producer itself makes `output` from a device that sends `input`.
OfferedFormat MadeByTheProducer(PixelFormat output, PixelFormat input)
{
    GenTL::internal::Processor processor;
    processor.SetAvailableInputFormats(Component::Image2D, &input, 1);
    const auto name = PixelFormatName(output);
    try
    {
        const auto sent = PixelFormatName(processor.SetOutputPixelFormat(Component::Image2D, output));
        return {name, sent, sent == name ? "copy" : "unpack"};
    }
    catch (const GenTL::internal::GenTLException &)
    {
        return {name, "raw depth", "calibrate"};
    }
}

TEST(OfferedFormats, AreMadeAsTheProducerMakesThem)
{
    constexpr std::array formats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked) PixelFormat::name,
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
    };
    for (const auto input : formats)
    {
        for (const auto output : formats)
        {
            const auto made = MadeByTheProducer(output, input);
            ExpectOffer(ExplainFormats({made.name}, {PixelFormatName(input)}).at(0), made.sentAs, made.task);
        }
    }
}

} // namespace
} // namespace gentlctl
