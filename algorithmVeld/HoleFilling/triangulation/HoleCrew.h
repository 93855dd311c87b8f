#pragma once

#include "algorithmVeld/common/running/Progress.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The threads that work on holes side by side. Those that find no hole left help with the ones
/// that others have begun: a large hole is as much work as many small ones.
class HoleCrew
{
public:
    explicit HoleCrew(std::size_t holes) : unfinished_(holes) {}

    /// Runs `work` on the calling thread, and on others as they become idle. Returns when all of
    /// them have left it.
    /// \param work can be run by any number of threads, none of which leaves it before there is
    ///        nothing left to begin. Does not throw.
    void share(std::function<void()> const& work);

    /// A hole is done, or given up.
    void finish_hole();

    /// Helps until all holes are done.
    void help();

private:
    struct Offer
    {
        std::function<void()> const& work;
        int helpers = 0;
    };

    void withdraw(Offer const& offer);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Offer*> offers_; ///< Work that threads may still join.
    std::size_t unfinished_;
};

/// What a hole's thread has of the crew, while it works on that hole.
struct HoleTurn
{
    HoleCrew& crew;
    ProgressShare& progress;
};

} // namespace OrvaneAlgorithm::detail
