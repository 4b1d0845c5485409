#include "simulator/streaming/buffer_pool.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace GenTL::simulator
{

namespace
{

using State = Buffer::State;

/// Two threads may revoke a buffer at once, or one revoke it while the other queues it.
void RequireAnnounced(const Buffer &buffer)
{
    if (buffer.state == State::Revoked)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The buffer was revoked");
    }
}

} // namespace

BufferPool::BufferPool(const Event::Mutex &mutex)
    : m_output(std::make_shared<Event>(EVENT_NEW_BUFFER, sizeof(EVENT_NEW_BUFFER_DATA), mutex))
{
}

bool BufferPool::HasMemory(const void *memory) const
{
    return std::ranges::any_of(m_buffers, [&](const auto &buffer) { return buffer->Base() == memory; });
}

void BufferPool::Add(const std::shared_ptr<Buffer> &buffer)
{
    m_buffers.push_back(buffer);
}

void BufferPool::Revoke(const std::shared_ptr<Buffer> &buffer)
{
    RequireAnnounced(*buffer);
    if (buffer->state != State::Idle)
    {
        throw Error(GC_ERR_BUSY, "The buffer is in use");
    }
    buffer->state = State::Revoked;
    std::erase(m_buffers, buffer);
}

void *BufferPool::HandleAt(uint32_t index) const
{
    if (index >= m_buffers.size())
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is no buffer {}", index);
    }
    return m_buffers[index]->Handle();
}

void BufferPool::Queue(const std::shared_ptr<Buffer> &buffer)
{
    RequireAnnounced(*buffer);
    if (buffer->state != State::Idle)
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The buffer is queued already");
    }
    ToInput(buffer);
}

void BufferPool::Flush(ACQ_QUEUE_TYPE operation)
{
    switch (operation)
    {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        for (const auto &buffer : std::exchange(m_input, {}))
        {
            ToOutput(buffer);
        }
        return;
    case ACQ_QUEUE_OUTPUT_DISCARD:
        EmptyOutput();
        return;
    case ACQ_QUEUE_ALL_TO_INPUT:
        EmptyOutput();
        IdleToInput();
        return;
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        IdleToInput();
        return;
    case ACQ_QUEUE_ALL_DISCARD:
        for (const auto &buffer : std::exchange(m_input, {}))
        {
            buffer->state = State::Idle;
        }
        EmptyOutput();
        return;
    default:
        throw Error(GC_ERR_INVALID_PARAMETER, "Queue operation {} is unknown", operation);
    }
}

std::shared_ptr<Buffer> BufferPool::TakeInput()
{
    if (m_input.empty())
    {
        return nullptr;
    }
    auto buffer = std::move(m_input.front());
    m_input.pop_front();
    buffer->state = State::Filling;
    return buffer;
}

void BufferPool::ReturnInput(const std::shared_ptr<Buffer> &buffer)
{
    buffer->state = State::Queued;
    m_input.push_front(buffer);
}

void BufferPool::ToOutput(const std::shared_ptr<Buffer> &buffer)
{
    buffer->state = State::Output;
    const EVENT_NEW_BUFFER_DATA data{buffer->Handle(), buffer->UserPointer()};
    EventItem item{std::vector<uint8_t>(sizeof data), [buffer, counters = m_counters](bool taken)
                   {
                       buffer->state = State::Idle;
                       counters->delivered += taken ? 1 : 0;
                   }};
    std::memcpy(item.data.data(), &data, sizeof data);
    m_output->Push(std::move(item));
}

void BufferPool::DeliverThrough(const std::shared_ptr<Event> &event)
{
    for (auto &item : m_output->TakeAll())
    {
        event->Push(std::move(item));
    }
    m_output = event;
}

PoolSizes BufferPool::Sizes() const
{
    return {m_buffers.size(), m_input.size(), m_output->Pending()};
}

void BufferPool::ToInput(const std::shared_ptr<Buffer> &buffer)
{
    buffer->frame.reset();
    buffer->state = State::Queued;
    m_input.push_back(buffer);
}

void BufferPool::IdleToInput()
{
    for (const auto &buffer : m_buffers)
    {
        if (buffer->state == State::Idle)
        {
            ToInput(buffer);
        }
    }
}

void BufferPool::EmptyOutput()
{
    for (const auto &item : m_output->TakeAll())
    {
        item.leaves(false);
    }
}

} // namespace GenTL::simulator
