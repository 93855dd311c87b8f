// Shows what a host does with the library's log, steps and progress: text goes to a log file of its
// own, the running step and a bar to the screen, the totals to a file that a tool can read. Ctrl-C
// ends the operation.
//
//   show_progress MESH LOG STEPS.json

#include <algorithmVeld/algorithmVeld.h>

#include <csignal>
#include <fstream>
#include <iostream>

using namespace OrvaneAlgorithm;

namespace
{

// [token]
// Made here, so that the handler never meets one that is not there yet.
CancelToken const INTERRUPTED;

void on_interrupt(int /*signal*/)
{
    INTERRUPTED.cancel();
}

// [token]

// [scope]
/// \return false if the user ended it; the mesh is valid, with the holes that were closed so far
bool close_holes(TriMesh& mesh)
{
    std::signal(SIGINT, on_interrupt);
    try
    {
        RunScope const scope(INTERRUPTED, [](double fraction)
                             { std::clog << '\r' << static_cast<int>(100 * fraction) << " %"; });
        EarTrimming().ear_trimming(mesh);
        return true;
    }
    catch (Cancelled const&)
    {
        std::clog << "\nended by the user\n";
        return false;
    }
}
// [scope]

} // namespace

int main(int argc, char** argv)
{
    TriMesh mesh;
    MeshReadReport report;
    if (argc != 4 || !read_mesh(argv[1], mesh, report))
    {
        std::cerr << (argc == 4 ? report.error : "usage: show_progress MESH LOG STEPS.json")
                  << '\n';
        return 1;
    }

    // [hooks]
    std::ofstream log(argv[2]);
    gLH.set_sink([&](std::string const& text) { log << text; });
    gLH.set_step_observer(
        [](StepEvent const& event)
        {
            if (event.started)
            {
                std::cout << event.step << " ...\n";
            }
            else
            {
                std::cout << event.step << " took " << event.seconds << " s\n";
            }
        });
    // [hooks]

    // [run]
    gPH.set_log_enabled(true);
    gLH.startSpecStepTimer("close the mesh", "");
    bool const closed = close_holes(mesh);
    gLH.lapSpecStepTimer("close the mesh");

    std::ofstream(argv[3]) << gLH.steps_as_json() << '\n';

    // The hooks refer to objects of this function, so they go before these do.
    gLH.set_sink({});
    gLH.set_step_observer({});
    // [run]
    return closed ? 0 : 2;
}
