#include "simulator/cameras/chunk_control.h"

#include "simulator/cameras/camera_model.h"

#include <algorithm>
#include <iterator>

namespace GenTL::simulator
{

ChunkControl::ChunkControl(const CameraContext &context)
    : m_features(context.features), m_chunks(context.model.chunks)
{
    const auto image = std::ranges::find(m_chunks, ChunkValue::Image, &Chunk::value)->entry.value;
    m_features.SetInteger({"ChunkEnable", image}, 1);
    m_features.ComputeOnRead("ChunkEnableLocked",
                             [this, image] {
                                 return int64_t{m_features.IsTrue("ParametersLocked") ||
                                                m_features.Integer("ChunkSelector") == image};
                             });
    // The image is always sent, and its lock in the description says so. A consumer that writes 0 to every
    // chunk without a look at the locks changes nothing and meets no error.
    m_features.AfterWrite("ChunkEnable", [this, image] { m_features.SetInteger({"ChunkEnable", image}, 1); });
}

void ChunkControl::Contribute(FrameSettings &settings) const
{
    if (m_features.IsTrue("ChunkModeActive"))
    {
        std::ranges::copy_if(m_chunks, std::back_inserter(settings.chunks),
                             [&](const Chunk &chunk) {
                                 return m_features.IsTrue({"ChunkEnable", chunk.entry.value});
                             });
    }
}

} // namespace GenTL::simulator
