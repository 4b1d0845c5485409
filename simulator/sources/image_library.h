#pragma once

#include "simulator/images/image_file.h"

#include <filesystem>
#include <set>
#include <string>
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

/// The files of a folder that have one of these extensions, sorted; empty when the folder cannot be read.
/// @param extensions with their dots, in lower case; those of the files may be in upper case
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path &folder,
                                           const std::set<std::string> &extensions);

/// The image files of a folder by their extensions, as FilesIn.
std::vector<std::filesystem::path> ImageFiles(const std::filesystem::path &folder);

} // namespace GenTL::simulator
