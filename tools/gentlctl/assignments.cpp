#include "gentlctl/assignments.h"

#include "consumer/features.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <span>
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

std::string NameIn(const std::string &assignment)
{
    return assignment.substr(0, assignment.find('='));
}

void ApplyOne(const Features &features, const std::string &assignment)
{
    const auto split = assignment.find('=');
    const auto name = NameIn(assignment);
    if (split == std::string::npos && !features.IsCommand(name))
    {
        throw std::runtime_error(
            fmt::format("{} is no command, so it needs a value, as in {}=VALUE", name, name));
    }
    Apply(features, name, split == std::string::npos ? "1" : assignment.substr(split + 1));
}

/// What is done and what is not, when one of several assignments fails; empty for a single one.
std::string WithoutThis(const std::vector<std::string> &assignments, size_t failed)
{
    const std::span all(assignments);
    const auto listed = [](const char *before, auto part)
    { return part.empty() ? std::string() : fmt::format(". {}: {}", before, fmt::join(part, ", ")); };
    return listed("Set before it", all.first(failed)) + listed("Not set", all.subspan(failed + 1));
}

} // namespace

std::vector<std::string> NamesIn(const std::vector<std::string> &assignments)
{
    std::vector<std::string> names;
    std::ranges::transform(assignments, std::back_inserter(names), NameIn);
    return names;
}

void Apply(const Features &features, const std::vector<std::string> &assignments)
{
    for (size_t done = 0; done < assignments.size(); ++done)
    {
        try
        {
            ApplyOne(features, assignments[done]);
        }
        catch (const internal::GenTLException &exception)
        {
            throw std::runtime_error(
                fmt::format("{} ({}){}", exception.what(), exception.Code(), WithoutThis(assignments, done)));
        }
        catch (const std::runtime_error &error)
        {
            throw std::runtime_error(error.what() + WithoutThis(assignments, done));
        }
    }
}

} // namespace gentlctl
