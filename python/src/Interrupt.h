#pragma once

#include "algorithmVeld/common/RunScope.h"

namespace veld::python
{

/// While it lives, Ctrl-C cancels its token too: Python's own handler only notes the signal until
/// the interpreter runs again. Does nothing in other threads than the main one, where Python
/// handles no signals, and where Ctrl-C is ignored or not handled by Python. They nest.
class Interrupt
{
public:
    Interrupt();
    ~Interrupt();
    Interrupt(Interrupt const&) = delete;
    Interrupt& operator=(Interrupt const&) = delete;

    OrvaneAlgorithm::CancelToken const& token() const { return token_; }

private:
    OrvaneAlgorithm::CancelToken token_;
    OrvaneAlgorithm::CancelToken const* outer_ = nullptr; ///< of the step that called back
    bool is_installed_ = false;
};

/// Runs Python's handlers of signals that came, and throws what they raise. Needs the lock.
void raise_pending_signal();

} // namespace veld::python
