// URLs of a description: each names a range, names none, or throws an exception. A range survives writing and
// reading.

#include "nodemap/description_url.h"
#include "require.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal;
    const std::string_view url(reinterpret_cast<const char *>(data), size);
    try
    {
        const auto range = ParseDescriptionUrl(url);
        Require(range.has_value() == (url.find(';') != std::string_view::npos));
        if (range)
        {
            const auto again = ParseDescriptionUrl(fmt::format(
                "local:///Device.xml;{:X};{:X}?SchemaVersion=1.1.0", range->Address, range->Size));
            Require(again && again->Address == range->Address && again->Size == range->Size);
        }
    }
    catch (const std::logic_error &) // NOLINT(bugprone-empty-catch): not a number, or beyond 64 bits
    {
    }
    return 0;
}
