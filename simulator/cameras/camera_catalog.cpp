#include "simulator/cameras/camera_catalog.h"

#include "simulator/cameras/area_camera.h"
#include "simulator/cameras/camera_features.h"
#include "simulator/cameras/chunk_control.h"
#include "simulator/cameras/depth_features.h"
#include "simulator/cameras/event_control.h"
#include "simulator/cameras/file_access.h"
#include "simulator/cameras/format_control.h"
#include "simulator/cameras/region_control.h"
#include "simulator/cameras/trigger_control.h"
#include "simulator/cameras/wide_cameras.h"
#include "simulator/depth/depth_replay.h"
#include "simulator/depth/depth_scene.h"
#include "simulator/depth/depth_source.h"

#include <fmt/format.h>

#include <limits>
#include <string_view>

namespace GenTL::simulator
{

namespace
{

std::vector<std::string> MonoFormats()
{
    return {"Mono8", "Mono10", "Mono12", "Mono10p", "Mono12p", "Mono10g40QVR", "Mono12g24QVR"};
}

/// The formats of the four mosaics: "BayerRG8", ... for the ending "8".
std::vector<std::string> MosaicFormats(const std::vector<std::string> &endings)
{
    std::vector<std::string> names;
    for (const char *const mosaic : {"RG", "GR", "GB", "BG"})
    {
        for (const auto &ending : endings)
        {
            names.push_back(fmt::format("Bayer{}{}", mosaic, ending));
        }
    }
    return names;
}

CameraModel MonoCamera(CameraModel camera, const Sensor &sensor, Feature pixelFormat)
{
    return AreaCamera(std::move(camera), sensor, {std::move(pixelFormat)}, Makes<FormatControl>());
}

/// A camera with ReverseX and ReverseY, which change the mosaic of its Bayer formats.
CameraModel MosaicCamera(CameraModel camera, const Sensor &sensor, Feature pixelFormat)
{
    return AreaCamera(std::move(camera), sensor,
                      Joined(FlipFeatures(), std::vector{std::move(pixelFormat).Volatile()}),
                      Makes<MosaicFormatControl>());
}

CameraModel MonoM5()
{
    return {.model = "OVRA-M5",
            .number = 1,
            .toolTip = "Simulated mono camera with 5 megapixels",
            .interfaceIndex = 0,
            .ipAddress = 0xC0A80A15,
            .guid = "5C6E2C1B-7A54-4F53-9C2B-2F6D9D0B6E",
            .complete = [](const CameraModel &camera)
            {
                return WithTrigger(
                    WithEvents(MonoCamera(camera, {.width = 2448, .height = 2048, .stepX = 4, .stepY = 2},
                                          PixelFormatFeature({.sent = MonoFormats()}))));
            }};
}

CameraModel MonoM1()
{
    return {.model = "OVRA-M1",
            .number = 2,
            .toolTip = "Simulated mono camera with 1.3 megapixels",
            .interfaceIndex = 1,
            .zippedDescription = true,
            .ipAddress = 0xC0A80B15,
            .guid = "1DB8E1A3-2B0C-4A8E-8B57-60F6D6C5A3",
            .complete = [](const CameraModel &camera)
            {
                return WithTrigger(MonoCamera(camera, {.width = 1280, .height = 1024},
                                              PixelFormatFeature({.sent = MonoFormats()})));
            }};
}

/// A camera of another family on the same network, for consumers that choose cameras by their model.
CameraModel Foreign()
{
    return {.model = "SIM-FOREIGN",
            .number = 3,
            .toolTip = "Simulated mono camera of another family",
            .interfaceIndex = 1,
            .ipAddress = 0xC0A80B16,
            .guid = "E6B2E8F4-95B3-4C0E-A6C9-0A7D9E2F1B",
            .complete = [](const CameraModel &camera)
            {
                return MonoCamera(
                    camera, {.width = 640, .height = 480},
                    PixelFormatFeature({.sent = MonoFormats(), .absent = {"Mono10g40QVR", "Mono12g24QVR"}}));
            }};
}

CameraModel WithFiles(CameraModel camera, const std::vector<CameraFile> &files)
{
    camera.features = Joined(std::move(camera.features), FileAccessFeatures(files));
    camera.controls.push_back(Makes<FileAccess>(files));
    return camera;
}

/// A file in which a user keeps notes on the camera.
CameraFile UserFile()
{
    constexpr std::string_view content = "Notes of the user.\n";
    constexpr size_t capacity = 4096;
    return {{"UserFile", 0}, {content.begin(), content.end()}, capacity};
}

CameraModel ColourC5()
{
    return {
        .model = "OVRA-C5",
        .number = 4,
        .toolTip = "Simulated colour camera with 5 megapixels",
        .interfaceIndex = 0,
        .zippedDescription = true,
        .ipAddress = 0xC0A80A16,
        .guid = "0F5B1C77-4C21-4D0E-8A0B-6B1F2D9C7A",
        .complete = [](const CameraModel &identity)
        {
            auto camera = MosaicCamera(
                identity, {.width = 2448, .height = 2048, .stepX = 4, .stepY = 2},
                PixelFormatFeature(
                    {.sent = Joined(MosaicFormats({"8", "10", "12", "10p", "12p", "10g40QVR", "12g24QVR"}),
                                    std::vector<std::string>{"RGB8", "RGB10p32", "BGR10p32"}),
                     .unpacked = {{"RGB10", 0x02300018}, {"BGR10", 0x02300019}}}));
            return WithTrigger(WithFiles(std::move(camera), {UserFile()}));
        }};
}

/// The formats of a camera that sends several images in one.
Formats InterleavedFormats()
{
    return {.sent = Joined(
                std::vector<std::string>{"Mono8", "Mono8_I_A_B", "Mono10p_I_A_B", "Mono12p_I_A_B",
                                         "Mono10g40QVR_I_A_B", "Mono12g24QVR_I_A_B", "Mono8_I_AB_CD",
                                         "Mono10p_I_AB_CD", "Mono12p_I_AB_CD", "Mono10g40QVR_I_AB_CD",
                                         "Mono12g24QVR_I_AB_CD"},
                MosaicFormats({"8_I_A_B", "10p_I_A_B", "12p_I_A_B", "10g40QVR_I_A_B", "12g24QVR_I_A_B"})),
            .unpacked = {{"Mono8_AB", 0x8110000C},
                         {"Mono10_AB", 0x81200022},
                         {"Mono12_AB", 0x81100007},
                         {"Mono10_ABCD", 0x81400012},
                         {"Mono12_ABCD", 0x81400013},
                         {"BayerRG10_AB", 0x81100003},
                         {"BayerBG10_AB", 0x81100004},
                         {"BayerGR10_AB", 0x81100005},
                         {"BayerGB10_AB", 0x81100006},
                         {"BayerRG12_AB", 0x81100008},
                         {"BayerBG12_AB", 0x81100009},
                         {"BayerGR12_AB", 0x8110000A},
                         {"BayerGB12_AB", 0x8110000B}}};
}

/// Sends several images in one, their lines or pixels in turn, each with another exposure.
CameraModel SeveralS2()
{
    return {.model = "OVRA-S2",
            .number = 5,
            .toolTip = "Simulated camera with interleaved images",
            .interfaceIndex = 1,
            .ipAddress = 0xC0A80B17,
            .guid = "B9A0A3D2-0B5E-4E1C-9D3F-2E7C5A6B8D",
            .complete = [](const CameraModel &camera)
            {
                constexpr size_t length = 8; // in four bytes the codes with the highest bit would be negative
                return MosaicCamera(camera, {.width = 1600, .height = 1200, .stepX = 4, .stepY = 2},
                                    PixelFormatFeature(InterleavedFormats()).Length(length));
            }};
}

/// Sends Mono8 and packed formats only. Its description reads the bits of their entries in every BitForm.
CameraModel FormulaF1()
{
    return {.model = "OVRA-F1",
            .number = 6,
            .toolTip = "Simulated mono camera with packed formats only",
            .interfaceIndex = 1,
            .ipAddress = 0xC0A80B18,
            .guid = "7D4E9B10-6A2C-4B8F-A1E5-93C0D7F4E6",
            .complete = [](const CameraModel &camera)
            {
                auto pixelFormat = PixelFormatFeature(
                    {.sent = {"Mono8", "Mono10p", "Mono12g24QVR", "Mono12p", "Mono10g40QVR"},
                     .unpacked = {{"Mono10", 0x01100003}, {"Mono12", 0x01100005}}});
                pixelFormat.mixedConditions = true;
                return MonoCamera(camera, {.width = 640, .height = 480}, std::move(pixelFormat));
            }};
}

constexpr int64_t rangeComponent = 4;

std::vector<ImageComponent> DepthComponents()
{
    return {{{"Range", rangeComponent}, Quantity::Range, {"Coord3D_C16", "Coord3D_C8"}},
            {{"Intensity", 1}, Quantity::Light, {"Mono8"}},
            {{"Confidence", 9}, Quantity::Confidence, {"Confidence8"}}};
}

constexpr double defaultScale = 0.5;

/// In a replay, the default set shows the values of the pictures unchanged.
std::vector<UserSet> DepthUserSets(const std::optional<DepthReplay> &replay)
{
    constexpr Scan3dValues ofScene = {defaultScale, 0.0, 1.0, 4095.0, 0.0};
    constexpr double largest = std::numeric_limits<uint16_t>::max();
    return {{{"Default", 0}, replay ? Scan3dValues{replay->scale, 0.0, 1.0, largest, 0.0} : ofScene},
            {{"UserSet0", 1}, {0.125, 0.0, 1.0, 16383.0, 0.0}},
            {{"UserSet1", 2}, {8.0, 0.0, 1.0, 255.0, 0.0}},
            {{"UserSet2", 3}, {0.5, 200.0, 2.0, 4000.0, 1.0}}};
}

Formats FormatsOf(const std::vector<ImageComponent> &components)
{
    Formats formats{.sent = {}, .unpacked = {{"Coord3D_C32f", 0x012000BF}, {"Coord3D_ABC32f", 0x026000C0}}};
    for (const auto &component : components)
    {
        formats.sent.insert(formats.sent.end(), component.formats.begin(), component.formats.end());
    }
    return formats;
}

/// @param replay none: the images of the scene
CameraModel DepthCamera(CameraModel camera, const std::optional<DepthReplay> &replay)
{
    camera.chunks = StandardChunks();
    const auto components = DepthComponents();
    const auto sets = DepthUserSets(replay);
    const auto &lens = replay ? replay->lens : DepthLens();
    const std::vector<CameraFile> files = {{{"LensCalibrationData", 0}, lens.File()}};
    camera.features =
        Joined(ComponentFeatures(components), std::vector{IntensityNoiseFeature()}, Scan3dFeatures(sets),
               UserSetFeatures(sets), FileAccessFeatures(files), DeviceFeatures(camera),
               GeometryFeatures({.width = lens.width, .height = lens.height}, Decimation::SendsMiddlePixel),
               std::vector{PixelFormatFeature(FormatsOf(components)).SelectedBy("ComponentSelector"),
                           TestPatternFeature()},
               AcquisitionFeatures(), ChunkFeatures(camera.chunks), TransportFeatures());
    camera.controls = {Makes<RegionControl>(), Makes<ComponentControl>(components), Makes<ChunkControl>(),
                       Makes<FileAccess>(files), Makes<DepthOutput>(rangeComponent, sets)};
    camera.sources = [replay]
    {
        return replay ? DepthReplaySources(*replay)
                      : MakeFrameSource([] { return std::make_unique<DepthSource>(); });
    };
    return camera;
}

/// Measures depth through a lens with distortion, and sends up to three images of it in a buffer: of the
/// scene, or of the pictures of a replay.
CameraModel DepthD1()
{
    return {.model = "OVRA-D1",
            .number = 7,
            .toolTip = "Simulated depth camera",
            .interfaceIndex = 1,
            .ipAddress = 0xC0A80B19,
            .guid = "3A9D6F52-8C1E-4B7A-9E04-5D2F81C7B6",
            .complete = [](const CameraModel &camera)
            { return DepthCamera(camera, FindDepthReplay(defaultScale)); }};
}

} // namespace

const std::vector<CameraModel> &CameraCatalog()
{
    static const std::vector<CameraModel> catalog = {MonoM5(),   MonoM1(),    Foreign(),
                                                     ColourC5(), SeveralS2(), FormulaF1(),
                                                     DepthD1(),  WideGigE(),  WideUsb()};
    return catalog;
}

} // namespace GenTL::simulator
