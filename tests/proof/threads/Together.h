#pragma once

#include <barrier>
#include <thread>
#include <vector>

namespace zel::test {

constexpr int threadCount = 4;

/// Runs the work on several threads that start at the same moment, and waits for all of them. It
/// is given the number of its thread, from 0 on.
template<typename Work>
void together(const Work &work)
{
    std::barrier start(threadCount);
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&work, &start, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace zel::test
