#pragma once

#include "simulator/features/feature.h"

namespace GenTL::simulator
{

// The bytes of a register as a number or a text, in little-endian byte order. What does not fit is cut off.

int64_t DecodeInteger(const std::vector<uint8_t> &bytes, bool isSigned = false);
double DecodeFloat(const std::vector<uint8_t> &bytes);
std::string DecodeText(const std::vector<uint8_t> &bytes);

void EncodeInteger(std::vector<uint8_t> &bytes, int64_t value);
void EncodeFloat(std::vector<uint8_t> &bytes, double value);
/// Ends the text with a zero in any case.
void EncodeText(std::vector<uint8_t> &bytes, const std::string &text);

/// The register of a feature at its default.
std::vector<uint8_t> DefaultBytes(const Feature &feature);

} // namespace GenTL::simulator
