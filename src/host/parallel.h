// Splits a range of rows over the machine's cores. Each task gets a contiguous block, so code that
// writes only its own rows gives the same bytes whatever the number of threads.
#pragma once

#include <algorithm>
#include <thread>
#include <vector>

namespace velq {

inline int worker_count() {
    const unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(std::min(n, 64u));
}

// Calls fn(begin, end) on disjoint blocks that cover [begin, end). Small ranges run inline.
template <class Fn>
void parallel_rows(int begin, int end, Fn&& fn, int min_rows_per_task = 16) {
    const int n = end - begin;
    const int tasks = std::min(worker_count(), std::max(1, n / std::max(1, min_rows_per_task)));
    if (tasks <= 1) {
        if (n > 0) fn(begin, end);
        return;
    }
    std::vector<std::thread> threads;
    threads.reserve(tasks - 1);
    int start = begin;
    for (int t = 0; t < tasks; ++t) {
        const int stop = begin + int((long long)n * (t + 1) / tasks);
        if (t == tasks - 1) {
            fn(start, stop);
        } else {
            threads.emplace_back([&fn, start, stop] { fn(start, stop); });
        }
        start = stop;
    }
    for (auto& th : threads) th.join();
}

}  // namespace velq
