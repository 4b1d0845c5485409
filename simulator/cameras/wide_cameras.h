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

// Cameras of a second manufacturer. Each has its own description, and registers at its own addresses.

/// The usual camera: all registers big-endian and of four bytes, the description in a zip archive with
/// bytes behind its end, packed formats of GigE Vision 1, time stamps in ticks.
CameraModel WideGigE();

/// A camera whose description has every kind of node of the GenApi schema, and registers in both byte orders.
CameraModel WideUsb();

} // namespace GenTL::simulator
