// Makes one mesh of the frames of a scan.
//
//   merge_frames SOURCE OUT
//
// SOURCE is what `veld merge` takes: a folder of .rge files or of depth images, the description of
// text frames (.json), or the list of range scans (.conf).

#include <workflow/workflow.h>

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::cerr << "usage: merge_frames SOURCE OUT\n";
        return 1;
    }
    // [context]
    veld::Context context;
    context.warn = [](veld::Warning const& warning)
    { std::cerr << warning.about << ": " << warning.text << '\n'; };
    context.progress = [](veld::Progress const& progress) {
        std::cerr << progress.step << ": " << static_cast<int>(100.0 * progress.fraction) << " %\n";
    };
    // [context]
    try
    {
        // [merge]
        veld::FrameSet const frames = veld::load_frames(argv[1], {}, context);
        veld::MergeSettings settings;
        settings.max_hole_edges = 20;
        veld::MergeResult const merged = veld::merge(frames, settings, context);
        veld::write_mesh(argv[2], merged.mesh, context);
        // [merge]
        std::cout << merged.removed << " of " << merged.points << " points taken out\n"
                  << merged.mesh.n_vertices() << " points and " << merged.mesh.n_faces()
                  << " faces\n";
    }
    catch (std::exception const& error)
    {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
