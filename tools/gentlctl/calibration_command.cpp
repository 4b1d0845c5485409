#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "gentlctl/command.h"
#include "gentlctl/device_files.h"
#include "gentlctl/lens_calibration.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <memory>
#include <string>

namespace gentlctl
{

namespace
{

/// @param file gets the calibration data, if it is named
int Calibration(const CommonOptions &options, const std::string &file)
{
    constexpr auto calibrationFile = "LensCalibrationData";
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const auto content = FetchFile(Features(device.PortOf("remote")), calibrationFile);
    const auto calibration = ParseLensCalibration(content);
    const Json result{{"bytes", content.size()},
                      {"width", calibration.width},
                      {"height", calibration.height},
                      {"focalLengthX", calibration.focalLengthX},
                      {"focalLengthY", calibration.focalLengthY},
                      {"principalPointX", calibration.principalPointX},
                      {"principalPointY", calibration.principalPointY}};
    if (!file.empty())
    {
        WriteBytes(file, content.data(), content.size());
    }
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

} // namespace

void DeclareCalibration(Commands &commands)
{
    const auto file = std::make_shared<std::string>();
    commands
        .Add("calibration", "Check and print the lens calibration of the device",
             [file](const CommonOptions &options) { return Calibration(options, *file); })
        .add_option("-o,--output", *file, "Write the calibration data to this file")
        ->type_name("FILE");
}

} // namespace gentlctl
