#pragma once

#include "simulator/cameras/camera_model.h"

namespace GenTL::simulator
{

// The features of the cameras as lists, in the order of the description.

/// Locks the features of the image layout, which cannot change while frames may be under way.
constexpr const char *layoutFrozen = "ParametersLocked";

constexpr const char *imageFormatControl = "ImageFormatControl";

/// Lengths in pixels.
struct Sensor
{
    int64_t width;
    int64_t height;
    int64_t stepX = 1; ///< increment of Width and OffsetX
    int64_t stepY = 1;
};

/// The entries of PixelFormat.
struct Formats
{
    std::vector<std::string> sent;
    /// Formats that a consumer might make of what the camera sends: listed, and never available.
    std::vector<EnumEntry> unpacked = {};
    std::set<std::string> absent = {}; ///< of `sent`: listed, and not implemented by this camera
};

/// Which pixel of a decimated block the camera sends.
enum class Decimation
{
    SendsFirstPixel,
    SendsMiddlePixel
};

std::vector<Feature> DeviceFeatures(const CameraModel &model);

/// Size of the sensor, region, binning and decimation.
std::vector<Feature> GeometryFeatures(const Sensor &sensor, Decimation decimation);

/// ReverseX and ReverseY.
std::vector<Feature> FlipFeatures();

/// The default is the first format.
Feature PixelFormatFeature(const Formats &formats);

Feature TestPatternFeature();

std::vector<Feature> AcquisitionFeatures();

std::vector<Feature> ChunkFeatures(const std::vector<Chunk> &chunks);

/// Payload size, locks and the check of frames.
std::vector<Feature> TransportFeatures();

} // namespace GenTL::simulator
