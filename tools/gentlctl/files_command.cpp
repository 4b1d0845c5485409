#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "gentlctl/command.h"
#include "gentlctl/device_files.h"
#include "gentlctl/input_file.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{

namespace
{

struct FilesOptions
{
    std::vector<std::string> names; ///< files to fetch; none: list all
    std::string folder = ".";
    std::string upload; ///< file to send; empty: none
};

/// Far above any file of a device.
constexpr uint64_t largestUpload = uint64_t{1} << 30U;

std::vector<uint8_t> ContentOf(const std::string &file)
{
    const auto content = ReadInputFile(file, largestUpload);
    return {content.begin(), content.end()};
}

Json Listed(const Features &remote)
{
    auto sizes = Json::object();
    for (const auto &name : FilesOf(remote))
    {
        sizes[name] = remote.Files().FileSize(name);
    }
    return sizes;
}

Json Fetched(const Features &remote, const FilesOptions &files)
{
    auto places = Json::object();
    MakeFolder(files.folder);
    for (const auto &name : files.names)
    {
        const auto file = std::filesystem::path(files.folder) / name;
        const auto content = FetchFile(remote, name);
        WriteBytes(file, content.data(), content.size());
        places[name] = file.string();
    }
    return places;
}

/// @return the size of the file, which the device has confirmed
Json Sent(const Features &remote, const FilesOptions &files, const std::vector<uint8_t> &content)
{
    const auto name =
        files.names.empty() ? std::filesystem::path(files.upload).filename().string() : files.names.front();
    SendFile(remote, name, content);
    return {{name, content.size()}};
}

int Files(const CommonOptions &options, const FilesOptions &files)
{
    if (!files.upload.empty() && files.names.size() > 1)
    {
        throw CLI::ValidationError("--upload", "it takes one NAME");
    }
    const auto content = files.upload.empty() ? std::vector<uint8_t>() : ContentOf(files.upload);
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    const auto result = !files.upload.empty() ? Sent(remote, files, content)
                        : files.names.empty() ? Listed(remote)
                                              : Fetched(remote, files);
    if (result.empty() && !options.json)
    {
        Print("The device has no files.\n");
        return success;
    }
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

constexpr auto filesFooter = "Without a name, lists the files with their sizes. An upload replaces the file "
                             "of this NAME on the device, and "
                             "fails unless the device then reports the size of the new content.\n\n"
                             "  gentlctl files -d OVRA-D1 LensCalibrationData -o calibration\n"
                             "  gentlctl files -d OVRA-C5 --upload notes.txt UserFile";

} // namespace

void DeclareFiles(Commands &commands)
{
    const auto files = std::make_shared<FilesOptions>();
    auto &command = commands.Add("files", "List, fetch or replace the files on the device",
                                 [files](const CommonOptions &options) { return Files(options, *files); });
    command.add_option("names", files->names, "Files to fetch; default: list all")->type_name("NAME");
    auto *output = command.add_option("-o,--output", files->folder, "Folder for the files")
                       ->type_name("FOLDER")
                       ->capture_default_str();
    command
        .add_option("--upload", files->upload,
                    "Send this file to the device, as the file NAME there; default: of the same name")
        ->type_name("FILE")
        ->excludes(output);
    command.footer(filesFooter);
}

} // namespace gentlctl
