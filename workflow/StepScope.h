#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <memory>
#include <mutex>
#include <string>

namespace veld
{

/// The context of a step at work: its threads, its cancel token, its progress, and the time that it
/// takes in the log's step tree.
class VELD_WORKFLOW_API StepScope
{
public:
    /// \param timer name in the step tree \param doing what the step does, in words
    StepScope(Context& context, std::string timer, std::string doing);
    StepScope(StepScope const&) = delete;
    StepScope& operator=(StepScope const&) = delete;

    /// Goes on to a stage of the step. `work` runs with the part of the progress up to `end`. A
    /// step that has stages does all its work in them: what runs outside tells the progress of the
    /// whole.
    template <typename Work>
    decltype(auto) stage(std::string doing, double end, Work const& work)
    {
        double const begin = reached_;
        reached_ = end;
        tell(std::move(doing), begin);
        OrvaneAlgorithm::detail::ProgressPart const part(begin, end);
        return work();
    }

    void warn(WarningCode code, std::string about, std::string text, std::string setting = {});

private:
    /// The number of threads, put back also where the step is cancelled before it begins.
    class Threads
    {
    public:
        explicit Threads(int threads);
        ~Threads();
        Threads(Threads const&) = delete;
        Threads& operator=(Threads const&) = delete;

    private:
        int before_;
    };

    void tell(std::string doing, double fraction);

    Context& context_;
    Threads threads_;
    std::mutex mutex_;
    std::string doing_;
    double told_ = 0.0;    ///< Fraction that the host knows.
    double reached_ = 0.0; ///< End of the stage before.
    OrvaneAlgorithm::RunScope run_;
    OrvaneAlgorithm::detail::StepTimer timer_;
};

} // namespace veld
