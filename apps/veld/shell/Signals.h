#pragma once

#include "algorithmVeld/common/RunScope.h"

namespace veld::cli
{

/// While it lives, signals do not end the program but cancel what it does: Ctrl-C, TERM, the
/// terminal that is closed, and the reader of standard output that has gone. One at a time.
class Signals
{
public:
    explicit Signals(OrvaneAlgorithm::CancelToken const& token);
    ~Signals();
    Signals(Signals const&) = delete;
    Signals& operator=(Signals const&) = delete;

    /// The number of the first signal that came, 0 if none did.
    static int received();
};

} // namespace veld::cli
