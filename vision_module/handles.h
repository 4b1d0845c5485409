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

/// The live handles. A handle is a number that is never given out twice, so that one that has ended is always
/// told from one that lives. Callable from any thread; nothing is left behind once the last handle has ended.
namespace handles
{

/// Gives a handle with one owner.
void *Add(Kind kind, std::shared_ptr<void> object);

/// @throws Failure with TARN_CVL_NULL_POINTER for null, with TARN_CVL_MISMATCH for what is no live handle of
/// this kind. The same for the two below.
std::shared_ptr<void> Find(Kind kind, void *handle);

void AddOwner(Kind kind, void *handle);

/// Takes an owner; the handle ends with the last one.
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
