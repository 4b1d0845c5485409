#include "simulator/cameras/wide_cameras.h"

#include "simulator/cameras/area_camera.h"
#include "simulator/cameras/descriptions.h"
#include "simulator/cameras/wide_gige_controls.h"

namespace GenTL::simulator
{

namespace
{

/// The registers of WIDE-G2. The description has the same addresses.
std::vector<FixedRegister> WideGigERegisters()
{
    const RegisterForm big = {.bigEndian = true};
    const RegisterForm formatCodes = {.bigEndian = true,
                                      .codes = {{0x01080001, 0x08},   // Mono8
                                                {0x010C0004, 0x1A},   // Mono10Packed
                                                {0x010C0006, 0x1C},   // Mono12Packed
                                                {0x01080009, 0x48},   // BayerRG8
                                                {0x010C0027, 0x5A},   // BayerRG10Packed
                                                {0x010C002B, 0x5C}}}; // BayerRG12Packed
    return {
        {"DeviceVendorName", 0x200},
        {"DeviceModelName", 0x220},
        {"DeviceManufacturerInfo", 0x240},
        {"DeviceVersion", 0x280},
        {"DeviceFirmwareVersion", 0x2A0},
        {"DeviceSerialNumber", 0x2C0},
        {"DeviceUserID", 0x2E0},
        {"TimestampLatch", 0x944, big},
        {"TimestampLatchValue", 0x948, big},
        {"SensorWidth", 0x10000, big},
        {"SensorHeight", 0x10004, big},
        {"WidthMax", 0x10008, big},
        {"HeightMax", 0x1000C, big},
        {"Width", 0x10010, big},
        {"Height", 0x10014, big},
        {"OffsetX", 0x10018, big},
        {"OffsetY", 0x1001C, big},
        {"PixelFormat", 0x10020, formatCodes},
        {"FormatCapabilities", 0x10024, big},
        {packedFormatsEnable, 0x10028, big},
        {sensorReadout, 0x1002C, big},
        {"PixelColorFilter", 0x10030, big},
        {"TestPattern", 0x10034, big},
        {"AcquisitionMode", 0x10040, big},
        {"AcquisitionFrameCount", 0x10044, big},
        {"AcquisitionStart", 0x10048, big},
        {"AcquisitionStop", 0x1004C, big},
        {"AcquisitionFrameRate", 0x10050, big},
        {"ExposureTime", 0x10054, big},
        {"Gain", 0x10058, big},
        {"ChunkModeActive", 0x10060, big},
        {"ChunkSelector", 0x10064, big},
        {"ChunkEnable", 0x10068, big},
        {"ChunkEnableLocked", 0x1006C, big},
        {chunkBytes, 0x10070, big},
        {"TLParamsLocked", 0x10080, big},
        {"ParametersLocked", 0x10084, big},
        {"FrameCheck", 0x10088, big},
    };
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
    auto camera = AreaCamera({.vendor = wideVendor,
                              .model = "WIDE-G2",
                              .number = 8,
                              .toolTip = "Simulated GigE camera of the wide world",
                              .interfaceIndex = 2,
                              .zippedDescription = true,
                              .ipAddress = 0xC0A80C15,
                              .bigEndian = true,
                              .ticksPerSecond = 125000000,
                              .lastUrlCommand = URL_INFO_FILE_SHA1_HASH,
                              .ownDescription = OwnDescription{.document = WideGigEDescription(),
                                                               .registers = WideGigERegisters(),
                                                               .blockSize = 4096}},
                             {.width = 1600, .height = 1200, .stepX = 4, .stepY = 2},
                             WideGigEFormatFeatures(), Makes<ReadoutFormatControl>());
    camera.controls.push_back(Makes<ChunkBytesControl>());
    return camera;
}

} // namespace GenTL::simulator
