#include "camera_model.h"
#include "depth_scene.h"
#include "depth_source.h"
#include "file_access.h"
#include "pattern_source.h"
#include "replay_source.h"
#include "scene_source.h"

namespace GenTL::simulator
{

namespace
{

// Features of the image layout can not change while frames may be under way.
constexpr const char *frozen = "ParametersLocked";

std::unique_ptr<FrameSource> MakeSceneSource()
{
    std::unique_ptr<FrameSource> replay = MakeReplaySource();
    return replay ? std::move(replay) : std::make_unique<SceneSource>();
}

/** What tells one 2D camera from another. */
struct AreaSensor
{
    int64_t width;
    int64_t height;
    int64_t stepX; /**< increment of Width and OffsetX */
    int64_t stepY;
    std::vector<std::string> formats;
    /** Formats that a consumer might make of what the camera sends: the camera itself never has them. */
    std::vector<EnumEntry> unpackedFormats = {};
    std::set<std::string> absentFormats = {};
    bool hasMosaic = false;
    bool mixedConditions = false;
    size_t pixelFormatLength = 4;
    bool hasComponents = false;
};

const std::vector<std::string> &MonoFormats()
{
    static const std::vector<std::string> names = {"Mono8",   "Mono10",       "Mono12",      "Mono10p",
                                                   "Mono12p", "Mono10g40QVR", "Mono12g24QVR"};
    return names;
}

constexpr const char *mosaics[] = {"RG", "GR", "GB", "BG"};

/** The formats of each mosaic, as "BayerRG8" of the ending "8". */
void AppendMosaics(std::vector<std::string> &names, const std::vector<std::string> &endings)
{
    for (const char *const mosaic : mosaics)
    {
        for (const std::string &ending : endings)
        {
            names.push_back(std::string("Bayer") + mosaic + ending);
        }
    }
}

void Append(std::vector<Feature> &list, std::vector<Feature> more)
{
    for (Feature &feature : more)
    {
        list.push_back(std::move(feature));
    }
}

std::vector<Feature> DeviceControl(const std::string &model, const std::string &serialNumber)
{
    const char *const category = "DeviceControl";
    return {
        Text(category, "DeviceVendorName", "Name of the manufacturer.", 32)
            .DefaultText(cameraVendor)
            .ReadOnly(),
        Text(category, "DeviceModelName", "Model of the camera.", 32).DefaultText(model).ReadOnly(),
        Text(category, "DeviceManufacturerInfo", "What the manufacturer has to say.", 48)
            .DefaultText("Simulated camera")
            .ReadOnly(),
        Text(category, "DeviceVersion", "Version of the camera.", 32).DefaultText(cameraVersion).ReadOnly(),
        Text(category, "DeviceFirmwareVersion", "Version of the camera's firmware.", 32)
            .DefaultText(cameraVersion)
            .ReadOnly(),
        Text(category, "DeviceSerialNumber", "Serial number of the camera.", 32)
            .DefaultText(serialNumber)
            .ReadOnly(),
        Text(category, "DeviceUserID", "Name that the user gives the camera.", 32),
        Integer(category, "DeviceSFNCVersionMajor", "Major version of the naming convention.")
            .Default(2)
            .ReadOnly()
            .Visibility("Expert"),
        Integer(category, "DeviceSFNCVersionMinor", "Minor version of the naming convention.")
            .Default(5)
            .ReadOnly()
            .Visibility("Expert"),
        Integer(category, "DeviceSFNCVersionSubMinor", "Sub minor version of the naming convention.")
            .Default(0)
            .ReadOnly()
            .Visibility("Expert"),
        Command(category, "TimestampLatch", "Latches the camera's clock into TimestampLatchValue.")
            .Visibility("Expert"),
        Integer(category, "TimestampLatchValue", "The clock as it was latched last.")
            .Length(8)
            .ReadOnly()
            .Volatile()
            .Unit("ns")
            .Visibility("Expert"),
    };
}

std::vector<Feature> SensorGeometry(const AreaSensor &sensor)
{
    const char *const category = "ImageFormatControl";
    constexpr int64_t smallest = 16; // leaves room for the header of a checked frame at 2 rows
    return {
        Integer(category, "SensorWidth", "Width of the sensor in pixels.")
            .Default(sensor.width)
            .ReadOnly()
            .Unit("px")
            .Visibility("Expert"),
        Integer(category, "SensorHeight", "Height of the sensor in pixels.")
            .Default(sensor.height)
            .ReadOnly()
            .Unit("px")
            .Visibility("Expert"),
        Integer(category, "WidthMax", "Largest width of the image with the binning and decimation in force.")
            .Default(sensor.width)
            .ReadOnly()
            .Volatile()
            .Unit("px")
            .Visibility("Expert"),
        Integer(category, "HeightMax",
                "Largest height of the image with the binning and decimation in force.")
            .Default(sensor.height)
            .ReadOnly()
            .Volatile()
            .Unit("px")
            .Visibility("Expert"),
        Integer(category, "Width", "Width of the image in pixels.")
            .Default(sensor.width)
            .Range(smallest, Difference("WidthMax", "OffsetX"), sensor.stepX)
            .Unit("px")
            .LockedBy(frozen)
            .Volatile(),
        Integer(category, "Height", "Height of the image in pixels.")
            .Default(sensor.height)
            .Range(2, Difference("HeightMax", "OffsetY"), sensor.stepY)
            .Unit("px")
            .LockedBy(frozen)
            .Volatile(),
        Integer(category, "OffsetX", "Pixels from the left edge of the sensor to the image.")
            .Range(0, Difference("WidthMax", "Width"), sensor.stepX)
            .Unit("px")
            .LockedBy(frozen)
            .Volatile(),
        Integer(category, "OffsetY", "Pixels from the upper edge of the sensor to the image.")
            .Range(0, Difference("HeightMax", "Height"), sensor.stepY)
            .Unit("px")
            .LockedBy(frozen)
            .Volatile(),
    };
}

/** Selector, horizontal and vertical factor of "Binning" or "Decimation". */
std::vector<Feature> Reduction(const std::string &name, const std::string &effect)
{
    const char *const category = "ImageFormatControl";
    const auto factor = [&](const char *direction)
    {
        return Integer(category, name + direction, effect)
            .Default(1)
            .Range(1, 4)
            .SelectedBy(name + "Selector")
            .LockedBy(frozen)
            .Visibility("Expert");
    };
    return {Enumeration(category, name + "Selector", "Where on the way of the pixels it is done.",
                        {{"Sensor", 0}})
                .Visibility("Expert"),
            factor("Horizontal"), factor("Vertical")};
}

std::vector<Feature> ImageFormat(const AreaSensor &sensor)
{
    const char *const category = "ImageFormatControl";
    std::vector<EnumEntry> entries;
    std::set<std::string> absent = sensor.absentFormats;
    for (const std::string &name : sensor.formats)
    {
        entries.push_back({name, FindPixelFormat(name).code});
    }
    for (const EnumEntry &entry : sensor.unpackedFormats)
    {
        entries.push_back(entry);
        absent.insert(entry.name);
    }
    Feature format = Enumeration(category, "PixelFormat", "Format of the pixels that the camera sends.",
                                 std::move(entries))
                         .Length(sensor.pixelFormatLength)
                         .ConditionalEntries(std::move(absent))
                         .LockedBy(frozen);
    if (sensor.hasComponents)
    {
        format.selector = "ComponentSelector";
    }
    format.mixedConditions = sensor.mixedConditions;
    format.changesByItself = sensor.hasMosaic;
    std::vector<Feature> features;
    if (sensor.hasMosaic)
    {
        features.push_back(
            Boolean(category, "ReverseX", "Turns the image's left to its right.").LockedBy(frozen));
        features.push_back(Boolean(category, "ReverseY", "Turns the image upside down.").LockedBy(frozen));
    }
    features.push_back(std::move(format));
    features.push_back(
        Enumeration(category, "TestPattern", "Pattern that replaces the sensor's image.", TestPatterns()));
    return features;
}

std::vector<Feature> AcquisitionControl()
{
    const char *const category = "AcquisitionControl";
    return {
        Enumeration(category, "AcquisitionMode", "How many frames an AcquisitionStart gives.",
                    {{"Continuous", 0}, {"SingleFrame", 1}, {"MultiFrame", 2}})
            .LockedBy(frozen),
        Integer(category, "AcquisitionFrameCount", "Frames of an acquisition in the mode MultiFrame.")
            .Default(1)
            .Range(1, 1000000)
            .LockedBy(frozen),
        Command(category, "AcquisitionStart", "Starts to send frames."),
        Command(category, "AcquisitionStop", "Stops after the current frame."),
        Float(category, "AcquisitionFrameRate",
              "Frames in a second; 0 for as fast as the consumer gives buffers.")
            .FloatRange(0.0, 10000.0)
            .Unit("Hz"),
        Float(category, "ExposureTime", "How long the sensor collects light; 10000 shows the scene as it is.")
            .DefaultFloat(10000.0)
            .FloatRange(10.0, 1000000.0)
            .Unit("us")
            .Representation("Logarithmic"),
        Float("AnalogControl", "Gain", "Amplification of the brightness.")
            .FloatRange(0.0, 24.0)
            .Unit("dB")
            .Representation("Linear"),
    };
}

std::vector<Feature> ChunkControl(const std::vector<Chunk> &chunks)
{
    const char *const category = "ChunkDataControl";
    std::vector<EnumEntry> entries;
    entries.reserve(chunks.size());
    for (const Chunk &chunk : chunks)
    {
        entries.push_back(chunk.entry);
    }
    return {
        Boolean(category, "ChunkModeActive", "Sends the enabled chunks behind the image.")
            .LockedBy(frozen)
            .Visibility("Expert"),
        Enumeration(category, "ChunkSelector", "Chunk that ChunkEnable is about.", std::move(entries))
            .Visibility("Expert"),
        Boolean(category, "ChunkEnable", "Sends the selected chunk when the chunk mode is active.")
            .SelectedBy("ChunkSelector")
            .LockedBy(frozen)
            .ShownLockedBy("ChunkEnableLocked")
            .Visibility("Expert"),
        Integer("", "ChunkEnableLocked",
                "1 while the image layout is frozen, and for the chunk that is always sent.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific(),
    };
}

std::vector<Feature> TransportControl()
{
    const char *const category = "TransportLayerControl";
    return {
        Integer(category, "PayloadSize", "Bytes of a frame with its chunks.")
            .ReadOnly()
            .Volatile()
            .Unit("B")
            .Visibility("Expert"),
        Integer(category, "TLParamsLocked", "Not 0 while a consumer streams: the image layout is frozen.")
            .Range(0, 1)
            .Visibility("Invisible"),
        Integer("", "ParametersLocked", "1 while the image layout is frozen.")
            .ReadOnly()
            .Volatile()
            .VendorSpecific(),
        Boolean("TestControl", "FrameCheck",
                "Puts frame number and checksum into the first bytes of the image.")
            .LockedBy(frozen)
            .VendorSpecific(),
    };
}

std::vector<Chunk> StandardChunks()
{
    return {
        {{"Image", 0}, 1, ChunkValue::Image, FeatureKind::Integer, 0, ""},
        {{"FrameID", 1}, 2, ChunkValue::FrameId, FeatureKind::Integer, 8, "Number of the frame, from 1 on."},
        {{"Timestamp", 2},
         3,
         ChunkValue::Timestamp,
         FeatureKind::Integer,
         8,
         "When the frame was exposed, in ns."},
        {{"ExposureTime", 3},
         4,
         ChunkValue::ExposureTime,
         FeatureKind::Float,
         4,
         "Exposure time of the frame in us."},
        {{"Gain", 4}, 5, ChunkValue::Gain, FeatureKind::Float, 4, "Gain of the frame in dB."},
        {{"ImageChecksum", 5},
         6,
         ChunkValue::ImageChecksum,
         FeatureKind::Integer,
         4,
         "CRC-32 of the image without its filling."},
    };
}

/** Adds features and chunks of a camera with one 2D sensor, whose default format is the list's first. */
CameraModel AreaCamera(CameraModel camera, const AreaSensor &sensor)
{
    camera.chunks = StandardChunks();
    camera.hasMosaic = sensor.hasMosaic;
    Append(camera.features, DeviceControl(camera.model, camera.serialNumber));
    Append(camera.features, SensorGeometry(sensor));
    Append(camera.features,
           Reduction("Binning", "Sensor pixels that are averaged into one image pixel in this direction."));
    Append(camera.features,
           Reduction("Decimation", std::string("Of so many pixels in this direction only ") +
                                       (sensor.hasComponents ? "the middle" : "the first") + " is sent."));
    Append(camera.features, ImageFormat(sensor));
    Append(camera.features, AcquisitionControl());
    Append(camera.features, ChunkControl(camera.chunks));
    Append(camera.features, TransportControl());
    return camera;
}

CameraModel MonoM5()
{
    CameraModel camera;
    camera.model = "OVRA-M5";
    camera.serialNumber = "SIM0001";
    camera.toolTip = "Simulated mono camera with 5 megapixels";
    camera.interfaceIndex = 0;
    camera.zippedDescription = false;
    camera.ipAddress = 0xC0A80A15;
    camera.macAddress = 0x020000000101;
    camera.productGuid = "5C6E2C1B-7A54-4F53-9C2B-2F6D9D0B6E01";
    camera.versionGuid = "5C6E2C1B-7A54-4F53-9C2B-2F6D9D0B6E02";
    camera.makeSource = MakeSceneSource;
    return AreaCamera(std::move(camera), {2448, 2048, 4, 2, MonoFormats()});
}

CameraModel MonoM1()
{
    CameraModel camera;
    camera.model = "OVRA-M1";
    camera.serialNumber = "SIM0002";
    camera.toolTip = "Simulated mono camera with 1.3 megapixels";
    camera.interfaceIndex = 1;
    camera.zippedDescription = true;
    camera.ipAddress = 0xC0A80B15;
    camera.macAddress = 0x020000000102;
    camera.productGuid = "1DB8E1A3-2B0C-4A8E-8B57-60F6D6C5A301";
    camera.versionGuid = "1DB8E1A3-2B0C-4A8E-8B57-60F6D6C5A302";
    camera.makeSource = MakeSceneSource;
    return AreaCamera(std::move(camera), {1280, 1024, 1, 1, MonoFormats()});
}

/** A camera of another family on the same network: visible, and not for every consumer. */
CameraModel Foreign()
{
    CameraModel camera;
    camera.model = "SIM-FOREIGN";
    camera.serialNumber = "SIM0003";
    camera.toolTip = "Simulated mono camera of another family";
    camera.interfaceIndex = 1;
    camera.zippedDescription = false;
    camera.ipAddress = 0xC0A80B16;
    camera.macAddress = 0x020000000103;
    camera.productGuid = "E6B2E8F4-95B3-4C0E-A6C9-0A7D9E2F1B01";
    camera.versionGuid = "E6B2E8F4-95B3-4C0E-A6C9-0A7D9E2F1B02";
    camera.makeSource = MakeSceneSource;
    return AreaCamera(std::move(camera),
                      {640, 480, 1, 1, MonoFormats(), {}, {"Mono10g40QVR", "Mono12g24QVR"}});
}

CameraModel ColourC5()
{
    CameraModel camera;
    camera.model = "OVRA-C5";
    camera.serialNumber = "SIM0004";
    camera.toolTip = "Simulated colour camera with 5 megapixels";
    camera.interfaceIndex = 0;
    camera.zippedDescription = true;
    camera.ipAddress = 0xC0A80A16;
    camera.macAddress = 0x020000000104;
    camera.productGuid = "0F5B1C77-4C21-4D0E-8A0B-6B1F2D9C7A01";
    camera.versionGuid = "0F5B1C77-4C21-4D0E-8A0B-6B1F2D9C7A02";
    camera.makeSource = MakeSceneSource;
    AreaSensor sensor{2448, 2048, 4, 2, {}};
    AppendMosaics(sensor.formats, {"8", "10", "12", "10p", "12p", "10g40QVR", "12g24QVR"});
    sensor.formats.insert(sensor.formats.end(), {"RGB8", "RGB10p32", "BGR10p32"});
    sensor.unpackedFormats = {{"RGB10", 0x02300018}, {"BGR10", 0x02300019}};
    sensor.hasMosaic = true;
    return AreaCamera(std::move(camera), sensor);
}

/** Sends several images in one, their lines or pixels in turn, each with another exposure. */
CameraModel SeveralS2()
{
    CameraModel camera;
    camera.model = "OVRA-S2";
    camera.serialNumber = "SIM0005";
    camera.toolTip = "Simulated camera with interleaved images";
    camera.interfaceIndex = 1;
    camera.zippedDescription = false;
    camera.ipAddress = 0xC0A80B17;
    camera.macAddress = 0x020000000105;
    camera.productGuid = "B9A0A3D2-0B5E-4E1C-9D3F-2E7C5A6B8D01";
    camera.versionGuid = "B9A0A3D2-0B5E-4E1C-9D3F-2E7C5A6B8D02";
    camera.makeSource = MakeSceneSource;
    AreaSensor sensor{1600, 1200, 4, 2, {}};
    sensor.formats = {"Mono8",
                      "Mono8_I_A_B",
                      "Mono10p_I_A_B",
                      "Mono12p_I_A_B",
                      "Mono10g40QVR_I_A_B",
                      "Mono12g24QVR_I_A_B",
                      "Mono8_I_AB_CD",
                      "Mono10p_I_AB_CD",
                      "Mono12p_I_AB_CD",
                      "Mono10g40QVR_I_AB_CD",
                      "Mono12g24QVR_I_AB_CD"};
    AppendMosaics(sensor.formats, {"8_I_A_B", "10p_I_A_B", "12p_I_A_B", "10g40QVR_I_A_B", "12g24QVR_I_A_B"});
    sensor.unpackedFormats = {
        {"Mono8_AB", 0x8110000C},     {"Mono10_AB", 0x81200022},    {"Mono12_AB", 0x81100007},
        {"Mono10_ABCD", 0x81400012},  {"Mono12_ABCD", 0x81400013},  {"BayerRG10_AB", 0x81100003},
        {"BayerBG10_AB", 0x81100004}, {"BayerGR10_AB", 0x81100005}, {"BayerGB10_AB", 0x81100006},
        {"BayerRG12_AB", 0x81100008}, {"BayerBG12_AB", 0x81100009}, {"BayerGR12_AB", 0x8110000A},
        {"BayerGB12_AB", 0x8110000B}};
    sensor.hasMosaic = true;
    sensor.pixelFormatLength = 8; // the codes with the highest bit would be negative in four bytes
    return AreaCamera(std::move(camera), sensor);
}

/** Sends packed formats only, and its description asks for the bits of their entries in many forms. */
CameraModel FormulaF1()
{
    CameraModel camera;
    camera.model = "OVRA-F1";
    camera.serialNumber = "SIM0006";
    camera.toolTip = "Simulated mono camera with packed formats only";
    camera.interfaceIndex = 1;
    camera.zippedDescription = false;
    camera.ipAddress = 0xC0A80B18;
    camera.macAddress = 0x020000000106;
    camera.productGuid = "7D4E9B10-6A2C-4B8F-A1E5-93C0D7F4E601";
    camera.versionGuid = "7D4E9B10-6A2C-4B8F-A1E5-93C0D7F4E602";
    camera.makeSource = MakeSceneSource;
    AreaSensor sensor{640, 480, 1, 1, {}};
    sensor.formats = {"Mono8", "Mono10p", "Mono12g24QVR", "Mono12p", "Mono10g40QVR"};
    sensor.unpackedFormats = {{"Mono10", 0x01100003}, {"Mono12", 0x01100005}};
    sensor.mixedConditions = true;
    return AreaCamera(std::move(camera), sensor);
}

std::vector<Feature> ComponentControl(const std::vector<ImageComponent> &components)
{
    const char *const category = "ImageFormatControl";
    std::vector<EnumEntry> entries;
    entries.reserve(components.size());
    for (const ImageComponent &component : components)
    {
        entries.push_back(component.entry);
    }
    return {
        Enumeration(category, "ComponentSelector", "Image that ComponentEnable and PixelFormat are about.",
                    std::move(entries)),
        Boolean(category, "ComponentEnable", "Sends the selected image.")
            .SelectedBy("ComponentSelector")
            .LockedBy(frozen),
    };
}

/** Each number in another form that a description may have: a register, or one divided in two ways. */
std::vector<Feature> Scan3dControl()
{
    const char *const category = "Scan3dControl";
    const std::string divisor = std::to_string(scan3dDivisor);
    return {
        Enumeration(category, "Scan3dDistanceUnit", "Unit of the coordinates.", {{"Millimeter", 0}})
            .ReadOnly(),
        Enumeration(
            category, "Scan3dOutputMode", "What the camera makes of its measurement.",
            {{"UncalibratedC", 16}, {"CalibratedABC_Grid", 17}, {"CalibratedC", 18}, {"RectifiedC", 19}})
            .ConditionalEntries({"CalibratedABC_Grid", "CalibratedC", "RectifiedC"})
            .LockedBy(frozen),
        Enumeration(category, "Scan3dCoordinateSelector", "Coordinate that the features below are about.",
                    {{"CoordinateA", 0}, {"CoordinateB", 1}, {"CoordinateC", 2}})
            .Default(2)
            .ConditionalEntries({"CoordinateA", "CoordinateB"}),
        Float("", "Scan3dCoordinateScaleMin", "The least scale of all user sets.")
            .DefaultFloat(0.125)
            .ReadOnly()
            .VendorSpecific(),
        Float("", "Scan3dCoordinateScaleMax", "The largest scale of all user sets.")
            .DefaultFloat(8.0)
            .ReadOnly()
            .VendorSpecific(),
        Float(category, "Scan3dCoordinateScale", "Millimetres of a step of the value.")
            .FloatBounds("Scan3dCoordinateScaleMin", "Scan3dCoordinateScaleMax")
            .ReadOnly()
            .Volatile(),
        Integer(category, "Scan3dCoordinateOffset", "Millimetres at the value 0.")
            .DividedBy(divisor)
            .ReadOnly()
            .Volatile()
            .Unit("mm"),
        Integer("", "Scan3dAxisDivisor", "What the register of Scan3dAxisMax is divided by.")
            .Default(scan3dDivisor)
            .ReadOnly()
            .VendorSpecific(),
        Integer(category, "Scan3dAxisMin", "The least value that is valid.")
            .DividedBy(divisor)
            .ReadOnly()
            .Volatile(),
        Integer(category, "Scan3dAxisMax", "The largest value that is valid.")
            .DividedBy("Scan3dAxisDivisor")
            .ReadOnly()
            .Volatile(),
        Boolean(category, "Scan3dInvalidDataFlag", "Whether a value stands for pixels without depth.")
            .Default(1)
            .ReadOnly(),
        Float(category, "Scan3dInvalidDataValue", "The value of pixels without depth.").ReadOnly().Volatile(),
        Float(category, "DepthNoise", "Standard deviation of the depth.")
            .FloatRange(0.0, 100.0)
            .Unit("mm")
            .VendorSpecific(),
    };
}

std::vector<Feature> UserSetControl(const std::vector<UserSet> &sets)
{
    const char *const category = "UserSetControl";
    std::vector<EnumEntry> entries;
    entries.reserve(sets.size());
    for (const UserSet &set : sets)
    {
        entries.push_back(set.entry);
    }
    return {Enumeration(category, "UserSetSelector", "Set that UserSetLoad and UserSetSave are about.",
                        std::move(entries)),
            Command(category, "UserSetLoad", "Puts the selected set in force.").LockedBy(frozen),
            Command(category, "UserSetSave", "Makes the features as they are the selected set.")
                .LockedBy(frozen)};
}

/** Measures depth through a lens with distortion, and sends up to three images of it in a buffer. */
CameraModel DepthD1()
{
    CameraModel camera;
    camera.model = "OVRA-D1";
    camera.serialNumber = "SIM0007";
    camera.toolTip = "Simulated depth camera";
    camera.interfaceIndex = 1;
    camera.zippedDescription = false;
    camera.ipAddress = 0xC0A80B19;
    camera.macAddress = 0x020000000107;
    camera.productGuid = "3A9D6F52-8C1E-4B7A-9E04-5D2F81C7B601";
    camera.versionGuid = "3A9D6F52-8C1E-4B7A-9E04-5D2F81C7B602";
    camera.makeSource = [] { return std::make_unique<DepthSource>(); };
    camera.components = {{{"Range", 4}, Quantity::Range, {"Coord3D_C16", "Coord3D_C8"}},
                         {{"Intensity", 1}, Quantity::Light, {"Mono8"}},
                         {{"Confidence", 9}, Quantity::Confidence, {"Confidence8"}}};
    camera.userSets = {{{"Default", 0}, {0.5, 0.0, 1.0, 4095.0, 0.0}},
                       {{"UserSet0", 1}, {0.125, 0.0, 1.0, 16383.0, 0.0}},
                       {{"UserSet1", 2}, {8.0, 0.0, 1.0, 255.0, 0.0}},
                       {{"UserSet2", 3}, {0.5, 200.0, 2.0, 4000.0, 1.0}}};
    camera.files = {{{"LensCalibrationData", 0}, DepthLens().File()}};
    AreaSensor sensor{DepthLens().width, DepthLens().height, 1, 1, {}};
    for (const ImageComponent &component : camera.components)
    {
        sensor.formats.insert(sensor.formats.end(), component.formats.begin(), component.formats.end());
    }
    sensor.unpackedFormats = {{"Coord3D_C32f", 0x012000BF}, {"Coord3D_ABC32f", 0x026000C0}};
    sensor.hasComponents = true;
    camera.features = ComponentControl(camera.components);
    camera.features.push_back(
        Float("AnalogControl", "IntensityNoise", "Standard deviation of the intensity in grey levels.")
            .FloatRange(0.0, 100.0)
            .VendorSpecific());
    Append(camera.features, Scan3dControl());
    Append(camera.features, UserSetControl(camera.userSets));
    Append(camera.features, FileAccessFeatures(camera.files));
    return AreaCamera(std::move(camera), sensor);
}

} // namespace

const std::vector<CameraModel> &CameraCatalog()
{
    static const std::vector<CameraModel> catalog = {MonoM5(),    MonoM1(),    Foreign(), ColourC5(),
                                                     SeveralS2(), FormulaF1(), DepthD1()};
    return catalog;
}

} // namespace GenTL::simulator
