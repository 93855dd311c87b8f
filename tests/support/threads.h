#pragma once

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

} // namespace veld_test
