#pragma once

#include <tarn_cvl/tarn_cvl.h>

#include <dlfcn.h>

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>

namespace GenTL::internal
{

/// The built vision module, open for the life of this object. Members are named without `tarn_cvl_`.
class VisionModule
{
public:
    static constexpr const char *path = QVR_LIB_DIR "/libqvr_tarn_cvl.so";

private:
    void *m_module = dlopen(path, RTLD_NOW);

    template <typename Function>
    Function Load(const char *symbol) const
    {
        void *function = m_module == nullptr ? nullptr : dlsym(m_module, symbol);
        if (function == nullptr)
        {
            throw std::runtime_error(std::string("no ") + symbol);
        }
        return reinterpret_cast<Function>(function);
    }

public:
    VisionModule() = default;
    VisionModule(const VisionModule &) = delete;
    VisionModule &operator=(const VisionModule &) = delete;
    ~VisionModule() { dlclose(m_module); }

    /// Calls an undeclared function, named without `tarn_cvl_`.
    int32_t CallOther(const std::string &name) const
    {
        return Load<int32_t (*)()>(("tarn_cvl_" + name).c_str())();
    }

#define CVL_CALLED(name) decltype(&::tarn_cvl_##name) name = Load<decltype(name)>("tarn_cvl_" #name);
#define CVL_OFFERED(name) CVL_CALLED(name)
#define CVL_OTHER(name)
#include <tarn_cvl/functions.inc>
#undef CVL_CALLED
#undef CVL_OTHER
};

/// The result of a call: its status and, after a failure, the text of the last error.
struct Answered
{
    int32_t status = TARN_CVL_SUCCESS;
    std::string text;

    friend bool operator==(const Answered &, const Answered &) = default;

    friend std::ostream &operator<<(std::ostream &stream, const Answered &answered)
    {
        return stream << answered.status << " \"" << answered.text << '"';
    }
};

class VisionTest : public testing::Test
{
protected:
    VisionModule vision;

    std::string LastError()
    {
        size_t size = 0;
        EXPECT_EQ(vision.GetLastErrorMessage_GetCount(&size), TARN_CVL_SUCCESS);
        std::string text(size, 'x');
        EXPECT_EQ(vision.GetLastErrorMessage(text.data(), &size), TARN_CVL_SUCCESS);
        EXPECT_EQ(size, text.size());
        EXPECT_EQ(text.back(), 0);
        text.pop_back();
        return text;
    }

    Answered AnswerOf(int32_t status) { return {status, status == TARN_CVL_SUCCESS ? "" : LastError()}; }
};

} // namespace GenTL::internal
