#pragma once

#include <string>
#include <vector>

namespace gentlctl
{

/// Names to propose in place of a wrong one: the one that differs only in case; else those that contain it or
/// are part of it; else those that one or two typing errors turn into it. Those with typing errors alone come
/// first.
std::vector<std::string> SimilarNames(const std::vector<std::string> &names, const std::string &wanted);

} // namespace gentlctl
