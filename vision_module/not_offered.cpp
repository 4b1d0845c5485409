#include "vision_module/not_offered.h"

#include "vision_module/error.h"

namespace tarn::vision
{

int32_t NotOffered(const char *name) noexcept
{
    return Answer(
        [&]
        {
            throw Failure(TARN_CVL_NOT_SUPPORTED,
                          "This vision module does not offer the function tarn_cvl_" + std::string(name));
        });
}

} // namespace tarn::vision

// Declared without parameters; callers pass the arguments of the full library, which are ignored.
#pragma GCC visibility push(default)
extern "C"
{
#define CVL_CALLED(name)
#define CVL_OFFERED(name)
#define CVL_OTHER(name)                                                                                      \
    int32_t tarn_cvl_##name(void)                                                                            \
    {                                                                                                        \
        return tarn::vision::NotOffered(#name);                                                              \
    }
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
}
#pragma GCC visibility pop
