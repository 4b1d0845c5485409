#include "coord_task_fixture.h"

#include "common/exceptions.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
using Mode = Scan3dOutputMode;

uint64_t CodeOf(PixelFormat format)
{
    return static_cast<uint64_t>(format);
}

constexpr size_t gridSize = size_t{4} * 2 * 12;
const Failure noRectifier{"No rectifier! Needs to be created first!", GC_ERR_ERROR};

/// Frames of 4 x 2 pixels.
class CoordTaskProcess : public CoordTaskTest
{
protected:
    CoordTaskProcess()
    {
        input.data = source.data();
        input.size = source.size();
        input.payloadType = PAYLOAD_TYPE_IMAGE;
        input.attributes.frameId = 7;
        input.attributes.timestamp = 99;
        input.attributes.width = 4;
        input.attributes.height = 2;
    }

    void Prepare(PixelFormat from, PixelFormat to, Component component)
    {
        input.attributes.pixelFormat = CodeOf(from);
        task->SetOutputFormat(component, to);
    }

    void PrepareDepth(PixelFormat from, Mode mode)
    {
        task->SetMode(mode);
        Prepare(from, mode == Mode::CalibratedC ? PixelFormat::Coord3D_C32f : PixelFormat::Coord3D_ABC32f,
                Component::Image3D);
    }

    void AddPart(int32_t type, std::optional<PixelFormat> format, size_t offset, size_t size)
    {
        input.payloadType = PAYLOAD_TYPE_MULTI_PART;
        BufferPartInfo part{.base = source.data() + offset, .size = size, .type = type};
        if (format)
        {
            part.format = CodeOf(*format);
        }
        part.width = 4;
        part.height = 2;
        part.sourceId = 40 + input.parts.size();
        input.parts.push_back(part);
    }

    ProcessingResult Run() { return task->Process(input, output); }
    Failure RunFailure()
    {
        return FailureOf([&] { Run(); });
    }
    /// `count` bytes of the output, from the byte `first` on.
    std::vector<uint8_t> Written(size_t first, size_t count) const
    {
        const auto begin = output.begin() + static_cast<ptrdiff_t>(first);
        return {begin, begin + static_cast<ptrdiff_t>(count)};
    }

    std::vector<uint8_t> source{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    std::vector<uint8_t> output = std::vector<uint8_t>(200, 0xEE);
    InputData input;
};

using CoordTaskBuffer = CoordTaskProcess;

TEST_F(CoordTaskBuffer, WithPartsHasToBeMultiPart)
{
    const LogCapture log;
    AddPart(PART_DATATYPE_3D_IMAGE, PixelFormat::Coord3D_C16, 0, 16);
    input.payloadType = PAYLOAD_TYPE_IMAGE;
    const std::string text = "Buffer has parts but is not payload type multi-part!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
}

TEST_F(CoordTaskBuffer, WithoutPartsHasToBeAnImage)
{
    const LogCapture log;
    input.payloadType = PAYLOAD_TYPE_MULTI_PART;
    const std::string text =
        "Buffer has no parts, but is not PayloadType Image! This is not implemented yet.";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
}

TEST_F(CoordTaskBuffer, WithoutAFormatIsRefused)
{
    const LogCapture log;
    const std::string text = "BufferType is Image, but does not define a PixelFormat!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
}

TEST_F(CoordTaskBuffer, IsTheComponentThatItsFormatTells)
{
    const LogCapture log;
    const auto failureFor = [&](PixelFormat format)
    {
        input.attributes.pixelFormat = CodeOf(format);
        return RunFailure();
    };
    const auto noFormat = [](const std::string &component) {
        return Failure{"No pixelformat set for component '" + component + "'.", GC_ERR_ERROR};
    };
    for (const auto format : {PixelFormat::Coord3D_C8, PixelFormat::Coord3D_C16, PixelFormat::Coord3D_C32f,
                              PixelFormat::Coord3D_ABC32f})
    {
        EXPECT_EQ(failureFor(format), noFormat("Image3D"));
    }
    EXPECT_EQ(failureFor(PixelFormat::Confidence8), noFormat("Confidence"));
    EXPECT_EQ(failureFor(PixelFormat::Confidence16), noFormat("Confidence"));
    EXPECT_EQ(failureFor(PixelFormat::Mono8), noFormat("Image2D"));
    EXPECT_EQ(log.Lines().front(), "error: No pixelformat set for component 'Image3D'.");
}

TEST_F(CoordTaskBuffer, IsConvertedAsAWhole)
{
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    const auto result = Run();
    EXPECT_EQ(result.bytesWritten, 8U);
    EXPECT_TRUE(result.parts.empty());
    EXPECT_FALSE(result.chunks);
    EXPECT_EQ(result.attributes.frameId, 7U);
    EXPECT_EQ(result.attributes.timestamp, 99U);
    EXPECT_EQ(result.attributes.width, 4U);
    EXPECT_THAT(Written(0, 9), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xEE));
}

