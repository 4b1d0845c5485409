// Zip archives with a description: each yields the bytes of its first file, or GC_ERR_IO.

#include "nodemap/unzip.h"
#include "require.h"
#include "utils/gentl_exception.h"

#include <spdlog/spdlog.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal;
    spdlog::set_level(spdlog::level::off);
    try
    {
        const auto first = Unzip(data, size);
        Require(Unzip(data, size) == first);
    }
    catch (const GenTLException &exception)
    {
        Require(exception.Code() == GenTL::GC_ERR_IO);
    }
    return 0;
}
