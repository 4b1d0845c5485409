#pragma once

#include "simulator/features/feature.h"

namespace GenTL::simulator
{

/// A value of a feature and the number that stands for it in the register.
struct RegisterCode
{
    int64_t value;
    int64_t code;
};

/// How a register shows the value of its feature. The value itself is little-endian.
struct RegisterForm
{
    bool bigEndian = false;
    std::vector<RegisterCode> codes = {}; ///< empty: the register holds the value

    /// Whether the register holds the bytes of the value.
    bool IsPlain() const { return !bigEndian && codes.empty(); }
};

/// The bytes of the register for this value of the feature.
std::vector<uint8_t> ToRegister(const RegisterForm &form, const Feature &feature, std::vector<uint8_t> value);

/// The value of the feature for these bytes of the register.
/// @throws Error GC_ERR_INVALID_VALUE: no value has this code.
std::vector<uint8_t> FromRegister(const RegisterForm &form, const Feature &feature,
                                  std::vector<uint8_t> bytes);

} // namespace GenTL::simulator
