#pragma once

#include "simulator/cameras/camera_model.h"

#include <span>

namespace GenTL::simulator
{

constexpr const char *wideVendor = "Wideworld";

/// The place of a register in the memory of a camera.
struct WideRegister
{
    const char *feature;
    uint64_t address;
    bool bigEndian = false;
};

/// The registers of a camera: those of its identity, which all of these cameras have at the same addresses,
/// and `places`.
std::vector<FixedRegister> FixedRegisters(std::span<const WideRegister> places);

// Cameras of another manufacturer, each with a description of its own and registers at addresses of its own.

/// A camera as most are: all registers big-endian and of four bytes, the description in a zip archive with
/// bytes behind its end, packed formats of GigE Vision 1, time stamps in ticks.
CameraModel WideGigE();

/// A camera whose description has every kind of node of the GenApi schema, and registers in both byte orders.
CameraModel WideUsb();

} // namespace GenTL::simulator
