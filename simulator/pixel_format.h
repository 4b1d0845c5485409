#ifndef QVR_SIMULATOR_PIXEL_FORMAT_H
#define QVR_SIMULATOR_PIXEL_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace GenTL::simulator
{

/** A pixel format that a camera can send, with the function that makes its bytes. */
struct PixelFormat
{
    const char *name;
    int64_t code;
    unsigned sampleBits;  /**< significant bits of a sample */
    unsigned storageBits; /**< bits that a sample takes in the image */
    void (*pack)(std::span<const uint16_t> samples, uint8_t *out);

    uint16_t MaximumSample() const { return static_cast<uint16_t>((1U << sampleBits) - 1); }

    /** Bytes of so many samples, the last byte filled up. */
    size_t SizeOf(size_t samples) const { return (samples * storageBits + 7) / 8; }
};

/** So many samples end on a byte, and on a group, in every format. */
constexpr uint32_t samplesPerGroup = 8;

std::span<const PixelFormat> PixelFormats();

/** Throws std::logic_error for a code that is not in the list. */
const PixelFormat &FindPixelFormat(int64_t code);

} // namespace GenTL::simulator

#endif
