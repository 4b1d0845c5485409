#include "vision_module/handles.h"

#include "vision_module/error.h"

#include <mutex>
#include <string>
#include <unordered_map>

namespace tarn::vision::handles
{

namespace
{

struct Entry
{
    Kind kind;
    std::shared_ptr<void> object;
    size_t owners;
};

using Entries = std::unordered_map<void *, Entry>;

std::mutex mutex;
uintptr_t last = 0;
// Allocated with the first handle and freed with the last. A static object would be destroyed at exit, when a
// caller may still release handles.
Entries *entries = nullptr;

std::string Name(Kind kind)
{
    switch (kind)
    {
    case Kind::Image:
        return "an image";
    case Kind::Metadata:
        return "metadata";
    case Kind::Region:
        return "a region";
    case Kind::Undistortion:
        return "an undistortion";
    }
    return "nothing";
}

/// Call it with the mutex locked.
Entries::iterator Locate(Kind kind, void *handle)
{
    if (handle == nullptr)
    {
        throw Failure(TARN_CVL_NULL_POINTER, "The handle is null, expected one of " + Name(kind));
    }
    const auto entry = entries == nullptr ? Entries::iterator{} : entries->find(handle);
    if (entries == nullptr || entry == entries->end())
    {
        throw Failure(TARN_CVL_MISMATCH, "The handle is not a live one, expected one of " + Name(kind));
    }
    if (entry->second.kind != kind)
    {
        throw Failure(TARN_CVL_MISMATCH,
                      "The handle is one of " + Name(entry->second.kind) + ", expected one of " + Name(kind));
    }
    return entry;
}

} // namespace

void *Add(Kind kind, std::shared_ptr<void> object)
{
    const std::lock_guard lock(mutex);
    if (entries == nullptr)
    {
        entries = new Entries;
    }
    constexpr uintptr_t step = 16;
    last += step;
    void *handle = reinterpret_cast<void *>(last);
    entries->emplace(handle, Entry{kind, std::move(object), 1});
    return handle;
}

std::shared_ptr<void> Find(Kind kind, void *handle)
{
    const std::lock_guard lock(mutex);
    return Locate(kind, handle)->second.object;
}

void AddOwner(Kind kind, void *handle)
{
    const std::lock_guard lock(mutex);
    ++Locate(kind, handle)->second.owners;
}

void Release(Kind kind, void *handle)
{
    std::shared_ptr<void> ended;
    const std::lock_guard lock(mutex);
    const auto entry = Locate(kind, handle);
    if (--entry->second.owners > 0)
    {
        return;
    }
    ended = std::move(entry->second.object);
    entries->erase(entry);
    if (entries->empty())
    {
        delete entries;
        entries = nullptr;
    }
}

} // namespace tarn::vision::handles
