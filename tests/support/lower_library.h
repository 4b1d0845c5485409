#pragma once

#include "lower_producer/lower.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace GenTL::internal
{

/// A lower producer of the tests. It is loaded for the life of this object; constructor and destructor reset
/// it to its first state.
class LowerLibrary
{
public:
    explicit LowerLibrary(const std::string &name = "lower_full")
        : m_path(QVR_LIB_DIR "/test/" + name + ".cti"), m_library(dlopen(m_path.c_str(), RTLD_NOW))
    {
        if (m_library == nullptr)
        {
            throw std::runtime_error(dlerror());
        }
        using Access = lower::Producer *();
        m_producer = reinterpret_cast<Access *>(dlsym(m_library, "LowerProducer"))();
        Reset();
    }
    ~LowerLibrary()
    {
        Reset();
        dlclose(m_library);
    }
    LowerLibrary(const LowerLibrary &) = delete;
    LowerLibrary &operator=(const LowerLibrary &) = delete;

    const std::string &Path() const { return m_path; }
    lower::Producer *operator->() const { return m_producer; }
    lower::Producer &operator*() const { return *m_producer; }

private:
    void Reset()
    {
        std::destroy_at(m_producer);
        std::construct_at(m_producer);
    }

    std::string m_path;
    void *m_library;
    lower::Producer *m_producer;
};

} // namespace GenTL::internal