TEST_F(CoordTaskBuffer, TellsTheOutputFormat)
{
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence16, Component::Confidence);
    EXPECT_EQ(Run().attributes.pixelFormat, CodeOf(PixelFormat::Confidence16));
    EXPECT_EQ(vision->convertedFormat, CodeOf(PixelFormat::Confidence16));
}

TEST_F(CoordTaskBuffer, OfUnknownSizeIsEmpty)
{
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    input.attributes.height.reset();
    EXPECT_EQ(Run().bytesWritten, 0U);
    input.attributes.height = 2;
    input.attributes.width.reset();
    EXPECT_EQ(Run().bytesWritten, 0U);
    EXPECT_THAT(output, Each(0xEE));
}

TEST_F(CoordTaskBuffer, NeedsRoomToTheLastByte)
{
    const LogCapture log;
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    output.resize(8);
    EXPECT_EQ(Run().bytesWritten, 8U);
    output.assign(7, 0xEE);
    const std::string text = "Buffer is not large enough for processing result!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
    EXPECT_THAT(output, Each(0xEE));
}

TEST_F(CoordTaskBuffer, WithChunksIsRefusedWhenItIsConverted)
{
    const LogCapture log;
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    input.chunks = ChunkList{};
    const std::string text = "3D conversion with chunk is currently not supported!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
    EXPECT_THAT(Written(0, 9), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xEE));
}

TEST_F(CoordTaskBuffer, PassesTheErrorsOfTheLibraryOn)
{
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    for (const auto *function :
         {"Image_CreateFromImageInfo", "Metadata_Create", "Image_SetMetadata", "Image_ConvertPixelFormat"})
    {
        SCOPED_TRACE(function);
        vision->FailNext(function, TARN_CVL_INTERNAL);
        EXPECT_EQ(RunFailure(), PlainFailure("vision failed"));
        EXPECT_EQ(vision->LiveObjects(), 0U);
    }
}

using CoordTaskParts = CoordTaskProcess;

TEST_F(CoordTaskParts, LieOneBehindTheOther)
{
    Calibrate();
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    AddPart(PART_DATATYPE_3D_IMAGE, PixelFormat::Coord3D_C8, 0, 8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 8, 8);
    input.attributes.pixelFormat = CodeOf(PixelFormat::Coord3D_C8);
    const auto result = Run();
    EXPECT_EQ(result.bytesWritten, gridSize + 8);
    ASSERT_EQ(result.parts.size(), 2U);
    const auto &depth = result.parts[0];
    EXPECT_EQ(depth.base, output.data());
    EXPECT_EQ(depth.size, gridSize);
    EXPECT_EQ(depth.type, PART_DATATYPE_3D_IMAGE);
    EXPECT_EQ(depth.format, CodeOf(PixelFormat::Coord3D_ABC32f));
    EXPECT_EQ(depth.width, 4U);
    EXPECT_EQ(depth.height, 2U);
    EXPECT_EQ(depth.sourceId, 40U);
    const auto &confidence = result.parts[1];
    EXPECT_EQ(confidence.base, output.data() + gridSize);
    EXPECT_EQ(confidence.size, 8U);
    EXPECT_EQ(confidence.type, PART_DATATYPE_CONFIDENCE_MAP);
    EXPECT_EQ(confidence.format, CodeOf(PixelFormat::Confidence8));
    EXPECT_EQ(confidence.sourceId, 41U);
    EXPECT_EQ(result.attributes.pixelFormat, CodeOf(PixelFormat::Coord3D_C8));
    EXPECT_THAT(Written(gridSize, 9), ElementsAre(9, 10, 11, 12, 13, 14, 15, 16, 0xEE));
}

