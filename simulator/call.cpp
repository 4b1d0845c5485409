#include "simulator/call.h"

namespace GenTL::simulator
{

LastError &LastError::OfThisThread()
{
    thread_local LastError error;
    return error;
}

GC_ERROR Fail(const char *function, GC_ERROR code, const char *text) noexcept
{
    try
    {
        LastError &last = LastError::OfThisThread();
        last.code = code;
        last.text = std::string(function) + ": " + text;
    }
    catch (const std::bad_alloc &)
    {
        // Without memory for the text, the code alone is reported.
    }
    return code;
}

} // namespace GenTL::simulator
