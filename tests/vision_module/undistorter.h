#pragma once

#include "camera.h"

#include <map>
#include <string>

namespace GenTL::internal
{

using Numbers = std::map<std::string, uint64_t>;

/// A rectifier handle with one owner.
class Undistorter
{
public:
    Undistorter(const VisionModule &vision, const tarn_cvl_CalibrationParameters &camera,
                const Numbers &numbers = {})
        : m_vision(vision)
    {
        void *metadata = nullptr;
        EXPECT_EQ(vision.Metadata_Create(&metadata), TARN_CVL_SUCCESS);
        for (const auto &[key, number] : numbers)
        {
            EXPECT_EQ(vision.Metadata_SetUInt(metadata, key.c_str(), number), TARN_CVL_SUCCESS);
        }
        EXPECT_EQ(vision.Transform_Undistortion_CreateWithImageMetadata(&m_handle, metadata, &camera,
                                                                        TARN_CVL_CAMERA_SIZE, &m_adjusted),
                  TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
    }
    Undistorter(const Undistorter &) = delete;
    Undistorter &operator=(const Undistorter &) = delete;
    ~Undistorter() { EXPECT_EQ(m_vision.Transform_Undistortion_Destroy(m_handle), TARN_CVL_SUCCESS); }

    operator void *() const { return m_handle; }

    const tarn_cvl_CalibrationParameters &Adjusted() const { return m_adjusted; }

    int32_t Process(Pixels &source, Pixels &target, int32_t interpolation) const
    {
        EXPECT_EQ(m_vision.Transform_Undistortion_SetInterpolation(m_handle, interpolation),
                  TARN_CVL_SUCCESS);
        const ImageHandle from(m_vision, source);
        const ImageHandle to(m_vision, target);
        const auto status = m_vision.Transform_Undistortion_Process(m_handle, from, to);
        EXPECT_TRUE(target.FencesStand());
        return status;
    }

private:
    const VisionModule &m_vision;
    void *m_handle = nullptr;
    tarn_cvl_CalibrationParameters m_adjusted{};
};

constexpr int32_t bilinear = 0;
constexpr int32_t nearest = 1;

} // namespace GenTL::internal
