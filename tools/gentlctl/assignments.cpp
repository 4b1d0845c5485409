#include "gentlctl/assignments.h"

#include "consumer/features.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

namespace
{

void Apply(const Features &features, const std::string &name, const std::string &value)
{
    if (const auto why = features.WhyWithoutValue(name))
    {
        throw std::runtime_error(fmt::format("Cannot set {}: {}", name, *why));
    }
    if (features.IsReadOnly(name))
    {
        throw std::runtime_error(fmt::format("Cannot set {}: it is read only", name));
    }
    const auto refused = [&](const std::string &reason)
    {
        const auto allowed = features.Allowed(name);
        return std::runtime_error(fmt::format("Cannot set {} to \"{}\": {}{}{}", name, value, reason,
                                              allowed.empty() ? "" : "; ", allowed));
    };
    try
    {
        features.Set(name, value);
    }
    catch (const internal::GenTLException &exception)
    {
        throw refused(fmt::format("{} ({})", exception.what(), exception.Code()));
    }
    catch (const std::exception &exception)
    {
        throw refused(exception.what());
    }
}

} // namespace

void Apply(const Features &features, const std::vector<std::string> &assignments)
{
    for (const auto &assignment : assignments)
    {
        const auto split = assignment.find('=');
        const auto name = assignment.substr(0, split);
        if (split == std::string::npos && !features.IsCommand(name))
        {
            throw std::runtime_error(
                fmt::format("{} is no command, so it needs a value, as in {}=VALUE", name, name));
        }
        Apply(features, name, split == std::string::npos ? "1" : assignment.substr(split + 1));
    }
}

} // namespace gentlctl
