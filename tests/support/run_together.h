#pragma once

#include <barrier>
#include <thread>
#include <vector>

namespace GenTL::internal
{

/// Runs the action on that many threads at once, and waits for them.
template <typename Action>
void RunTogether(int numThreads, Action action)
{
    std::barrier together(numThreads);
    std::vector<std::jthread> threads;
    for (int i = 0; i < numThreads; ++i)
    {
        threads.emplace_back(
            [&]
            {
                together.arrive_and_wait();
                action();
            });
    }
}

} // namespace GenTL::internal
