#ifndef QVR_SIMULATOR_DEPTH_SOURCE_H
#define QVR_SIMULATOR_DEPTH_SOURCE_H

#include "frame_source.h"

#include <vector>

namespace GenTL::simulator
{

/** The images of a depth camera: range, light and confidence of the scene of SceneAt through DepthLens. */
class DepthSource : public FrameSource
{
public:
    void Prepare(const ImageSettings &settings) override;
    void Render(uint64_t number, std::span<uint8_t> image) override;

private:
    void PrepareRange();
    void PrepareLight();
    void PrepareConfidence();
    uint16_t RawOf(double depth) const;

    ImageSettings m_settings{};
    std::vector<double> m_depths;    /**< of a range image with noise; below 0 for none */
    std::vector<uint16_t> m_samples; /**< the image without noise */
};

} // namespace GenTL::simulator

#endif
