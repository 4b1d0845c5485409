#include "simulator/cameras/area_camera.h"

#include "simulator/cameras/chunk_control.h"
#include "simulator/cameras/region_control.h"
#include "simulator/sources/replay_source.h"
#include "simulator/sources/scene_source.h"

namespace GenTL::simulator
{

namespace
{

std::unique_ptr<FrameSource> MakeSceneSource()
{
    auto replay = MakeReplaySource();
    return replay ? std::move(replay) : std::make_unique<SceneSource>();
}

} // namespace

std::vector<Chunk> StandardChunks()
{
    using enum FeatureKind;
    return {
        {{"Image", 0}, 1, ChunkValue::Image, Integer, 0, ""},
        {{"FrameID", 1}, 2, ChunkValue::FrameId, Integer, 8, "Number of the frame, from 1 on."},
        {{"Timestamp", 2}, 3, ChunkValue::Timestamp, Integer, 8, "When the frame was exposed, in ns."},
        {{"ExposureTime", 3}, 4, ChunkValue::ExposureTime, Float, 4, "Exposure time of the frame in us."},
        {{"Gain", 4}, 5, ChunkValue::Gain, Float, 4, "Gain of the frame in dB."},
        {{"ImageChecksum", 5},
         6,
         ChunkValue::ImageChecksum,
         Integer,
         4,
         "CRC-32 of the image without its filling."},
    };
}

CameraModel AreaCamera(CameraModel camera, const Sensor &sensor, std::vector<Feature> formats,
                       MakeCameraControl formatControl)
{
    camera.chunks = StandardChunks();
    camera.features = Joined(DeviceFeatures(camera), GeometryFeatures(sensor, Decimation::SendsFirstPixel),
                             std::move(formats), std::vector{TestPatternFeature()}, AcquisitionFeatures(),
                             ChunkFeatures(camera.chunks), TransportFeatures());
    camera.controls = {Makes<RegionControl>(), std::move(formatControl), Makes<ChunkControl>()};
    camera.sources = [] { return MakeSceneSource; };
    return camera;
}

} // namespace GenTL::simulator
