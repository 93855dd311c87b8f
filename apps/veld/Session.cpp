#include "Session.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <omp.h>

namespace veld
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::StepEvent;

Session::Session(CommonOptions const& options, Console& console)
{
    if (options.threads > 0)
    {
        omp_set_num_threads(options.threads);
    }
    gPH.log_enabled = options.verbose;
    gLH.set_sink(
        [&console, verbose = options.verbose](std::string const& text)
        {
            // The default sink is standard output, which belongs to the result.
            if (verbose)
            {
                console.log(text);
            }
        });
    if (is_terminal())
    {
        gLH.set_step_observer(
            [&console](StepEvent const& event)
            {
                if (event.started)
                {
                    console.show_progress(event.step);
                }
            });
    }
}

Session::~Session()
{
    gLH.set_step_observer({});
    gLH.set_sink({});
}

Step::Step(std::string name) : name_(std::move(name))
{
    gLH.startSpecStepTimer(name_, {});
}

Step::~Step()
{
    gLH.lapSpecStepTimer(name_);
}

} // namespace veld
