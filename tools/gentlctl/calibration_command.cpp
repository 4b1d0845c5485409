#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer_files.h"
#include "gentlctl/command.h"
#include "gentlctl/device_files.h"
#include "gentlctl/lens_calibration.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <memory>
#include <string>

namespace gentlctl
{

namespace
{

struct CalibrationOptions
{
    std::string file; ///< to write the calibration data to; empty for none
    bool yaml = false;
};

Json ToJson(const LensCalibration &calibration, size_t bytes)
{
    Json json{{"bytes", bytes},
              {"width", calibration.width},
              {"height", calibration.height},
              {"focalLengthX", calibration.focalLengthX},
              {"focalLengthY", calibration.focalLengthY},
              {"principalPointX", calibration.principalPointX},
              {"principalPointY", calibration.principalPointY}};
    for (size_t i = 0; i < distortionNames.size(); ++i)
    {
        json[distortionNames[i]] = calibration.distortion[i];
    }
    return json;
}

int Calibration(const CommonOptions &options, const CalibrationOptions &command)
{
    if (command.yaml)
    {
        RefuseJson(options, "calibration --yaml");
    }
    // The scale of the YAML is that of the depth that the camera sends.
    Producer producer(command.yaml ? RawProducerFile(options.producer) : options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    const auto content = FetchFile(remote, lensCalibrationFile);
    const auto calibration = ParseLensCalibration(content);
    if (!command.file.empty())
    {
        WriteBytes(command.file, content.data(), content.size());
    }
    if (command.yaml)
    {
        PrintText(ToYaml(calibration, DepthScaleOf(remote)));
        return success;
    }
    const auto result = ToJson(calibration, content.size());
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

} // namespace

void DeclareCalibration(Commands &commands)
{
    const auto chosen = std::make_shared<CalibrationOptions>();
    auto &command =
        commands.Add("calibration", "Check and print the lens calibration of the device",
                     [chosen](const CommonOptions &options) { return Calibration(options, *chosen); });
    command.add_option("-o,--output", chosen->file, "Write the calibration data to this file")
        ->type_name("FILE");
    command.add_flag("--yaml", chosen->yaml,
                     "Print YAML for OpenCV and for a folder of depth pictures that the simulator replays");
    command.footer("  gentlctl calibration -d OVRA-D1\n"
                   "  gentlctl calibration -d OVRA-D1 --yaml > lens.yaml");
}

} // namespace gentlctl
