#pragma once

#include "recording/device_record.h"

#include <string>

namespace recording
{

/// The file of the device's description: an archive's name ends in .zip.
inline std::string DescriptionFile(const DeviceRecord &device)
{
    return device.description.starts_with("PK") ? "description.zip" : "description.xml";
}

/// The name that a file of the device has in the recording. The device's name for it may have characters that
/// no file name can have, so only letters and digits are kept; the number makes the name unique.
inline std::string FileNameFor(const DeviceFile &file)
{
    std::string name;
    for (const char character : file.name)
    {
        const bool isPlain = (character >= 'a' && character <= 'z') ||
                             (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
        name += isPlain ? character : '_';
    }
    return "files/" + std::to_string(file.selector) + "-" + name;
}

} // namespace recording
