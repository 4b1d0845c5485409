#pragma once

#include "genapi/evaluator.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The registers of a device, found through a pass: their places, bytes and bits.
namespace GenTL::internal::genapi
{

/// Where a register lies and how its bytes and bits are ordered.
struct RegisterLayout
{
    uint64_t address;
    size_t length;
    bool isBigEndian;
};

/// An integer inside of a register.
struct IntegerField
{
    /// Its lowest bit, in the number that all bytes of the register form.
    unsigned low;
    /// 1 to 64.
    unsigned bits;
    bool isSigned;

    int64_t Min() const;
    /// The greatest int64 for 64 bits without a sign.
    int64_t Max() const;
    int64_t Extract(uint64_t bytes) const;
    uint64_t Insert(uint64_t bytes, int64_t value) const;
};

/// Why the registers of a port cannot be reached: the port stands for chunks or events. Empty for a device's
/// port.
std::string PortObstacle(const Evaluator &evaluator, NodeId id);

/// The length of a register in bytes, 1 to 2^20.
size_t LengthOf(Evaluator &evaluator, NodeId id);
RegisterLayout LayoutOf(Evaluator &evaluator, NodeId id);
/// The integer in an IntReg, MaskedIntReg or StructEntry of the given length.
IntegerField FieldOf(Evaluator &evaluator, NodeId id, const RegisterLayout &layout);

/// @throws GenApiError neither 4 nor 8 bytes
void CheckFloatLength(const Evaluator &evaluator, const RegisterLayout &layout);

std::vector<uint8_t> ReadRegister(Evaluator &evaluator, NodeId id);
/// The number that the bytes of a register form. The register must have 1 to 8 bytes.
uint64_t ReadRegisterNumber(Evaluator &evaluator, NodeId id, const RegisterLayout &layout);
/// Like ReadRegisterNumber, always from the device.
uint64_t ReadRegisterNumberOnDevice(Evaluator &evaluator, const RegisterLayout &layout);

/// Writes the register and forgets all values of the pass.
void WriteRegister(Evaluator &evaluator, const RegisterLayout &layout, std::span<const uint8_t> bytes);
/// Writes the low bytes of the number.
void WriteRegisterNumber(Evaluator &evaluator, const RegisterLayout &layout, uint64_t value);

} // namespace GenTL::internal::genapi