TEST_F(CoordTaskParts, KeepTheirOrder)
{
    task->SetMode(Mode::UncalibratedC);
    task->SetOutputFormat(Component::Image2D, PixelFormat::Mono8);
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 8, 8);
    AddPart(PART_DATATYPE_2D_IMAGE, PixelFormat::Mono8, 0, 8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 8, 8);
    const auto result = Run();
    ASSERT_EQ(result.parts.size(), 3U);
    EXPECT_EQ(result.parts[1].type, PART_DATATYPE_2D_IMAGE);
    EXPECT_EQ(result.parts[1].base, output.data() + 8);
    EXPECT_EQ(result.parts[2].base, output.data() + 16);
    EXPECT_EQ(output[8], 1);
}

TEST_F(CoordTaskParts, TakeTheSizeOfTheBufferWhenTheyTellNone)
{
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 0, 8);
    input.attributes.width = 2;
    input.parts[0].width.reset();
    auto result = Run();
    EXPECT_EQ(result.bytesWritten, 4U);
    EXPECT_EQ(result.parts[0].width, std::nullopt);
    input.attributes.height = 1;
    input.parts[0].height.reset();
    EXPECT_EQ(Run().bytesWritten, 2U);
    input.attributes.height.reset();
    EXPECT_EQ(Run().bytesWritten, 0U);
}

TEST_F(CoordTaskParts, OfAnotherTypeAreRefused)
{
    const LogCapture log;
    AddPart(PART_DATATYPE_2D_PLANE_BIPLANAR, PixelFormat::Mono8, 0, 8);
    const std::string text = "Unexpected buffer part type PART_DATATYPE_2D_PLANE_BIPLANAR!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
    const std::vector<std::pair<int32_t, std::string>> others{{0, "PART_DATATYPE_UNKNOWN"},
                                                              {3, "PART_DATATYPE_2D_PLANE_TRIPLANAR"},
                                                              {4, "PART_DATATYPE_2D_PLANE_QUADPLANAR"},
                                                              {6, "PART_DATATYPE_3D_PLANE_BIPLANAR"},
                                                              {7, "PART_DATATYPE_3D_PLANE_TRIPLANAR"},
                                                              {8, "PART_DATATYPE_3D_PLANE_QUADPLANAR"},
                                                              {10, "PART_DATATYPE_JPEG"},
                                                              {11, "PART_DATATYPE_JPEG2000"},
                                                              {1000, "PART_DATATYPE_CUSTOM_ID"},
                                                              {1234, "1234"}};
    for (const auto &[type, name] : others)
    {
        input.parts[0].type = type;
        EXPECT_EQ(RunFailure().text, "Unexpected buffer part type " + name + "!");
    }
}

TEST_F(CoordTaskParts, NeedAnOutputFormat)
{
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, std::nullopt, 0, 8);
    EXPECT_EQ(RunFailure(), PlainFailure("unordered_map::at: key not found"));
}

TEST_F(CoordTaskParts, NeedAFormatOfTheirOwn)
{
    const LogCapture log;
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, std::nullopt, 0, 8);
    const std::string text = "BufferPart has no pixel format defined!";
    EXPECT_EQ(RunFailure(), (Failure{text, GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: " + text));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::Process"));
}

TEST_F(CoordTaskParts, FailAtTheOneThatOverflows)
{
    const LogCapture log;
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 0, 8);
    AddPart(PART_DATATYPE_CONFIDENCE_MAP, PixelFormat::Confidence8, 8, 8);
    output.assign(15, 0xEE);
    EXPECT_EQ(RunFailure(), (Failure{"Buffer is not large enough for processing result!", GC_ERR_ERROR}));
    EXPECT_THAT(output, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    output.assign(16, 0xEE);
    EXPECT_EQ(Run().bytesWritten, 16U);
}

