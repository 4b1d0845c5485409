#pragma once

#include "simulator/images/image_file.h"

#include <filesystem>
#include <vector>

namespace GenTL::simulator
{

/// The functions of the library that reads images.
struct ImageLibrary
{
    decltype(&qvrReadGreyImage) readGreyImage;
    decltype(&qvrReadPicture) readPicture;
    decltype(&qvrReadCalibration) readCalibration;
};

/// @throws Error GC_ERR_NOT_AVAILABLE: the library cannot be loaded.
ImageLibrary LoadImageLibrary();

/// The files of a folder that are images by their names, sorted; none of a folder that cannot be read.
std::vector<std::filesystem::path> ImageFiles(const std::filesystem::path &folder);

/// The end of a file's name from its last point, in small letters.
std::string ExtensionOf(const std::filesystem::path &file);

} // namespace GenTL::simulator
