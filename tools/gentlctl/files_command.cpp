#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "gentlctl/command.h"
#include "gentlctl/device_files.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

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
};

int Files(const CommonOptions &options, const FilesOptions &files)
{
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    auto result = Json::object();
    if (files.names.empty())
    {
        for (const auto &name : FilesOf(remote))
        {
            result[name] = remote.Files().FileSize(name);
        }
    }
    else
    {
        MakeFolder(files.folder);
        for (const auto &name : files.names)
        {
            const auto file = std::filesystem::path(files.folder) / name;
            const auto content = FetchFile(remote, name);
            WriteBytes(file, content.data(), content.size());
            result[name] = file.string();
        }
    }
    if (result.empty() && !options.json)
    {
        Print("The device has no files.\n");
        return success;
    }
    options.json ? PrintJson(result) : PrintTable(result, "");
    return success;
}

} // namespace

void DeclareFiles(Commands &commands)
{
    const auto files = std::make_shared<FilesOptions>();
    auto &command = commands.Add("files", "List or fetch the files on the device",
                                 [files](const CommonOptions &options) { return Files(options, *files); });
    command.add_option("names", files->names, "Files to fetch; default: list all")->type_name("NAME");
    command.add_option("-o,--output", files->folder, "Folder for the files")
        ->type_name("FOLDER")
        ->capture_default_str();
}

} // namespace gentlctl
