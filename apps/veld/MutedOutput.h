#pragma once

namespace veld
{

/// Sends what is written to standard output nowhere for a scope. For calls that write to it
/// although it belongs to the program's result; not for two threads at once.
class MutedOutput
{
public:
    MutedOutput();
    ~MutedOutput();
    MutedOutput(MutedOutput const&) = delete;
    MutedOutput& operator=(MutedOutput const&) = delete;

private:
    int saved_; ///< Where standard output leads outside the scope.
};

} // namespace veld
