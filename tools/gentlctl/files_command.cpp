#include "gentlctl/commands.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "gentlctl/device_files.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <filesystem>

namespace gentlctl
{

int Files(const CommonOptions &options, const std::vector<std::string> &names, const std::string &folder)
{
    Producer producer(options.producer);
    OpenDevice device(producer, options.device);
    const Features remote(device.PortOf("remote"));
    auto result = Json::object();
    if (names.empty())
    {
        for (const auto &name : FilesOf(remote))
        {
            result[name] = remote.Files().FileSize(name);
        }
    }
    else
    {
        MakeFolder(folder);
        for (const auto &name : names)
        {
            const auto file = std::filesystem::path(folder) / name;
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

} // namespace gentlctl