using CoordTaskUncalibrated = CoordTaskProcess;

TEST_F(CoordTaskUncalibrated, ConvertsEverythingWithoutARectifier)
{
    task->SetMode(Mode::UncalibratedC);
    task->SetOutputFormat(Component::Image2D, PixelFormat::Mono8);
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_C8);
    task->SetOutputFormat(Component::Confidence, PixelFormat::Confidence8);
    for (const auto format : {PixelFormat::Mono8, PixelFormat::Coord3D_C8, PixelFormat::Confidence8})
    {
        vision->calls.clear();
        input.attributes.pixelFormat = CodeOf(format);
        EXPECT_EQ(Run().bytesWritten, 8U);
        EXPECT_THAT(vision->calls,
                    ElementsAre("Image_CreateFromImageInfo", "Metadata_Create", "Image_SetMetadata",
                                "Metadata_Destroy", "Image_CreateFromImageInfo", "Image_ConvertPixelFormat",
                                "Image_Destroy", "Image_Destroy"));
        EXPECT_THAT(Written(0, 9), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xEE));
    }
}

class CoordTaskCalibrated : public CoordTaskProcess
{
protected:
    CoordTaskCalibrated() { Calibrate(); }
};

TEST_F(CoordTaskProcess, NeedsARectifierInEveryOtherMode)
{
    const LogCapture log;
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC, Mode::CalibratedAC})
    {
        task->SetMode(mode);
        Prepare(PixelFormat::Mono8, PixelFormat::Mono8, Component::Image2D);
        EXPECT_EQ(RunFailure(), noRectifier);
        // The rectifier is checked before the format.
        Prepare(PixelFormat::Coord3D_C32f, PixelFormat::Coord3D_C16, Component::Image3D);
        EXPECT_EQ(RunFailure(), noRectifier);
    }
    EXPECT_THAT(log.Lines(), Each("error: No rectifier! Needs to be created first!"));
    EXPECT_EQ(log.Lines().size(), 6U);
    const std::string depthToXyz = "CoordTask::ProcessDepthToXYZ";
    EXPECT_THAT(log.Origins(),
                ElementsAre("CoordTask::ProcessUndistortion", depthToXyz, "CoordTask::ProcessUndistortion",
                            "CoordTask::ProcessDepthToCalibratedDepth", "CoordTask::ProcessUndistortion",
                            depthToXyz));
}

TEST_F(CoordTaskCalibrated, NeverUndistortsAConfidenceMap)
{
    Prepare(PixelFormat::Confidence8, PixelFormat::Confidence8, Component::Confidence);
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC, Mode::DisparityC})
    {
        task->SetMode(mode);
        Run();
        EXPECT_THAT(Written(0, 9), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xEE));
    }
    EXPECT_EQ(vision->CountOf("Transform_Undistortion_Process"), 0U);
}

TEST_F(CoordTaskCalibrated, UndistortsIntensity)
{
    Prepare(PixelFormat::Mono8, PixelFormat::Mono8, Component::Image2D);
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC, Mode::DisparityC})
    {
        task->SetMode(mode);
        vision->undistortedWith = -1;
        output.assign(9, 0xEE);
        EXPECT_EQ(Run().bytesWritten, 8U);
        EXPECT_THAT(output, ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 0xEE));
        EXPECT_EQ(vision->undistortedWith, 0);
        EXPECT_EQ(vision->undistorted.info.pixelFormat, CodeOf(PixelFormat::Mono8));
        EXPECT_EQ(vision->undistorted.info.data, source.data());
        EXPECT_THAT(vision->undistorted.metadata,
                    ElementsAre(scripted::Entry{"UInt", "BinningHorizontal", "2"}));
        EXPECT_EQ(vision->convertedFormat, CodeOf(PixelFormat::Mono8));
    }
}

