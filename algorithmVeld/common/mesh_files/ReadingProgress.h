#pragma once

#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Progress through a text of which nobody knows how many lines it has.
class ReadingProgress
{
public:
    /// \param size of the text, in bytes
    explicit ReadingProgress(std::size_t size) : progress_(size), left_(size) {}

    /// A line is read. \param left what is left of the text, in bytes
    void next(std::size_t left)
    {
        if (++lines_ % STRIDE == 0)
        {
            progress_.advance(left_ - left);
            left_ = left;
        }
    }

private:
    static constexpr std::size_t STRIDE = 1024;
    Progress progress_;
    std::size_t left_; ///< when it was last told
    std::size_t lines_ = 0;
};

} // namespace OrvaneAlgorithm::detail
