#pragma once

#include "simulator/cameras/camera_control.h"

namespace GenTL::simulator
{

/// ChunkEnable. The chunk of the image is always enabled.
class ChunkControl : public CameraControl
{
public:
    explicit ChunkControl(const CameraContext &context);

    void Contribute(FrameSettings &settings) const override;

private:
    FeatureSet &m_features;
    const std::vector<Chunk> &m_chunks;
};

} // namespace GenTL::simulator
