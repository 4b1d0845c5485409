// URLs of a description: each names a range, names none, or fails with an exception. The range is what the
// URL says: written out again, it reads the same.

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
    catch (const std::logic_error &) // NOLINT(bugprone-empty-catch): no number, or one beyond 64 bits
    {
    }
    return 0;
}
