#include "gentlctl/commands.h"

#include "consumer/description.h"
#include "consumer/modules.h"
#include "gentlctl/command.h"
#include "gentlctl/standard_output.h"
#include "pictures/file_writing.h"

#include <memory>
#include <string>

namespace gentlctl
{

namespace
{

struct XmlOptions
{
    std::string module = "remote";
    std::string file; ///< empty: print the description
};

int Xml(const CommonOptions &options, const XmlOptions &xml)
{
    RefuseJson(options, "xml");
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const auto text = LoadDescription(*modules.PortOf(xml.module));
    if (xml.file.empty())
    {
        PrintText(text);
    }
    else
    {
        WriteBytes(xml.file, text.data(), text.size());
    }
    return success;
}

} // namespace

void DeclareXml(Commands &commands)
{
    const auto xml = std::make_shared<XmlOptions>();
    auto &command = commands.Add("xml", "Print the GenICam description of a module",
                                 [xml](const CommonOptions &options) { return Xml(options, *xml); });
    command.add_option("module", xml->module, "Module to describe")
        ->check(CLI::IsMember(ModuleNames()))
        ->capture_default_str();
    command.add_option("-o,--output", xml->file, "Write to this file")->type_name("FILE");
    command.footer("  gentlctl xml remote -d OVRA-M5 -o camera.xml\n"
                   "  gentlctl xml system");
}

} // namespace gentlctl
