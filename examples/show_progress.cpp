// Shows what a host does with the library's log and steps: text goes to a log file of its own, the
// running step to the screen, the totals to a file that a tool can read.
//
//   show_progress MESH LOG STEPS.json

#include <algorithmVeld/algorithmVeld.h>

#include <fstream>
#include <iostream>

using namespace OrvaneAlgorithm;

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
    EarTrimming filler;
    filler.ear_trimming(mesh);
    gLH.lapSpecStepTimer("close the mesh");

    std::ofstream(argv[3]) << gLH.steps_as_json() << '\n';

    // The hooks refer to objects of this function, so they go before these do.
    gLH.set_sink({});
    gLH.set_step_observer({});
    // [run]
    return 0;
}
