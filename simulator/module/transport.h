#pragma once

namespace GenTL::simulator
{

/// A transport layer: its names in the info commands of GenTL and in the features of modules, and its way to
/// send chunks.
struct Transport
{
    const char *type;
    const char *featureName;
    bool bigEndianTrailers; ///< of chunks
};

constexpr Transport gigEVision = {"GEV", "GigEVision", true};
constexpr Transport usb3Vision = {"U3V", "USB3Vision", false};

} // namespace GenTL::simulator
