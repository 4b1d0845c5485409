#include "consumer/device.h"
#include "consumer/producer.h"
#include "gentlctl/command.h"
#include "gentlctl/commands.h"
#include "gentlctl/settings_loading.h"
#include "gentlctl/standard_output.h"
#include "gentlctl/value_printing.h"
#include "pictures/file_writing.h"

#include <memory>
#include <string>
#include <vector>

namespace gentlctl
{
namespace
{

struct SettingsOptions
{
    std::string action;
    std::string file;
    std::vector<std::string> modules{"remote"};
};

int SaveToFile(OpenDevice &device, const SettingsOptions &command, bool asJson)
{
    const auto saved = SaveSettings(device, command.modules);
    const auto text = SettingsText(saved.content);
    size_t count = 0;
    for (const auto &module : saved.content.modules)
    {
        count += module.settings.size();
    }
    for (const auto &failure : saved.failures)
    {
        Complain(failure);
    }
    if (command.file == "-")
    {
        PrintText(text);
        return saved.failures.empty() ? success : failed;
    }
    WriteBytes(command.file, text.data(), text.size());
    if (asJson)
    {
        PrintJson({{"device", device.Entry().id}, {"saved", count}, {"failures", saved.failures}});
    }
    else
    {
        Print("{}: {} settings saved in {}\n", device.Entry().id, count, command.file);
    }
    return saved.failures.empty() ? success : failed;
}

int LoadFromFile(OpenDevice &device, const SettingsOptions &command, bool asJson)
{
    const auto loaded = LoadSettingsFile(device, command.file);
    if (asJson)
    {
        PrintJson({{"device", device.Entry().id},
                   {"set", loaded.right},
                   {"failures", loaded.failures},
                   {"warning", loaded.warning}});
    }
    else
    {
        Print("{}: {} settings are as in {}, {} are not\n", device.Entry().id, loaded.right, command.file,
              loaded.failures.size());
    }
    return loaded.failures.empty() ? success : failed;
}

} // namespace

void DeclareSettings(Commands &commands)
{
    const auto settings = std::make_shared<SettingsOptions>();
    auto &command = commands.Add("settings", "Save the settings of a device to a file, or load them from one",
                                 [settings](const CommonOptions &options)
                                 {
                                     if (settings->action == "save" && settings->file == "-")
                                     {
                                         RefuseJson(options, "settings save -");
                                     }
                                     Producer producer(options.producer);
                                     OpenDevice device(producer, options.device);
                                     return (settings->action == "save" ? SaveToFile : LoadFromFile)(
                                         device, *settings, options.json);
                                 });
    command.add_option("action", settings->action, "What to do")
        ->check(CLI::IsMember({"save", "load"}))
        ->required();
    command.add_option("file", settings->file, "YAML file; - stands for standard output or input")
        ->type_name("FILE")
        ->required();
    command
        .add_option("-m,--module", settings->modules,
                    "Module whose settings to save; may be repeated. A load takes all modules in the file")
        ->check(CLI::IsMember(ModuleNames()))
        ->allow_extra_args(false)
        ->capture_default_str();
    command.footer(
        "The file has one line for each setting. A load writes what differs, in the order that the "
        "limits of the\ndevice need, and compares all values at the end. Exit status 1: not all "
        "could be saved or set.\n\n"
        "  gentlctl settings save camera.yaml -d OVRA-M5\n"
        "  gentlctl settings load camera.yaml -d OVRA-M5\n"
        "  gentlctl grab --settings camera.yaml -d OVRA-M5 -n 10 -o frames");
}

} // namespace gentlctl
