#pragma once

#include <gtest/gtest.h>

#include <omp.h>

namespace veld_test
{

/// Runs with a number of threads, and puts the old number back.
class Threads
{
public:
    explicit Threads(int n) : before_(omp_get_max_threads()) { omp_set_num_threads(n); }
    ~Threads() { omp_set_num_threads(before_); }
    Threads(Threads const&) = delete;
    Threads& operator=(Threads const&) = delete;

private:
    int before_;
};

/// Runs a part of a test with one, two and more threads than most machines have.
template <typename Body>
void for_thread_counts(Body const& body)
{
    for (int const n : {1, 2, 8})
    {
        SCOPED_TRACE(n);
        Threads const threads(n);
        body();
    }
}

} // namespace veld_test
