#pragma once

#include "gentlctl/grab.h"

#include <string>
#include <vector>

namespace gentlctl
{

/// What every command knows: the producer's file, which device, and how to print.
struct CommonOptions
{
    std::string producer;
    std::string device;
    bool json = false;
};

/// Lists interfaces and devices with their access status, and why a device cannot be opened.
void List(const CommonOptions &options);

/// Prints every info command of every module.
void Info(const CommonOptions &options);

/// Prints the description of a module, or writes it to a file.
void Xml(const CommonOptions &options, const std::string &module, const std::string &file);

/// Prints features of a module: those named, else all.
void Get(const CommonOptions &options, const std::string &module, const std::vector<std::string> &names);

/// Writes features of a module, given as NAME=VALUE, in their order.
void Set(const CommonOptions &options, const std::string &module,
         const std::vector<std::string> &assignments);

/// Prints the pixel formats of a device: what it sends, what an application may choose, and how the one
/// becomes the other.
void Formats(const CommonOptions &options);

/// Lists the files on a device with their sizes, or fetches those named into a folder.
void Files(const CommonOptions &options, const std::vector<std::string> &names, const std::string &folder);

/// Prints the lens calibration of a device, and writes it to a file when one is named.
/// @throws tarn::cvl::CorruptedException the device's data are no lens calibration
void Calibration(const CommonOptions &options, const std::string &file);

/// Sets features of the remote device, then grabs.
void GrabFrames(const CommonOptions &options, const std::vector<std::string> &assignments,
                const GrabOptions &grab);

} // namespace gentlctl
