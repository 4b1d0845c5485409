#include "gentlctl/value_printing.h"

#include "gentlctl/standard_output.h"

#include <algorithm>

namespace gentlctl
{
namespace
{

/// A value as text: without quotes, and with the reason in place of a missing value.
std::string Readable(const Json &value)
{
    if (value.is_string())
    {
        return value.get<std::string>();
    }
    if (value.is_object() && value.contains("text"))
    {
        return fmt::format("- ({})", value["text"].get<std::string>());
    }
    return value.dump();
}

} // namespace

void PrintJson(const Json &json)
{
    Print("{}\n", json.dump(2));
}

void PrintTable(const Json &values, const std::string &indent)
{
    size_t width = 0;
    for (const auto &entry : values.items())
    {
        width = std::max(width, entry.key().size());
    }
    for (const auto &entry : values.items())
    {
        Print("{}{:<{}}  {}\n", indent, entry.key(), width, Readable(entry.value()));
    }
}

} // namespace gentlctl
