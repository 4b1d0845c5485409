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

// Exit statuses.
constexpr int success = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;
constexpr int killed = 128; ///< and the number of the signal

// Each command returns the exit status, and throws what keeps it from answering at all.

/// Lists interfaces and devices with their access status, and why a device cannot be opened.
int List(const CommonOptions &options);

/// Prints every info command of every module. What belongs to a device that cannot be opened is left out, and
/// why it cannot is told.
int Info(const CommonOptions &options);

/// Prints the description of a module, or writes it to a file.
int Xml(const CommonOptions &options, const std::string &module, const std::string &file);

/// Sets features of a module, then prints some: those named, else all. The module "frame" stands for the
/// chunks of a frame that is grabbed then, and what is set is the remote device's.
int Get(const CommonOptions &options, const std::string &module, const std::vector<std::string> &names,
        const std::vector<std::string> &assignments);

/// Writes features of a module, given as NAME=VALUE, in their order.
int Set(const CommonOptions &options, const std::string &module, const std::vector<std::string> &assignments);

/// Prints the pixel formats of a device: what it sends, what an application may choose, and how the one
/// becomes the other.
int Formats(const CommonOptions &options);

/// Lists the files on a device with their sizes, or fetches those named into a folder.
int Files(const CommonOptions &options, const std::vector<std::string> &names, const std::string &folder);

/// Prints the lens calibration of a device, and writes it to a file when one is named.
/// @throws tarn::cvl::CorruptedException the device's data are no lens calibration
int Calibration(const CommonOptions &options, const std::string &file);

/// Sets features of the remote device, then grabs. An interrupt ends it in order, with the status of a
/// program that the signal ended.
int GrabFrames(const CommonOptions &options, const std::vector<std::string> &assignments,
               const GrabOptions &grab);

} // namespace gentlctl
