#pragma once

#include "gentlctl/grab.h"

#include <string>
#include <vector>

namespace gentlctl
{

/// The options of every command.
struct CommonOptions
{
    std::string producer; ///< its file
    std::string device;   ///< as for Producer::Choose
    bool json = false;    ///< print JSON
};

// Exit statuses.
constexpr int success = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;
constexpr int killed = 128; ///< plus the number of the signal

// Each command returns the exit status, and throws when it cannot answer at all.

/// Lists interfaces and devices with their access status, and why a device cannot be opened.
int List(const CommonOptions &options);

/// Prints every info command of every module. When the device cannot be opened, leaves out its modules and
/// says why.
int Info(const CommonOptions &options);

/// Prints the description of a module, or writes it to a file.
int Xml(const CommonOptions &options, const std::string &module, const std::string &file);

/// Sets features of a module, then prints the named ones, or all. For the module "frame" sets features of the
/// remote device, grabs a frame and prints the features in its chunks.
int Get(const CommonOptions &options, const std::string &module, const std::vector<std::string> &names,
        const std::vector<std::string> &assignments);

/// Writes features of a module, given as NAME=VALUE, in their order.
int Set(const CommonOptions &options, const std::string &module, const std::vector<std::string> &assignments);

/// Prints the pixel formats that a device sends, the formats that an application may choose, and how the
/// producer makes each of the latter.
int Formats(const CommonOptions &options);

/// Lists the files on a device with their sizes, or fetches the named ones into a folder.
int Files(const CommonOptions &options, const std::vector<std::string> &names, const std::string &folder);

/// Prints the lens calibration of a device, and writes it to a file if one is named.
int Calibration(const CommonOptions &options, const std::string &file);

/// Sets features of the remote device, then grabs. An interrupt ends the grab in order; the status is that of
/// a program ended by the signal.
int GrabFrames(const CommonOptions &options, const std::vector<std::string> &assignments,
               const GrabOptions &grab);

} // namespace gentlctl
