#include "gentlctl/failure_text.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <new>
#include <system_error>

namespace gentlctl
{

std::string FailureText(const std::exception_ptr &failure)
{
    try
    {
        std::rethrow_exception(failure);
    }
    catch (const GenTL::internal::GenTLException &exception)
    {
        return fmt::format("{} ({})", exception.what(), exception.Code());
    }
    catch (const std::bad_alloc &)
    {
        return "There is not enough memory";
    }
    catch (const std::system_error &error)
    {
        // A thread that cannot start says no more than the code; other errors name what failed.
        return error.code() == std::errc::resource_unavailable_try_again &&
                       error.what() == error.code().message()
                   ? fmt::format("Cannot start a thread: {}", error.what())
                   : error.what();
    }
    catch (const std::exception &exception)
    {
        return exception.what();
    }
}

} // namespace gentlctl
