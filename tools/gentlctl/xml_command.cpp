#include "gentlctl/commands.h"

#include "consumer/description.h"
#include "consumer/modules.h"
#include "gentlctl/standard_output.h"
#include "pictures/file_writing.h"

namespace gentlctl
{

int Xml(const CommonOptions &options, const std::string &module, const std::string &file)
{
    Producer producer(options.producer);
    Modules modules(producer, options.device);
    const auto text = LoadDescription(*modules.PortOf(module));
    if (file.empty())
    {
        PrintText(text);
    }
    else
    {
        WriteBytes(file, text.data(), text.size());
    }
    return success;
}

} // namespace gentlctl
