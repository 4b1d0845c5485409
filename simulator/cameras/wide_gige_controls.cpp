#include "simulator/cameras/wide_gige_controls.h"

#include "simulator/cameras/camera_model.h"

namespace GenTL::simulator
{

const PixelFormat &ReadoutFormatControl::SentNow(const PixelFormat &format) const
{
    const bool isPacked = std::string_view(format.name).ends_with("Packed");
    const bool isDeep = format.sampleBits == 12;
    const bool isSent = (!isPacked || Features().IsTrue(packedFormatsEnable)) &&
                        (!isDeep || Features().Integer(sensorReadout) == preciseReadout);
    return isSent ? format : FindPixelFormat("Mono8");
}

ChunkBytesControl::ChunkBytesControl(const CameraContext &context)
    : m_features(context.features), m_chunks(context.model.chunks)
{
    m_features.ComputeOnRead(chunkBytes, [this] { return Bytes(); });
}

int64_t ChunkBytesControl::Bytes() const
{
    if (!m_features.IsTrue("ChunkModeActive"))
    {
        return 0;
    }
    size_t bytes = 0;
    for (const auto &chunk : m_chunks)
    {
        const bool isSent = m_features.IsTrue({"ChunkEnable", chunk.entry.value});
        bytes += isSent ? chunk.length + chunkTrailerSize : 0;
    }
    return static_cast<int64_t>(bytes);
}

} // namespace GenTL::simulator