TEST_F(CoordTaskCalibrated, MakesDepthInTheConsumersMemory)
{
    task->SetScan3dInfo({.scan3dCoordinateScale = 0.25,
                         .scan3dAxisMax = 6.9,
                         .scan3dAxisMin = 2.9,
                         .scan3dCoordinateOffset = 10.0,
                         .scan3dInvalidDataValue = {},
                         .scan3dInvalidDataFlag = {}});
    PrepareDepth(PixelFormat::Coord3D_C8, Mode::CalibratedC);
    vision->calls.clear();
    EXPECT_EQ(Run().bytesWritten, 32U);
    EXPECT_THAT(vision->calls,
                ElementsAre("Image_CreateFromImageInfo", "Metadata_Create", "Metadata_SetUInt",
                            "Image_SetMetadata", "Metadata_Destroy", "Image_CreateFromImageInfo",
                            "Region_Create", "Threshold_Process", "Image_CreateWithZeroInit", "Image_GetInfo",
                            "Image_ConvertPixelFormatWithFactor", "Metadata_Create", "Metadata_SetUInt",
                            "Image_SetMetadata", "Metadata_Destroy", "Image_SetRegion",
                            "Image_CreateFromImageInfo", "Transform_Undistortion_SetInterpolation",
                            "Transform_Undistortion_Process", "Image_Destroy", "Image_Destroy",
                            "Region_Destroy", "Image_Destroy", "Image_Destroy"));
    EXPECT_EQ(vision->range.minimum, 2);
    EXPECT_EQ(vision->range.maximum, 6);
    EXPECT_EQ(vision->thresholded.info.pixelFormat, CodeOf(PixelFormat::Mono8));
    EXPECT_EQ(vision->thresholded.info.data, source.data());
    EXPECT_EQ(vision->thresholded.info.size, 8U);
    EXPECT_EQ(vision->factor, 0.25);
    EXPECT_EQ(vision->undistortedWith, 1);
    EXPECT_EQ(vision->undistorted.info.pixelFormat, CodeOf(PixelFormat::Coord3D_C32f));
    EXPECT_NE(vision->undistorted.region, nullptr);
    EXPECT_THAT(vision->undistorted.metadata, ElementsAre(scripted::Entry{"UInt", "BinningHorizontal", "2"}));
    // 8 bytes of the source and zeros, each raised by the undistortion.
    EXPECT_THAT(Written(0, 10), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_THAT(Written(16, 17), ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0xEE));
}

TEST_F(CoordTaskCalibrated, MakesCoordinatesInTheConsumersMemory)
{
    PrepareDepth(PixelFormat::Coord3D_C16, Mode::CalibratedABC_Grid);
    vision->calls.clear();
    EXPECT_EQ(Run().bytesWritten, gridSize);
    EXPECT_THAT(vision->calls, Contains("Transform_DepthMap_To_XYZImage").Times(1));
    EXPECT_THAT(vision->calls, Not(Contains("Image_ConvertPixelFormat")));
    EXPECT_EQ(vision->thresholded.info.pixelFormat, CodeOf(PixelFormat::Mono16));
    EXPECT_EQ(vision->thresholded.info.size, 16U);
    EXPECT_EQ(vision->undistortedWith, 1);
    EXPECT_NE(vision->undistorted.region, nullptr);
    EXPECT_EQ(vision->xyz.data, output.data());
    EXPECT_EQ(vision->xyz.size, gridSize);
    EXPECT_EQ(vision->xyz.width, 4U);
    EXPECT_EQ(vision->xyz.height, 2U);
    EXPECT_EQ(vision->xyz.pixelFormat, CodeOf(PixelFormat::Coord3D_ABC32f));
    EXPECT_EQ(output.front(), 2);
    // The adjusted camera, not the calibrated one.
    tarn::cvl::CameraParameters camera{};
    std::memcpy(&camera, vision->camera.data(), sizeof camera);
    EXPECT_EQ(camera.principalPointX, 9.F);
}

TEST_F(CoordTaskCalibrated, TakesDepthAsItIsWithoutAScale)
{
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC})
    {
        vision->factor = 0;
        PrepareDepth(PixelFormat::Coord3D_C16, mode);
        Run();
        EXPECT_EQ(vision->factor, 1.0);
    }
}

