#pragma once

#include "algorithmVeld/common/export.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Process-wide settings of the diagnostics. The library reads the directories and never writes
/// them: the host sets them before its first call.
class ALGORITHMVELD_API ParamHolder
{
public:
    std::string debug_dir;  ///< Directory for dumps of intermediate state.
    std::string result_dir; ///< Directory for saved models and results of steps.

    /// The log switch. When false, nothing is printed and no file is dumped. Operations whose last
    /// argument is `verbose` write it on entry and leave it so; see each operation.
    bool log_enabled = false;

    void set_debug_dir(std::string const& directory) { debug_dir = directory; }
    void set_result_dir(std::string const& directory) { result_dir = directory; }
    void set_log_enabled(bool enabled) { log_enabled = enabled; }
};

/// The one instance that the library reads. Not to be changed while an operation runs.
extern ALGORITHMVELD_API ParamHolder gPH;

} // namespace OrvaneAlgorithm
