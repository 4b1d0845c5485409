// URLs of a description: each names a range, names none, or throws an exception. A range survives writing and
// reading.

#include "remoteport.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal;
    const std::string_view url(reinterpret_cast<const char *>(data), size);
    try
    {
        const auto range = ParseDescriptionUrl(url);
        if (range.has_value() != (url.find(';') != std::string_view::npos))
        {
            std::abort();
        }
        if (range)
        {
            const auto again = ParseDescriptionUrl(fmt::format(
                "local:///Device.xml;{:X};{:X}?SchemaVersion=1.1.0", range->address, range->size));
            if (!again || again->address != range->address || again->size != range->size)
            {
                std::abort();
            }
        }
    }
    catch (const std::logic_error &) // NOLINT(bugprone-empty-catch): not a number, or beyond 64 bits
    {
    }
    return 0;
}
