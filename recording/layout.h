#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

/// The files of a recording: docs/recording.md.
namespace recording
{

static_assert(std::endian::native == std::endian::little, "numbers are stored as they are in memory");

constexpr uint32_t formatVersion = 1;

constexpr const char *deviceFile = "recording.json";
constexpr const char *dataFile = "frames.data";
constexpr const char *indexFile = "frames.index";

/// The index begins with this header.
struct IndexHeader
{
    char magic[8] = {'Q', 'V', 'R', 'I', 'N', 'D', 'E', 'X'};
    uint32_t version = formatVersion;
    uint32_t reserved = 0;
};
static_assert(sizeof(IndexHeader) == 16);

constexpr uint32_t frameEntry = 0x4D415246; // "FRAM"
constexpr uint32_t endEntry = 0x20444E45;   // "END "

/// Before each entry of the index. `length` bytes follow it.
struct EntryHeader
{
    uint32_t kind = 0;
    uint32_t length = 0;
    uint32_t checksum = 0; ///< CRC-32 of these bytes
};
static_assert(sizeof(EntryHeader) == 12);

/// Records are far smaller; a larger number means damage.
constexpr uint32_t longestEntry = 1U << 24U;

/// Where a frame lies in the data file. The entry of a frame begins with it; its record follows.
struct FramePlace
{
    uint64_t offset = 0;   ///< bytes
    uint64_t size = 0;     ///< bytes
    uint64_t time = 0;     ///< as FrameRecord::time
    uint32_t checksum = 0; ///< CRC-32 of the frame
    uint32_t reserved = 0;
};
static_assert(sizeof(FramePlace) == 32);

/// The last entry of the index: the recording is complete.
struct EndRecord
{
    uint64_t frames = 0;
    uint64_t dataSize = 0;  ///< bytes of the data file
    uint64_t lost = 0;      ///< frames that the producer lost
    uint64_t unwritten = 0; ///< frames that came and were not recorded
};
static_assert(sizeof(EndRecord) == 32);

} // namespace recording
