#pragma once

#include "algorithmVeld/common/RelaxedFlag.h"
#include "algorithmVeld/common/export.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Process-wide settings of the diagnostics. The library reads the directories and never writes
/// them: the host sets them before its first call. Only the log switch may change while operations
/// run.
class ALGORITHMVELD_API ParamHolder
{
public:
    std::string debug_dir;  ///< Directory for dumps of intermediate state.
    std::string result_dir; ///< Directory for saved models and results of steps.

    /// The log switch. When false, nothing is printed and no file is dumped. Operations whose last
    /// argument is `verbose` write it on entry and leave it so; see each operation. Of operations
    /// that run at the same time the last one to start decides, which changes no result.
    RelaxedFlag log_enabled;

    /// Sets `debug_dir`.
    void set_debug_dir(std::string const& directory) { debug_dir = directory; }
    /// Sets `result_dir`.
    void set_result_dir(std::string const& directory) { result_dir = directory; }
    /// Sets `log_enabled`.
    void set_log_enabled(bool enabled) { log_enabled = enabled; }
};

/// The one instance that the library reads.
extern ALGORITHMVELD_API ParamHolder gPH;

} // namespace OrvaneAlgorithm
