#include "gentlctl/failure_text.h"

#include "utils/gentl_exception.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

namespace gentlctl
{
namespace
{

template <typename Exception>
std::string TextOf(const Exception &exception)
{
    return FailureText(std::make_exception_ptr(exception));
}

TEST(FailureText, IsThatOfTheException)
{
    EXPECT_EQ(TextOf(std::runtime_error("No frame")), "No frame");
    EXPECT_EQ(TextOf(std::system_error(ENOSPC, std::generic_category(), "Cannot write x")),
              "Cannot write x: No space left on device");
}

TEST(FailureText, HasTheCodeOfAProducer)
{
    EXPECT_EQ(TextOf(GenTL::internal::GenTLException("No such feature", GenTL::GC_ERR_INVALID_ID)),
              "No such feature (-1007)");
}

TEST(FailureText, SaysWhatIsShort)
{
    EXPECT_EQ(TextOf(std::bad_alloc()), "There is not enough memory");
    EXPECT_EQ(TextOf(std::system_error(EAGAIN, std::generic_category())),
              "Cannot start a thread: Resource temporarily unavailable");
    EXPECT_EQ(TextOf(std::system_error(EAGAIN, std::generic_category(), "Cannot write x")),
              "Cannot write x: Resource temporarily unavailable");
}

} // namespace
} // namespace gentlctl
