#include "shell/Session.h"

#include "shell/SettingNames.h"

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"

namespace veld::cli
{

using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::gPH;

Session::Session(SessionSettings const& settings, Console& console) : signals_(context_.cancel)
{
    context_.threads = settings.threads;
    context_.warn = [&console](Warning const& warning)
    { console.warn(warning.about + ": " + with_option(warning.text, warning.setting)); };
    if (is_terminal())
    {
        context_.progress = [&console](Progress const& progress)
        { console.show_progress(progress.step, progress.fraction); };
    }
    // The default of both sinks is standard output, which belongs to the result.
    auto const log = [&console, verbose = settings.verbose](std::string const& text)
    {
        if (verbose)
        {
            console.log(text);
        }
    };
    gPH.log_enabled = settings.verbose;
    gLH.set_sink(log);
    gLH.set_print_sink([](std::string const&) {});
}

Session::~Session()
{
    gLH.set_sink({});
    gLH.set_print_sink({});
}

} // namespace veld::cli
