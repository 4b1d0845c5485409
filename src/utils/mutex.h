#pragma once

#include <mutex>

// Attributes that clang's -Wthread-safety checks. Other compilers do not know them.
#if defined(__clang__)
#define QVR_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define QVR_THREAD_SAFETY(attribute)
#endif

/// Placed after a member: the member is read and written only with the mutex held.
#define QVR_GUARDED_BY(mutex) QVR_THREAD_SAFETY(guarded_by(mutex))
/// Placed after a function: the caller holds the mutex.
#define QVR_REQUIRES(...) QVR_THREAD_SAFETY(requires_capability(__VA_ARGS__))
/// Placed after a function: the caller does not hold the mutex, since the function takes it.
#define QVR_EXCLUDES(...) QVR_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
/// Placed after a function: the compiler does not check it. The function says why.
#define QVR_UNCHECKED QVR_THREAD_SAFETY(no_thread_safety_analysis)

namespace GenTL::internal::utils
{

template <typename Native>
class MutexLock;

/// A mutex of the standard library that the compiler can follow. Only a MutexLock takes it.
template <typename Native>
class QVR_THREAD_SAFETY(capability("mutex")) BasicMutex
{
private:
    friend class MutexLock<Native>;
    Native m_native;
};

using Mutex = BasicMutex<std::mutex>;
using RecursiveMutex = BasicMutex<std::recursive_mutex>;

/// Holds a mutex for its own lifetime.
template <typename Native>
class QVR_THREAD_SAFETY(scoped_lockable) MutexLock
{
public:
    explicit MutexLock(BasicMutex<Native> &mutex) QVR_THREAD_SAFETY(acquire_capability(mutex))
        : m_lock(mutex.m_native)
    {
    }
    ~MutexLock() QVR_THREAD_SAFETY(release_capability()) {}
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

    /// For a condition variable's wait, which releases the mutex and holds it again when it returns.
    std::unique_lock<Native> &ForWait() { return m_lock; }

private:
    std::unique_lock<Native> m_lock;
};

} // namespace GenTL::internal::utils
