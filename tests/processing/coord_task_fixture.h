#pragma once

#include "processing/coord_task.h"
#include "support/failure.h"
#include "support/vision_library.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace GenTL::internal
{

inline tarn::cvl::CalibrationParameters MakeCalibration(uint32_t width = 16, uint32_t height = 4)
{
    tarn::cvl::CalibrationParameters calibration{};
    calibration.width = width;
    calibration.height = height;
    calibration.focalLengthX = 100;
    calibration.focalLengthY = 50;
    calibration.principalPointX = 8;
    calibration.principalPointY = 2;
    return calibration;
}

inline tarn::common::Metadata MakeGeometry(uint64_t binning = 2)
{
    tarn::common::Metadata metadata;
    metadata.Set("BinningHorizontal", binning);
    return metadata;
}

/// Uses the scripted vision library. Only the task's rectifier may remain at the end.
class CoordTaskTest : public testing::Test
{
protected:
    using PixelFormat = tarn::common::PixelFormat;

    void TearDown() override
    {
        EXPECT_EQ(vision->LiveObjects(), vision->undistortions.size());
        EXPECT_LE(vision->undistortions.size(), 1U);
        task.reset();
        EXPECT_EQ(vision->LiveObjects(), 0U);
        EXPECT_EQ(vision->staleHandles, 0);
    }

    void Calibrate(const tarn::cvl::CalibrationParameters &calibration = MakeCalibration(),
                   const tarn::common::Metadata &metadata = MakeGeometry())
    {
        task->SetCalibration(std::make_unique<tarn::cvl::CalibrationParameters>(calibration), metadata);
    }

    VisionLibrary vision;
    std::unique_ptr<CoordTask> task = std::make_unique<CoordTask>();
};

} // namespace GenTL::internal
