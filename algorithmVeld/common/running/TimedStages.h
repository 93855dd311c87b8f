#pragma once

#include "algorithmVeld/common/running/Log.h"

namespace OrvaneAlgorithm::detail
{

/// The stages of an operation, each of which is timed as a step under the operation's own.
class TimedStages
{
public:
    /// \param operation the operation's step; it has to outlive the stages
    explicit constexpr TimedStages(char const* operation) : operation_(operation) {}

    /// Runs one stage. \return what it returns
    template <typename Stage>
    auto run(char const* step, Stage const& stage) const
    {
        StepTimer const timer(step, operation_);
        return stage();
    }

private:
    char const* operation_;
};

} // namespace OrvaneAlgorithm::detail
