#pragma once

#include "simulator/cameras/format_control.h"

namespace GenTL::simulator
{

// Features of the camera WIDE-G2 that its formats and its payload size depend on.
constexpr const char *packedFormatsEnable = "PackedFormatsEnable";
constexpr const char *sensorReadout = "SensorReadout";
constexpr const char *chunkBytes = "ChunkBytes";

/// Values of SensorReadout.
constexpr int64_t fastReadout = 0;
constexpr int64_t preciseReadout = 1;

/// PixelFormat of a camera whose packed formats can be switched off, and which has formats of 12 bits with
/// the precise readout only.
class ReadoutFormatControl : public FormatControl
{
public:
    explicit ReadoutFormatControl(const CameraContext &context) : FormatControl(context) {}

private:
    const PixelFormat &SentNow(const PixelFormat &format) const override;
};

/// The bytes that the chunks add to the image, for a description that computes the payload size.
class ChunkBytesControl : public CameraControl
{
public:
    explicit ChunkBytesControl(const CameraContext &context);

private:
    int64_t Bytes() const;

    FeatureSet &m_features;
    const std::vector<Chunk> &m_chunks;
};

} // namespace GenTL::simulator