TEST_F(CoordTaskCalibrated, LeavesTheOffsetToTheRanges)
{
    task->SetScan3dInfo({.scan3dCoordinateScale = 2.0,
                         .scan3dAxisMax = {},
                         .scan3dAxisMin = {},
                         .scan3dCoordinateOffset = 100.0,
                         .scan3dInvalidDataValue = 0.0,
                         .scan3dInvalidDataFlag = true});
    PrepareDepth(PixelFormat::Coord3D_C16, Mode::CalibratedC);
    Run();
    EXPECT_EQ(vision->factor, 2.0);
    EXPECT_EQ(vision->range.minimum, 0);
    EXPECT_EQ(vision->range.maximum, 4095);
}

TEST_F(CoordTaskCalibrated, LimitsValuesToTheFormatInTheGridOnly)
{
    PrepareDepth(PixelFormat::Coord3D_C8, Mode::CalibratedABC_Grid);
    Run();
    EXPECT_EQ(vision->range.minimum, 0);
    EXPECT_EQ(vision->range.maximum, 255);
    PrepareDepth(PixelFormat::Coord3D_C16, Mode::CalibratedABC_Grid);
    Run();
    EXPECT_EQ(vision->range.maximum, 4095);
    PrepareDepth(PixelFormat::Coord3D_C8, Mode::CalibratedC);
    Run();
    EXPECT_EQ(vision->range.maximum, 4095);
}

TEST_F(CoordTaskCalibrated, TakesTheDevicesRangeBeyondTheFormat)
{
    Scan3dInfo info{};
    info.scan3dAxisMin = -1.9;
    info.scan3dAxisMax = 5000.9;
    task->SetScan3dInfo(info);
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC})
    {
        PrepareDepth(PixelFormat::Coord3D_C8, mode);
        Run();
        EXPECT_EQ(vision->range.minimum, -1);
        EXPECT_EQ(vision->range.maximum, 5000);
    }
}

TEST_F(CoordTaskCalibrated, KeepsARangeBeyondTheIntegersWithinThem)
{
    Scan3dInfo info{};
    info.scan3dAxisMin = -1e300;
    info.scan3dAxisMax = std::numeric_limits<double>::infinity();
    task->SetScan3dInfo(info);
    PrepareDepth(PixelFormat::Coord3D_C16, Mode::CalibratedC);
    Run();
    EXPECT_EQ(vision->range.minimum, INT32_MIN);
    EXPECT_EQ(vision->range.maximum, INT32_MAX);
    info.scan3dAxisMin = std::numeric_limits<double>::quiet_NaN();
    task->SetScan3dInfo(info);
    Run();
    EXPECT_EQ(vision->range.minimum, 0);
}

TEST_F(CoordTaskCalibrated, RefusesAnEmptyRange)
{
    Scan3dInfo info{};
    info.scan3dAxisMin = 5.0;
    info.scan3dAxisMax = 4.0;
    task->SetScan3dInfo(info);
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC})
    {
        PrepareDepth(PixelFormat::Coord3D_C16, mode);
        EXPECT_THROW(Run(), tarn::common::InvalidParameterException);
        EXPECT_EQ(RunFailure(),
                  PlainFailure("The maximum value has to be greater than or equal to the minimum value!"));
    }
    // Without fractions, the two are equal.
    info.scan3dAxisMin = 4.9;
    info.scan3dAxisMax = 4.1;
    task->SetScan3dInfo(info);
    Run();
    EXPECT_EQ(vision->range.minimum, vision->range.maximum);
}

TEST_F(CoordTaskCalibrated, NeverMakesCoordinatesOfFloats)
{
    Scan3dInfo info{};
    info.scan3dAxisMax = 100.0;
    task->SetScan3dInfo(info);
    PrepareDepth(PixelFormat::Coord3D_C32f, Mode::CalibratedABC_Grid);
    EXPECT_THROW(Run(), tarn::common::InvalidParameterException);
    EXPECT_EQ(vision->CountOf("Threshold_Process"), 0U);
}

