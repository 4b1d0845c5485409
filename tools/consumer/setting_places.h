#pragma once

#include "consumer/feature_description.h"

#include <string>
#include <vector>

namespace gentlctl
{

/// A feature that settings may cover, with the selectors that select it, outer ones first.
struct SettingPlace
{
    std::string feature;
    std::vector<std::string> selectors;
};

/// The features of a description whose values are settings, in the description's order, whatever their access
/// is now.
///
/// These are the features that the description marks as Streamable. A description in which fewer than one in
/// ten features have the mark does not use it. Then all features are settings, except those whose published
/// names belong to a transfer, a connection or the identity of a device. Commands, chunks, events and
/// selectors are never settings.
std::vector<SettingPlace> SettingPlacesOf(const FeatureDescription &description);

} // namespace gentlctl
