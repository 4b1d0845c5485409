#pragma once

#include "support/vision_library.h"
#include "vision/exceptions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>

namespace GenTL::internal
{

/// The exception that an action threw, with its dynamic type.
struct VisionFailure
{
    std::string text;
    int32_t code{};                             ///< 0 unless it is an error of the library
    const std::type_info *type = &typeid(void); ///< void when nothing was thrown

    friend bool operator==(const VisionFailure &left, const VisionFailure &right)
    {
        return left.text == right.text && left.code == right.code && *left.type == *right.type;
    }
    friend std::ostream &operator<<(std::ostream &stream, const VisionFailure &failure)
    {
        return stream << '"' << failure.text << "\" (" << failure.code << ", " << failure.type->name() << ')';
    }
};

template <typename T>
VisionFailure Failing(std::string text, int32_t code = 0)
{
    return {std::move(text), code, &typeid(T)};
}

template <typename Action>
VisionFailure VisionFailureOf(Action action)
{
    try
    {
        action();
    }
    catch (const tarn::cvl::Exception &exception)
    {
        return {exception.what(), exception.Code(), &typeid(exception)};
    }
    catch (const std::exception &exception)
    {
        return {exception.what(), 0, &typeid(exception)};
    }
    return {};
}

/// Uses the scripted vision library. Checks at the end that no object is left and that no stale handle was
/// used.
class VisionTest : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(vision->LiveObjects(), 0U);
        EXPECT_EQ(vision->staleHandles, 0);
    }

    VisionLibrary vision;
};

} // namespace GenTL::internal
