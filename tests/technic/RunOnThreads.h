#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <thread>
#include <vector>

// Runs work(0) to work(count - 1), each on a thread of its own and all from the same moment on,
// until all have returned. An exception out of the work fails the test.
template <class Work>
void runOnThreads(std::size_t count, Work work) {
    std::atomic<std::size_t> ready{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&work, &ready, count, i] {
            ++ready;
            while (ready < count) {
                std::this_thread::yield();
            }
            try {
                work(i);
            } catch (const std::exception& error) {
                ADD_FAILURE() << "thread " << i << " threw: " << error.what();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
