#pragma once

#include "simulator/features/feature.h"
#include "simulator/sources/frame_source.h"

namespace GenTL::simulator
{

/// The entries of the feature TestPattern. The first one means no pattern.
std::vector<EnumEntry> TestPatterns();

/// The test patterns of the SFNC. They fill the image, not the sensor, and ignore exposure and gain.
class PatternSource : public FrameSource
{
public:
    void Prepare(const ImageSettings &settings) override;
    void Render(uint64_t number, std::span<uint8_t> image) override;

private:
    void Draw(uint64_t number, std::span<uint8_t> image) const;
    void DrawRow(uint64_t number, uint32_t y, std::span<uint16_t> row) const;

    ImageSettings m_settings{};
    bool m_moves = false;
    std::vector<uint8_t> m_still; ///< the image of a pattern that does not move
};

} // namespace GenTL::simulator
