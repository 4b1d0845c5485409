#pragma once

#include "scripted_vision/library.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace GenTL::internal
{

/// A vision library of the tests. It is loaded for the life of this object, so that the code under test finds
/// it by its name alone; constructor and destructor reset it to its first state.
class VisionLibrary
{
public:
    explicit VisionLibrary(const std::string &form = "full")
        : m_library(dlopen((QVR_LIB_DIR "/test/" + form + "/libqvr_tarn_cvl.so").c_str(), RTLD_LAZY))
    {
        if (m_library == nullptr)
        {
            throw std::runtime_error(dlerror());
        }
        using Access = scripted::Script *();
        m_script = reinterpret_cast<Access *>(dlsym(m_library, "VisionScript"))();
        Reset();
    }
    ~VisionLibrary()
    {
        Reset();
        dlclose(m_library);
    }
    VisionLibrary(const VisionLibrary &) = delete;
    VisionLibrary &operator=(const VisionLibrary &) = delete;

    scripted::Script *operator->() const { return m_script; }
    scripted::Script &operator*() const { return *m_script; }

private:
    void Reset()
    {
        std::destroy_at(m_script);
        std::construct_at(m_script);
    }

    void *m_library;
    scripted::Script *m_script;
};

} // namespace GenTL::internal
