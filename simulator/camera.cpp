#include "camera.h"

#include "clock.h"
#include "description.h"
#include "zip_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <sstream>
#include <tuple>

namespace GenTL::simulator
{

namespace
{

// Values of AcquisitionMode.
constexpr int64_t continuous = 0;
constexpr int64_t singleFrame = 1;

std::string FileName(const CameraModel &model)
{
    return model.model + (model.zippedDescription ? ".zip" : ".xml");
}

std::string Description(const CameraModel &model)
{
    std::vector<ChunkPort> chunks;
    for (const Chunk &chunk : model.chunks)
    {
        if (chunk.value != ChunkValue::Image)
        {
            chunks.push_back({chunk.id, "Chunk" + chunk.entry.name, chunk.kind, chunk.length, chunk.toolTip});
        }
    }
    std::string name = model.model;
    std::replace(name.begin(), name.end(), '-', '_');
    const std::string xml =
        BuildDescription({name, model.toolTip, "Device", model.productGuid, model.versionGuid},
                         FeatureLayout(model.features), chunks);
    return model.zippedDescription ? ZipFile(model.model + ".xml", xml) : xml;
}

const Feature &PixelFormatOf(const CameraModel &model)
{
    return *std::find_if(model.features.begin(), model.features.end(),
                         [](const Feature &feature) { return feature.name == "PixelFormat"; });
}

/** The names in QVR_SIM_PIXEL_FORMATS, between commas. None when the camera has none of them. */
std::set<std::string> WantedFormats(const CameraModel &model)
{
    const char *const text = std::getenv("QVR_SIM_PIXEL_FORMATS");
    std::istringstream list(text == nullptr ? "" : text);
    std::set<std::string> names;
    for (std::string name; std::getline(list, name, ',');)
    {
        names.insert(name);
    }
    const Feature &feature = PixelFormatOf(model);
    const bool hasAny =
        std::any_of(feature.entries.begin(), feature.entries.end(),
                    [&](const EnumEntry &entry)
                    { return names.contains(entry.name) && !feature.absentEntries.contains(entry.name); });
    return hasAny ? names : std::set<std::string>();
}

std::optional<DepthReplay> FindReplay(const CameraModel &model)
{
    return model.userSets.empty() ? std::nullopt : FindDepthReplay(model.userSets.front().scan.scale);
}

/** Of replayed pictures the default set shows every value as it is. */
std::vector<UserSet> UserSets(const CameraModel &model, const std::optional<DepthReplay> &replay)
{
    std::vector<UserSet> sets = model.userSets;
    if (replay)
    {
        sets.front().scan = {replay->scale, 0.0, 1.0, std::numeric_limits<uint16_t>::max(), 0.0};
    }
    return sets;
}

/**
 * Depth values in a format: where the values of 16 bits do not fit, steps that are larger by a power of two
 * cover the same depth.
 */
Scan3dValues InFormat(const Scan3dValues &scan, const PixelFormat &format)
{
    double factor = 1;
    while (std::floor(scan.axisMax / factor) > format.MaximumSample())
    {
        factor *= 2;
    }
    double least = std::ceil(scan.axisMin / factor);
    if (scan.axisMin > scan.invalidValue)
    {
        least = std::max(least, scan.invalidValue + 1);
    }
    return {scan.scale * factor, scan.offset, least, std::floor(scan.axisMax / factor), scan.invalidValue};
}

PortIdentity Identity(const CameraModel &model)
{
    return {model.Id(), model.model, "Device", "Device", cameraVersion, FileName(model)};
}

} // namespace

Camera::Camera(HandleTable &handles, CameraUnit &unit, bool writable)
    : Module(handles, Identity(unit.Model()), FeatureLayout(unit.Model().features), Description(unit.Model()),
             {EVENT_ERROR, EVENT_FEATURE_INVALIDATE}),
      m_unit(unit), m_writable(writable), m_wantedFormats(WantedFormats(unit.Model())),
      m_depthReplay(FindReplay(unit.Model())), m_userSets(UserSets(unit.Model(), m_depthReplay)),
      m_fileContents(unit.Model().files)
{
    ConnectFeatures();
    for (const Chunk &chunk : unit.Model().chunks)
    {
        Features().SetSelected("ChunkEnable", chunk.entry.value, chunk.value == ChunkValue::Image);
    }
    ConnectDepth();
    if (m_depthReplay)
    {
        ShowReplayedSensor();
    }
    if (!m_fileContents.empty())
    {
        m_files = std::make_unique<FileAccess>(Features(), m_fileContents);
    }
    Features().SetText("DeviceUserID", unit.UserName());
    if (unit.Model().hasMosaic)
    {
        for (const char *const flip : {"ReverseX", "ReverseY"})
        {
            Features().SetInteger(flip, unit.Kept(flip));
            Features().AfterWrite(flip, [this, flip] { m_unit.Keep(flip, Features().Integer(flip)); });
        }
    }
    Update();
    if (!m_userSets.empty())
    {
        ConnectUserSets();
    }
}

void Camera::ConnectFeatures()
{
    FeatureSet &features = Features();
    features.AfterWrite("AcquisitionStart", [this] { StartAcquisition(); });
    features.AfterWrite("AcquisitionStop", [this] { StopAcquisition(); });
    features.AfterWrite("AcquisitionFrameRate", [this] { TellListener(); });
    features.AfterWrite("DeviceUserID", [this] { m_unit.SetUserName(Features().Text("DeviceUserID")); });
    features.AfterWrite(
        "TimestampLatch",
        [this] { Features().SetInteger("TimestampLatchValue", static_cast<int64_t>(Nanoseconds())); });
    features.ComputeOnRead("ParametersLocked", [this] { return static_cast<int64_t>(IsFrozen()); });
    features.ComputeOnRead("ChunkEnableLocked",
                           [this]
                           {
                               return static_cast<int64_t>(IsFrozen() ||
                                                           Features().Integer("ChunkSelector") ==
                                                               ImageChunk().entry.value);
                           });
    // The image is always sent. The description says so by the lock; a consumer that writes 0 to every chunk
    // without a look at it changes nothing here and meets no error.
    features.AfterWrite("ChunkEnable",
                        [this] { Features().SetSelected("ChunkEnable", ImageChunk().entry.value, 1); });
    features.AfterAnyWrite([this] { Update(); });
}

bool Camera::IsFrozen() const
{
    return m_acquiring || Features().IsTrue("TLParamsLocked");
}

const Chunk &Camera::ImageChunk() const
{
    return *std::find_if(Model().chunks.begin(), Model().chunks.end(),
                         [](const Chunk &chunk) { return chunk.value == ChunkValue::Image; });
}

void Camera::StartAcquisition()
{
    const int64_t mode = Features().Integer("AcquisitionMode");
    m_remaining = mode == continuous    ? std::numeric_limits<uint64_t>::max()
                  : mode == singleFrame ? 1
                                        : static_cast<uint64_t>(Features().Integer("AcquisitionFrameCount"));
    m_sent = 0;
    m_acquiring = true;
    TellListener();
}

void Camera::TellListener()
{
    if (m_listener)
    {
        m_listener();
    }
}

void Camera::StopAcquisition()
{
    const auto lock = Features().Lock();
    m_acquiring = false;
    TellListener();
}

void Camera::FitRegion(const char *size, const char *offset, const char *sizeMax, int64_t sensor,
                       int64_t step)
{
    // The largest size is a multiple of 4, so of every increment.
    const int64_t largest = sensor / step / 4 * 4;
    Features().SetInteger(sizeMax, largest);
    const int64_t fitting = std::min(Features().Integer(size), largest);
    Features().SetInteger(size, fitting);
    Features().SetInteger(offset, std::min(Features().Integer(offset), largest - fitting));
}

bool Camera::IsReversed(const char *feature) const
{
    return Model().hasMosaic && Features().IsTrue(feature);
}

void Camera::UpdatePixelFormats()
{
    if (!Model().components.empty())
    {
        return UpdateComponentFormats();
    }
    FeatureSet &features = Features();
    constexpr std::string_view mosaics[] = {"RG", "GR", "GB", "BG"};
    const std::string_view mosaic =
        mosaics[(IsReversed("ReverseY") ? 2 : 0) + (IsReversed("ReverseX") ? 1 : 0)];
    const PixelFormat *const old = &FindPixelFormat(features.Integer("PixelFormat"));
    const PixelFormat *chosen = old->Mosaic().empty() ? old : &WithMosaic(*old, mosaic);
    const Feature &feature = PixelFormatOf(Model());
    std::set<std::string> unavailable;
    const PixelFormat *first = nullptr;
    for (const EnumEntry &entry : feature.entries)
    {
        if (feature.absentEntries.contains(entry.name))
        {
            continue;
        }
        const PixelFormat &format = FindPixelFormat(entry.value);
        const bool isUnwanted = !m_wantedFormats.empty() && !m_wantedFormats.contains(entry.name);
        if (isUnwanted || (!format.Mosaic().empty() && format.Mosaic() != mosaic))
        {
            unavailable.insert(entry.name);
        }
        else if (first == nullptr)
        {
            first = &format;
        }
    }
    if (first != nullptr && unavailable.contains(chosen->name))
    {
        chosen = first;
    }
    features.SetUnavailable("PixelFormat", std::move(unavailable));
    features.SetInteger("PixelFormat", chosen->code);
}

void Camera::Update()
{
    FeatureSet &features = Features();
    UpdatePixelFormats();
    const auto step = [&](const char *direction)
    {
        return features.Selected(std::string("Binning") + direction, 0) *
               features.Selected(std::string("Decimation") + direction, 0);
    };
    FitRegion("Width", "OffsetX", "WidthMax", features.Integer("SensorWidth"), step("Horizontal"));
    FitRegion("Height", "OffsetY", "HeightMax", features.Integer("SensorHeight"), step("Vertical"));
    if (!m_userSets.empty())
    {
        ShowScan3dValues();
    }
    m_settings = std::make_shared<FrameSettings>(ReadSettings());
    features.SetInteger("PayloadSize", static_cast<int64_t>(m_settings->payloadSize));
}

FrameSettings Camera::ReadSettings() const
{
    const FeatureSet &features = Features();
    const auto number = [&](const char *name) { return static_cast<uint32_t>(features.Integer(name)); };
    const auto factor = [&](const char *name)
    {
        return static_cast<uint32_t>(features.Selected(name, 0)); // there is the one selector value
    };
    FrameSettings settings{};
    ImageSettings image{};
    image.sensorWidth = number("SensorWidth");
    image.sensorHeight = number("SensorHeight");
    image.width = number("Width");
    image.height = number("Height");
    image.offsetX = number("OffsetX");
    image.offsetY = number("OffsetY");
    image.binningX = factor("BinningHorizontal");
    image.binningY = factor("BinningVertical");
    image.stepX = image.binningX * factor("DecimationHorizontal");
    image.stepY = image.binningY * factor("DecimationVertical");
    image.reverseX = IsReversed("ReverseX");
    image.reverseY = IsReversed("ReverseY");
    image.testPattern = features.Integer("TestPattern");
    settings.exposureTime = features.Float("ExposureTime");
    settings.gain = features.Float("Gain");
    image.brightness = settings.exposureTime / 10000.0 * std::pow(10.0, settings.gain / 20.0);
    settings.parts = ReadParts(image);
    settings.frameCheck = features.IsTrue("FrameCheck");
    settings.chunks = EnabledChunks();
    settings.payloadSize = simulator::PayloadSize(settings);
    return settings;
}

std::vector<FramePart> Camera::ReadParts(const ImageSettings &common) const
{
    const FeatureSet &features = Features();
    std::vector<FramePart> parts;
    if (Model().components.empty())
    {
        parts.push_back({common, 0});
        parts.back().image.format = &FindPixelFormat(features.Integer("PixelFormat"));
        return parts;
    }
    size_t offset = 0;
    for (const ImageComponent &component : Model().components)
    {
        if (features.Selected("ComponentEnable", component.entry.value) != 0)
        {
            FramePart part{common, offset};
            part.image.format = &FindPixelFormat(features.Selected("PixelFormat", component.entry.value));
            part.image.depth = {component.quantity, ReadScan3dValues(), NoiseOf(component.quantity)};
            offset += part.image.Bytes();
            parts.push_back(part);
        }
    }
    return parts;
}

double Camera::NoiseOf(Quantity quantity) const
{
    switch (quantity)
    {
    case Quantity::Range:
        return Features().Float("DepthNoise");
    case Quantity::Light:
        return Features().Float("IntensityNoise");
    case Quantity::Confidence:
        break;
    }
    return 0.0;
}

Scan3dValues Camera::ReadScan3dValues() const
{
    const FeatureSet &features = Features();
    const auto divided = [&](const char *name)
    { return static_cast<double>(features.Integer(name)) / scan3dDivisor; };
    return {features.Float("Scan3dCoordinateScale"), divided("Scan3dCoordinateOffset"),
            divided("Scan3dAxisMin"), divided("Scan3dAxisMax"), features.Float("Scan3dInvalidDataValue")};
}

void Camera::ShowScan3dValues()
{
    FeatureSet &features = Features();
    const auto &components = Model().components;
    const auto range =
        std::find_if(components.begin(), components.end(),
                     [](const ImageComponent &component) { return component.quantity == Quantity::Range; });
    const int64_t format = features.Selected("PixelFormat", range->entry.value);
    const Scan3dValues scan = InFormat(m_scan, FindPixelFormat(format));
    const auto multiply = [&](const char *name, double value)
    { features.SetInteger(name, std::llround(value * scan3dDivisor)); };
    features.SetFloat("Scan3dCoordinateScale", scan.scale);
    multiply("Scan3dCoordinateOffset", scan.offset);
    multiply("Scan3dAxisMin", scan.axisMin);
    multiply("Scan3dAxisMax", scan.axisMax);
    features.SetFloat("Scan3dInvalidDataValue", scan.invalidValue);
}

void Camera::ConnectUserSets()
{
    FeatureSet &features = Features();
    for (const Feature &feature : Model().features)
    {
        if (IsOfUserSets(feature))
        {
            m_factory[feature.name] = features.Value(feature.name);
        }
    }
    features.AfterWrite("UserSetLoad", [this] { LoadUserSet(); });
    features.AfterWrite("UserSetSave", [this] { SaveUserSet(); });
    features.CheckOnWrite("UserSetSave",
                          [this](int64_t)
                          {
                              if (&SelectedUserSet() == &m_userSets.front())
                              {
                                  throw Error(GC_ERR_ACCESS_DENIED, "The user set Default can not be saved");
                              }
                          });
}

const UserSet &Camera::SelectedUserSet() const
{
    const int64_t selected = Features().Integer("UserSetSelector");
    return *std::find_if(m_userSets.begin(), m_userSets.end(),
                         [&](const UserSet &set) { return set.entry.value == selected; });
}

void Camera::LoadUserSet()
{
    const UserSet &set = SelectedUserSet();
    const SavedSet content = m_unit.Saved(set.entry.value).value_or(SavedSet{set.scan, m_factory});
    for (const auto &[name, value] : content.features)
    {
        Features().SetValue(name, value);
    }
    m_scan = content.scan;
    TellListener(); // of the frame rate
}

void Camera::SaveUserSet()
{
    SavedSet content{m_scan, {}};
    for (const auto &[name, value] : m_factory)
    {
        content.features[name] = Features().Value(name);
    }
    m_unit.Save(SelectedUserSet().entry.value, std::move(content));
}

void Camera::ConnectDepth()
{
    FeatureSet &features = Features();
    const auto &components = Model().components;
    if (components.empty())
    {
        return;
    }
    for (const ImageComponent &component : components)
    {
        const int64_t key = component.entry.value;
        features.SetSelected("ComponentEnable", key, &component == &components.front());
        features.SetSelected("PixelFormat", key, FindPixelFormat(component.formats.front()).code);
    }
    features.CheckOnWrite("ComponentEnable",
                          [this](int64_t value)
                          {
                              const int64_t selected = Features().Integer("ComponentSelector");
                              const auto isOther = [&](const ImageComponent &component)
                              {
                                  const int64_t key = component.entry.value;
                                  return key != selected && Features().Selected("ComponentEnable", key) != 0;
                              };
                              const auto &all = Model().components;
                              if (value == 0 && std::none_of(all.begin(), all.end(), isOther))
                              {
                                  throw Error(GC_ERR_INVALID_VALUE, "One component at least is always sent");
                              }
                          });
    m_scan = m_userSets.front().scan;
}

void Camera::ShowReplayedSensor()
{
    FeatureSet &features = Features();
    const Lens &lens = m_depthReplay->lens;
    for (const auto &[sensor, size, side] :
         {std::tuple("SensorWidth", "Width", lens.width), std::tuple("SensorHeight", "Height", lens.height)})
    {
        features.SetInteger(sensor, side);
        features.SetInteger(size, side); // made smaller by Update where it must be
    }
    double least = m_userSets.front().scan.scale;
    double largest = least;
    for (const UserSet &set : m_userSets)
    {
        least = std::min(least, set.scan.scale);
        largest = std::max(largest, InFormat(set.scan, FindPixelFormat("Coord3D_C8")).scale);
    }
    features.SetFloat("Scan3dCoordinateScaleMin", least);
    features.SetFloat("Scan3dCoordinateScaleMax", largest);
    m_fileContents.front().content = lens.File();
}

void Camera::UpdateComponentFormats()
{
    FeatureSet &features = Features();
    const auto isWanted = [&](const std::string &name) { return m_wantedFormats.contains(name); };
    std::set<std::string> available;
    for (const ImageComponent &component : Model().components)
    {
        std::vector<std::string> formats;
        std::copy_if(component.formats.begin(), component.formats.end(), std::back_inserter(formats),
                     isWanted);
        if (formats.empty())
        {
            formats = component.formats;
        }
        const int64_t key = component.entry.value;
        const std::string chosen = FindPixelFormat(features.Selected("PixelFormat", key)).name;
        if (std::find(formats.begin(), formats.end(), chosen) == formats.end())
        {
            features.SetSelected("PixelFormat", key, FindPixelFormat(formats.front()).code);
        }
        if (key == features.Integer("ComponentSelector"))
        {
            available.insert(formats.begin(), formats.end());
        }
    }
    std::set<std::string> unavailable;
    for (const EnumEntry &entry : PixelFormatOf(Model()).entries)
    {
        if (!available.contains(entry.name))
        {
            unavailable.insert(entry.name);
        }
    }
    features.SetUnavailable("PixelFormat", std::move(unavailable));
}

std::vector<Chunk> Camera::EnabledChunks() const
{
    std::vector<Chunk> enabled;
    if (Features().IsTrue("ChunkModeActive"))
    {
        for (const Chunk &chunk : Model().chunks)
        {
            if (Features().Selected("ChunkEnable", chunk.entry.value) != 0)
            {
                enabled.push_back(chunk);
            }
        }
    }
    return enabled;
}

std::optional<FrameOrder> Camera::NextFrame()
{
    const auto lock = Features().Lock();
    if (!m_acquiring)
    {
        return std::nullopt;
    }
    FrameOrder order{++m_sent, Nanoseconds(), m_settings};
    if (--m_remaining == 0)
    {
        m_acquiring = false;
    }
    return order;
}

bool Camera::IsAcquiring() const
{
    const auto lock = Features().Lock();
    return m_acquiring;
}

double Camera::FrameRate() const
{
    return Features().Float("AcquisitionFrameRate");
}

std::function<std::unique_ptr<FrameSource>()> Camera::Sources() const
{
    return m_depthReplay ? DepthReplaySources(*m_depthReplay) : Model().makeSource;
}

size_t Camera::PayloadSize() const
{
    return static_cast<size_t>(Features().Integer("PayloadSize"));
}

void Camera::SetListener(const void *owner, std::function<void()> listener)
{
    const auto lock = Features().Lock();
    m_listenerOwner = owner;
    m_listener = std::move(listener);
}

void Camera::RemoveListener(const void *owner)
{
    const auto lock = Features().Lock();
    if (m_listenerOwner == owner)
    {
        m_listener = nullptr;
    }
}

} // namespace GenTL::simulator
