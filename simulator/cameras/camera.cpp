#include "simulator/cameras/camera.h"

#include "simulator/clock.h"
#include "simulator/features/description.h"
#include "simulator/features/zip_writer.h"

#include <algorithm>
#include <cmath>

namespace GenTL::simulator
{

namespace
{

std::string BuiltDescription(const CameraModel &model)
{
    std::vector<ChunkPort> chunks;
    for (const auto &chunk : model.chunks)
    {
        if (chunk.value != ChunkValue::Image)
        {
            chunks.push_back({chunk.id, "Chunk" + chunk.entry.name, chunk.kind, chunk.length, chunk.toolTip});
        }
    }
    std::string name = model.model;
    std::ranges::replace(name, '-', '_');
    return BuildDescription({name, model.toolTip, "Device", model.ProductGuid(), model.VersionGuid()},
                            model.Layout(), chunks, model.events);
}

std::string DocumentOf(const OwnDescription &own)
{
    return (own.byteOrderMark ? "\xEF\xBB\xBF" : "") + std::string(own.document);
}

/// The content of the camera's memory: the file of the description and the bytes behind it.
std::string Description(const CameraModel &model)
{
    const auto &own = model.ownDescription;
    const auto xml = own ? DocumentOf(*own) : BuiltDescription(model);
    auto file = model.zippedDescription ? ZipFile(model.model + ".xml", xml) : xml;
    const size_t blockSize = own ? own->blockSize : 1;
    file.resize((file.size() + blockSize - 1) / blockSize * blockSize, '\xFF');
    return file;
}

/// The settings that all cameras have: one image, still without region and format.
FrameSettings CommonSettings(const CameraModel &model, const FeatureSet &features)
{
    FrameSettings settings{};
    settings.ticksPerSecond = model.ticksPerSecond;
    settings.bigEndianChunks = model.bigEndian;
    settings.bigEndianTrailers = model.transport.bigEndianTrailers;
    settings.exposureTime = features.Float("ExposureTime");
    settings.gain = features.Float("Gain");
    settings.frameCheck = features.IsTrue("FrameCheck");
    auto &image = settings.parts.emplace_back().image;
    image.testPattern = features.Integer("TestPattern");
    image.brightness = settings.exposureTime / 10000.0 * std::pow(10.0, settings.gain / 20.0);
    return settings;
}

} // namespace

Camera::Camera(HandleTable &handles, CameraUnit &unit, bool writable)
    : Camera(handles, unit, unit.Model().complete(unit.Model()), writable)
{
}

Camera::Camera(HandleTable &handles, CameraUnit &unit, CameraModel model, bool writable)
    : StreamedCamera(handles, model, model.Layout(), Description(model)), m_model(std::move(model)),
      m_writable(writable), m_acquisition(Features())
{
    ConnectFeatures(unit);
    const auto notify = [this](const Notice &notice)
    {
        // The device sends the events of its camera.
        if (const auto device = Parent())
        {
            device->Fire(EVENT_REMOTE_DEVICE, notice);
        }
    };
    const CameraContext context{Features(), m_model, unit, m_acquisition, notify};
    for (const auto &make : m_model.controls)
    {
        m_controls.push_back(make(context));
        m_controls.back()->Update();
    }
    Update();
}

void Camera::ConnectFeatures(CameraUnit &unit)
{
    auto &features = Features();
    features.SetText("DeviceUserID", unit.UserName());
    features.AfterWrite("DeviceUserID", [this, &unit] { unit.SetUserName(Features().Text("DeviceUserID")); });
    features.AfterWrite("TimestampLatch",
                        [this]
                        {
                            const auto now = Ticks(m_model.ticksPerSecond);
                            Features().SetInteger("TimestampLatchValue", static_cast<int64_t>(now));
                        });
    features.AfterAnyWrite([this] { Update(); });
}

void Camera::Update()
{
    for (const auto &control : m_controls)
    {
        control->Update();
    }
    auto settings = CommonSettings(m_model, Features());
    for (const auto &control : m_controls)
    {
        control->Contribute(settings);
    }
    settings.payloadSize = simulator::PayloadSize(settings);
    Features().SetInteger("PayloadSize", static_cast<int64_t>(settings.payloadSize));
    if (m_settings && m_settings->payloadSize != settings.payloadSize)
    {
        Fire(EVENT_FEATURE_INVALIDATE, {0, "PayloadSize"});
    }
    m_settings = std::make_shared<FrameSettings>(std::move(settings));
}

std::optional<FrameOrder> Camera::NextFrame()
{
    const auto lock = Features().Lock();
    const auto number = m_acquisition.NextFrame();
    for (const auto &control : m_controls)
    {
        if (number)
        {
            control->FrameBegins(*number);
        }
    }
    return number ? std::optional(FrameOrder{*number, Ticks(m_model.ticksPerSecond), m_settings})
                  : std::nullopt;
}

std::unique_ptr<FrameMaker> Camera::MakeFrames() const
{
    return std::make_unique<FrameWriter>(m_model.sources());
}

size_t Camera::PayloadSize() const
{
    return static_cast<size_t>(Features().Integer("PayloadSize"));
}

} // namespace GenTL::simulator
