#pragma once

#include "simulator/images/image_file.h"

#include <filesystem>
#include <vector>

namespace GenTL::simulator
{

/// The functions of the library that reads image files.
struct ImageLibrary
{
    decltype(&qvrReadGreyImage) readGreyImage;
    decltype(&qvrReadPicture) readPicture;
    decltype(&qvrReadCalibration) readCalibration;
};

/// @throws Error GC_ERR_NOT_AVAILABLE: the library cannot be loaded.
ImageLibrary LoadImageLibrary();

/// The image files of a folder by their extensions, sorted; empty when the folder cannot be read.
std::vector<std::filesystem::path> ImageFiles(const std::filesystem::path &folder);

/// The extension of a file with its dot, in lower case.
std::string ExtensionOf(const std::filesystem::path &file);

} // namespace GenTL::simulator
