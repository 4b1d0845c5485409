#pragma once

#include <memory>

namespace tarn::vision
{

/// What a handle stands for.
enum class Kind
{
    Image,
    Metadata,
    Region,
    Undistortion
};

/// The live handles. A handle is a number that is never reused, so a stale handle is always recognised.
/// Callable from any thread. The memory of this list is freed with the last handle.
namespace handles
{

/// Registers an object. The new handle has one owner.
void *Add(Kind kind, std::shared_ptr<void> object);

/// @throws Failure with TARN_CVL_NULL_POINTER for null; with TARN_CVL_MISMATCH unless it is a live handle of
/// this kind. So do the next two functions.
std::shared_ptr<void> Find(Kind kind, void *handle);

void AddOwner(Kind kind, void *handle);

/// Removes an owner. The handle ends with its last owner.
void Release(Kind kind, void *handle);

} // namespace handles

template <typename T>
void *AddHandle(std::shared_ptr<T> object)
{
    return handles::Add(T::kind, std::move(object));
}

template <typename T>
std::shared_ptr<T> FindHandle(void *handle)
{
    return std::static_pointer_cast<T>(handles::Find(T::kind, handle));
}

} // namespace tarn::vision
