#pragma once

#include <gentl/gentl.h>

#include <fmt/format.h>

#include <cstring>
#include <string>
#include <vector>

/// What the tests' descriptions have in common.
namespace gentlctl
{

/// The content of a category with these features.
inline std::string FeatureList(const std::vector<std::string> &features)
{
    std::string list;
    for (const auto &feature : features)
    {
        list += fmt::format("<pFeature>{}</pFeature>", feature);
    }
    return list;
}

/// Answers GCGetPortURL, which asks for the size first.
inline GenTL::GC_ERROR AnswerUrl(const std::string &text, char *url, size_t *size)
{
    *size = text.size() + 1;
    if (url != nullptr)
    {
        std::memcpy(url, text.c_str(), *size);
    }
    return GenTL::GC_ERR_SUCCESS;
}

} // namespace gentlctl