TEST_F(CoordTaskCalibrated, MakesDepthOfFloats)
{
    source.resize(32);
    input.data = source.data();
    input.size = source.size();
    PrepareDepth(PixelFormat::Coord3D_C32f, Mode::CalibratedC);
    EXPECT_EQ(Run().bytesWritten, 32U);
    EXPECT_EQ(vision->thresholded.info.pixelFormat, CodeOf(PixelFormat::Coord3D_C32f));
    EXPECT_EQ(vision->thresholded.info.size, 32U);
}

TEST_F(CoordTaskCalibrated, ComparesConfidenceAsWholeSamples)
{
    task->SetOutputFormat(Component::Image3D, PixelFormat::Coord3D_ABC32f);
    AddPart(PART_DATATYPE_3D_IMAGE, PixelFormat::Confidence16, 0, 16);
    Run();
    EXPECT_EQ(vision->thresholded.info.pixelFormat, CodeOf(PixelFormat::Mono16));
    input.parts[0].format = CodeOf(PixelFormat::Confidence8);
    Run();
    EXPECT_EQ(vision->thresholded.info.pixelFormat, CodeOf(PixelFormat::Mono8));
}

TEST_F(CoordTaskCalibrated, MakesDepthAsFloatsOnly)
{
    const LogCapture log;
    task->SetMode(Mode::CalibratedC);
    Prepare(PixelFormat::Coord3D_C16, PixelFormat::Coord3D_C16, Component::Image3D);
    EXPECT_EQ(RunFailure(),
              (Failure{"Incompatible pixel format Coord3D_C16! Expected: Coord3D_C32f", GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Incompatible pixel format! Expected: Coord3D_C32f"));
    EXPECT_THAT(log.Origins(), testing::Each("CoordTask::ProcessDepthToCalibratedDepth"));
}

TEST_F(CoordTaskCalibrated, LeavesTheTargetOfOtherModesToTheLibrary)
{
    task->SetMode(Mode::CalibratedAC);
    Prepare(PixelFormat::Coord3D_C16, PixelFormat::Coord3D_C16, Component::Image3D);
    EXPECT_EQ(Run().bytesWritten, 16U);
    EXPECT_EQ(vision->xyz.pixelFormat, CodeOf(PixelFormat::Coord3D_C16));
    EXPECT_EQ(vision->xyz.size, 16U);
    vision->FailNext("Transform_DepthMap_To_XYZImage", TARN_CVL_NOT_SUPPORTED);
    EXPECT_EQ(RunFailure(), PlainFailure("vision failed"));
}

TEST_F(CoordTaskCalibrated, UsesTheGeometryOfTheMoment)
{
    task->SetMetadata(MakeGeometry(8));
    PrepareDepth(PixelFormat::Coord3D_C16, Mode::CalibratedC);
    Run();
    EXPECT_THAT(vision->undistorted.metadata, ElementsAre(scripted::Entry{"UInt", "BinningHorizontal", "8"}));
}

TEST_F(CoordTaskCalibrated, LeavesNothingBehindAFailureOfAnyCall)
{
    for (const auto mode : {Mode::CalibratedABC_Grid, Mode::CalibratedC})
    {
        PrepareDepth(PixelFormat::Coord3D_C16, mode);
        for (const auto *function :
             {"Image_CreateFromImageInfo", "Region_Create", "Threshold_Process", "Image_CreateWithZeroInit",
              "Image_GetInfo", "Image_ConvertPixelFormatWithFactor", "Image_SetMetadata", "Image_SetRegion",
              "Transform_Undistortion_SetInterpolation", "Transform_Undistortion_Process"})
        {
            SCOPED_TRACE(function);
            vision->FailNext(function, TARN_CVL_INTERNAL);
            EXPECT_EQ(RunFailure(), PlainFailure("vision failed"));
            EXPECT_EQ(vision->LiveObjects(), 1U);
        }
    }
    Run();
    EXPECT_EQ(vision->LiveObjects(), 1U);
}

} // namespace
} // namespace GenTL::internal
