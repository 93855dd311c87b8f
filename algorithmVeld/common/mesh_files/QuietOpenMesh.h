#pragma once

#include <OpenMesh/Core/System/omstream.hh>

#include <mutex>

namespace OrvaneAlgorithm::detail
{

/// Keeps OpenMesh's messages from the terminal. Their streams are shared by the whole process, so
/// one at a time.
class QuietOpenMesh
{
public:
    QuietOpenMesh()
        : lock_(mutex()), log_was_on_(omlog().is_enabled()), errors_were_on_(omerr().is_enabled())
    {
        omlog().disable();
        omerr().disable();
    }
    ~QuietOpenMesh()
    {
        if (log_was_on_)
        {
            omlog().enable();
        }
        if (errors_were_on_)
        {
            omerr().enable();
        }
    }
    QuietOpenMesh(QuietOpenMesh const&) = delete;
    QuietOpenMesh& operator=(QuietOpenMesh const&) = delete;

private:
    static std::mutex& mutex()
    {
        static std::mutex shared;
        return shared;
    }

    std::lock_guard<std::mutex> lock_;
    bool log_was_on_;
    bool errors_were_on_;
};

} // namespace OrvaneAlgorithm::detail
