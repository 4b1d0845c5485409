#include "simulator/cameras/wide_cameras.h"

#include "simulator/cameras/area_camera.h"
#include "simulator/cameras/descriptions.h"
#include "simulator/cameras/network_control.h"
#include "simulator/cameras/wide_gige_controls.h"

#include <algorithm>

namespace GenTL::simulator
{

namespace
{

/// The registers of WIDE-G2. The description has the same addresses.
constexpr WideRegister wideGigERegisters[] = {
    {addressConfiguration, 0x14, true},
    {currentAddress, 0x24, true},
    {currentMask, 0x34, true},
    {currentGateway, 0x44, true},
    {persistentAddresses[0], 0x64C, true},
    {persistentAddresses[1], 0x65C, true},
    {persistentAddresses[2], 0x66C, true},
    {"TimestampLatch", 0x944, true},
    {"TimestampLatchValue", 0x948, true},
    {"SensorWidth", 0x10000, true},
    {"SensorHeight", 0x10004, true},
    {"WidthMax", 0x10008, true},
    {"HeightMax", 0x1000C, true},
    {"Width", 0x10010, true},
    {"Height", 0x10014, true},
    {"OffsetX", 0x10018, true},
    {"OffsetY", 0x1001C, true},
    {"PixelFormat", 0x10020, true},
    {"FormatCapabilities", 0x10024, true},
    {packedFormatsEnable, 0x10028, true},
    {sensorReadout, 0x1002C, true},
    {"PixelColorFilter", 0x10030, true},
    {"TestPattern", 0x10034, true},
    {"AcquisitionMode", 0x10040, true},
    {"AcquisitionFrameCount", 0x10044, true},
    {"AcquisitionStart", 0x10048, true},
    {"AcquisitionStop", 0x1004C, true},
    {"AcquisitionFrameRate", 0x10050, true},
    {"ExposureTime", 0x10054, true},
    {"Gain", 0x10058, true},
    {"ChunkModeActive", 0x10060, true},
    {"ChunkSelector", 0x10064, true},
    {"ChunkEnable", 0x10068, true},
    {"ChunkEnableLocked", 0x1006C, true},
    {chunkBytes, 0x10070, true},
    {"TLParamsLocked", 0x10080, true},
    {"ParametersLocked", 0x10084, true},
    {"FrameCheck", 0x10088, true},
};

std::vector<FixedRegister> WideGigERegisters()
{
    auto registers = FixedRegisters(wideGigERegisters);
    std::ranges::find(registers, "PixelFormat", &FixedRegister::feature)->form.codes = {
        {0x01080001, 0x08},  // Mono8
        {0x010C0004, 0x1A},  // Mono10Packed
        {0x010C0006, 0x1C},  // Mono12Packed
        {0x01080009, 0x48},  // BayerRG8
        {0x010C0027, 0x5A},  // BayerRG10Packed
        {0x010C002B, 0x5C}}; // BayerRG12Packed
    return registers;
}

/// What the formats depend on; the description reads the bits of FormatCapabilities one by one.
std::vector<Feature> WideGigEFormatFeatures()
{
    constexpr int64_t hasMono10Packed = 1, hasMono12Packed = 2, hasMosaic = 4;
    constexpr int64_t converterBits = 12 << 8;
    return {
        PixelFormatFeature({.sent = {"Mono8", "Mono10Packed", "Mono12Packed", "BayerRG8", "BayerRG12Packed"},
                            .unpacked = {{"BayerRG10Packed", 0x010C0027}}}),
        Integer("", "FormatCapabilities", "")
            .Default(hasMono10Packed | hasMono12Packed | hasMosaic | converterBits)
            .ReadOnly(),
        Boolean("", packedFormatsEnable, "").Default(1).LockedBy(layoutFrozen),
        Enumeration("", sensorReadout, "", {{"Precise", preciseReadout}, {"Fast", fastReadout}})
            .LockedBy(layoutFrozen),
        Enumeration("", "PixelColorFilter", "", {{"BayerRG", 1}}).ReadOnly(),
        Integer("", chunkBytes, "").ReadOnly(),
    };
}

} // namespace

CameraModel WideGigE()
{
    return {.vendor = wideVendor,
            .model = "WIDE-G2",
            .number = 8,
            .toolTip = "Simulated GigE camera of the wide world",
            .interfaceIndex = 2,
            .zippedDescription = true,
            .ipAddress = 0xC0A80C15,
            .bigEndian = true,
            .ticksPerSecond = 125000000,
            .lastUrlCommand = URL_INFO_FILE_SHA1_HASH,
            .complete = [](const CameraModel &identity)
            {
                auto camera = AreaCamera(identity, {.width = 1600, .height = 1200, .stepX = 4, .stepY = 2},
                                         WideGigEFormatFeatures(), Makes<ReadoutFormatControl>());
                camera.ownDescription = OwnDescription{
                    .document = WideGigEDescription(), .registers = WideGigERegisters(), .blockSize = 4096};
                camera.features = Joined(std::move(camera.features), NetworkSettingFeatures());
                camera.controls.push_back(Makes<ChunkBytesControl>());
                camera.controls.push_back(Makes<NetworkControl>());
                return camera;
            }};
}

} // namespace GenTL::simulator
