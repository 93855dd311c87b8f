#include "MutedOutput.h"

#include "Errors.h"

#include <cstdio>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace veld
{

namespace
{

#if defined(_WIN32)
int output()
{
    return _fileno(stdout);
}
int copy_of(int file)
{
    return _dup(file);
}
bool lead(int file, int target)
{
    return _dup2(target, file) == 0;
}
int open_nothing()
{
    return _open("NUL", _O_WRONLY);
}
void close_file(int file)
{
    _close(file);
}
#else
int output()
{
    return fileno(stdout);
}
int copy_of(int file)
{
    return dup(file);
}
bool lead(int file, int target)
{
    return dup2(target, file) >= 0;
}
int open_nothing()
{
    return open("/dev/null", O_WRONLY | O_CLOEXEC);
}
void close_file(int file)
{
    close(file);
}
#endif

} // namespace

MutedOutput::MutedOutput() : saved_(-1)
{
    std::fflush(stdout);
    int const nothing = open_nothing();
    saved_ = copy_of(output());
    bool const muted = nothing >= 0 && saved_ >= 0 && lead(output(), nothing);
    if (nothing >= 0)
    {
        close_file(nothing);
    }
    if (!muted)
    {
        if (saved_ >= 0)
        {
            close_file(saved_);
        }
        throw OperationError("standard output: cannot be kept for the result");
    }
}

MutedOutput::~MutedOutput()
{
    std::fflush(stdout);
    lead(output(), saved_);
    close_file(saved_);
}

} // namespace veld
