#ifndef QVR_SIMULATOR_ERROR_H
#define QVR_SIMULATOR_ERROR_H

#include <gentl/gentl.h>

#include <stdexcept>
#include <string>

namespace GenTL::simulator
{

/** A failure that an export reports: the code it returns, and the text that GCGetLastError gives. */
class Error : public std::runtime_error
{
public:
    Error(GC_ERROR code, const std::string &text) : std::runtime_error(text), m_code(code) {}

    GC_ERROR Code() const { return m_code; }

private:
    GC_ERROR m_code;
};

/** Fails with GC_ERR_INVALID_PARAMETER, naming the argument, when `pointer` is null. */
inline void RequireNotNull(const void *pointer, const char *name)
{
    if (pointer == nullptr)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, std::string(name) + " must not be NULL");
    }
}

} // namespace GenTL::simulator

#endif
