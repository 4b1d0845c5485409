#include "vision_module/error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace tarn::vision
{

namespace
{

// It has no destructor, because a thread may end after the library was unloaded.
struct Text
{
    std::array<char, 512> bytes;
    size_t length;
};

constinit thread_local Text lastError{};

} // namespace

void SetLastError(std::string_view text) noexcept
{
    lastError.length = std::min(text.size(), lastError.bytes.size() - 1);
    std::memcpy(lastError.bytes.data(), text.data(), lastError.length);
    lastError.bytes[lastError.length] = 0;
}

std::string_view LastError() noexcept
{
    return {lastError.bytes.data(), lastError.length};
}

int32_t KeepCurrentException() noexcept
{
    try
    {
        throw;
    }
    catch (const Failure &failure)
    {
        SetLastError(failure.what());
        return failure.Status();
    }
    catch (const std::length_error &)
    {
        SetLastError("The count is larger than any array; expected the number of elements");
        return TARN_CVL_OUT_OF_RANGE;
    }
    catch (const std::bad_alloc &)
    {
        SetLastError("There is not enough memory");
        return TARN_CVL_INTERNAL;
    }
    catch (const std::exception &exception)
    {
        SetLastError(exception.what());
        return TARN_CVL_INTERNAL;
    }
    catch (...)
    {
        SetLastError("Unknown error");
        return TARN_CVL_UNKNOWN;
    }
}

void RequirePointer(const void *pointer, std::string_view what)
{
    if (pointer == nullptr)
    {
        throw Failure(TARN_CVL_NULL_POINTER, "The pointer to " + std::string(what) + " is null");
    }
}

void RequireRecordSize(size_t size, size_t expected, std::string_view record)
{
    if (size != expected)
    {
        throw Failure(TARN_CVL_MISMATCH, "The size of " + std::string(record) + " is given as " +
                                             std::to_string(size) + " bytes, expected " +
                                             std::to_string(expected));
    }
}

} // namespace tarn::vision
