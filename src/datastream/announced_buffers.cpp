#include "datastream/announced_buffers.h"

#include "datastream/buffer.h"
#include "instance_manager.h"
#include "port/i_library.h"
#include "utils/checks.h"

#include <algorithm>

namespace GenTL::internal
{

BUFFER_HANDLE HandleOf(ILibrary &library, const Buffer &buffer)
{
    auto *const handle = const_cast<Buffer *>(&buffer);
    return library.GetInstanceManager().buffers.Contains(handle) ? handle : nullptr;
}

bool GiveBack(ILibrary &library, BUFFER_HANDLE handle)
{
    const auto buffer = library.GetInstanceManager().buffers.Find(handle);
    if (buffer)
    {
        buffer->SetState(BufferState::Announced);
    }
    return buffer != nullptr;
}

BUFFER_HANDLE AnnouncedBuffers::Add(const std::shared_ptr<Buffer> &buffer)
{
    const utils::MutexLock guard(m_mutex);
    if (!buffer->OwnsMemory() && std::ranges::any_of(m_buffers, [&](const auto &known)
                                                     { return known->GetBase() == buffer->GetBase(); }))
    {
        throw GenTLException("Buffer is already in use!", GC_ERR_RESOURCE_IN_USE);
    }
    m_buffers.push_back(buffer);
    ++m_numAnnounced;
    return m_library.GetInstanceManager().buffers.Add(buffer);
}

std::shared_ptr<Buffer> AnnouncedBuffers::Remove(BUFFER_HANDLE handle, size_t minimum)
{
    const utils::MutexLock guard(m_mutex);
    const auto entry =
        std::ranges::find_if(m_buffers, [&](const auto &buffer)
                             { return buffer.get() == handle && HandleOf(m_library, *buffer) != nullptr; });
    if (entry == m_buffers.end())
    {
        throw GenTLException("Buffer not found", GC_ERR_INVALID_HANDLE);
    }
    auto removed = *entry;
    if (removed->GetState() != BufferState::Announced)
    {
        throw GenTLException("Buffer is currently queued and cannot be revoked.", GC_ERR_BUSY);
    }
    if (m_buffers.size() == minimum)
    {
        throw GenTLException(fmt::format("The minimum number of buffers is {}. No more buffers can be "
                                         "revoked during acquisition.",
                                         minimum),
                             GC_ERR_INVALID_BUFFER);
    }
    m_buffers.erase(entry);
    --m_numAnnounced;
    m_library.GetInstanceManager().buffers.Remove(handle);
    return removed;
}

BUFFER_HANDLE AnnouncedBuffers::HandleAt(uint32_t index)
{
    const utils::MutexLock guard(m_mutex);
    utils::CheckIndex(index, m_buffers.size());
    return HandleOf(m_library, *m_buffers[index]);
}

std::shared_ptr<Buffer> AnnouncedBuffers::TakeFree()
{
    const utils::MutexLock guard(m_mutex);
    const auto entry = std::ranges::find(m_buffers, BufferState::Input,
                                         [](const auto &buffer) { return buffer->GetState(); });
    if (entry == m_buffers.end())
    {
        return nullptr;
    }
    (*entry)->SetState(BufferState::Filling);
    return *entry;
}

void AnnouncedBuffers::Visit(const std::function<void(const Buffers &)> &visitor)
{
    const utils::MutexLock guard(m_mutex);
    visitor(m_buffers);
}

AnnouncedBuffers::Buffers AnnouncedBuffers::Copy()
{
    const utils::MutexLock guard(m_mutex);
    return m_buffers;
}

size_t AnnouncedBuffers::CountIn(std::initializer_list<BufferState> states)
{
    const auto isCounted = [&](const auto &buffer)
    { return std::ranges::find(states, buffer->GetState()) != states.end(); };
    return static_cast<size_t>(std::ranges::count_if(Copy(), isCounted));
}

void ForEachIn(BufferState state, const AnnouncedBuffers::Buffers &buffers,
               const std::function<void(Buffer &)> &action)
{
    for (const auto &buffer : buffers)
    {
        if (buffer->GetState() == state)
        {
            action(*buffer);
        }
    }
}

void MoveBuffers(const AnnouncedBuffers::Buffers &buffers, BufferState from, BufferState to)
{
    ForEachIn(from, buffers, [to](Buffer &buffer) { buffer.SetState(to); });
}

} // namespace GenTL::internal
