// Zip archives with a description: each yields the bytes of its first file, or GC_ERR_IO.

#include "nodemap/unzip.h"
#include "utils/gentl_exception.h"

#include <spdlog/spdlog.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace GenTL::internal;
    spdlog::set_level(spdlog::level::off);
    try
    {
        const auto first = Unzip(data, size);
        if (Unzip(data, size) != first)
        {
            std::abort();
        }
    }
    catch (const GenTLException &exception)
    {
        if (exception.Code() != GenTL::GC_ERR_IO)
        {
            std::abort();
        }
    }
    return 0;
}
