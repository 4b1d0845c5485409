#pragma once

#include "simulator/info.h"

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace GenTL::simulator
{

/// The data of an event other than EVENT_NEW_BUFFER.
struct Notice
{
    /// The code for EVENT_ERROR; the EventID of the description for EVENT_REMOTE_DEVICE and EVENT_MODULE; 0
    /// for an event that names a feature.
    uint64_t id = 0;
    std::string
        content; ///< the text of an error, the name of a feature, or the data that the description explains
};

/// The longest content.
constexpr size_t longestNotice = 256;

/// A notice whose data are the id, then these numbers.
Notice NumbersNotice(uint64_t id, std::initializer_list<uint64_t> numbers);

/// The notice as the bytes of an event, which EventGetData gives and EventGetDataInfo takes.
std::vector<uint8_t> BytesOf(const Notice &notice);

/// The answer of EventGetDataInfo for these bytes.
/// @throws Error GC_ERR_INVALID_PARAMETER: they are no notice.
/// @throws Error GC_ERR_NOT_AVAILABLE: an event of this type has no such value.
Info NoticeInfo(EVENT_TYPE type, std::span<const uint8_t> bytes, EVENT_DATA_INFO_CMD command);

} // namespace GenTL::simulator
