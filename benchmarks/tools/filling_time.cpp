#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/mesh_io.h"
#include "workflow/steps/Fill.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// \file
/// Finds all holes of a mesh and fills them carefully with the settings of the command line; writes
/// the result and prints the median of some runs in seconds. What two runs count more in
/// instructions than one is the work alone.
///
///   filling_time MESH OUT|- RUNS

namespace
{

using OrvaneAlgorithm::TriMesh;

OrvaneAlgorithm::HoleFillingCore filler()
{
    veld::FillSettings const settings;
    OrvaneAlgorithm::HoleFillingCore core;
    core.set_smooth_type(settings.smoothness);
    core.set_triangulation_sample_num(settings.exact_edges + 1);
    core.set_fairing_verts_thr(settings.max_patch);
    return core;
}

double fill(TriMesh& mesh)
{
    auto const start = std::chrono::steady_clock::now();
    OrvaneAlgorithm::Holes holes;
    OrvaneAlgorithm::find_holes(mesh, holes, false);
    std::vector<std::vector<OpenMesh::FaceHandle>> faces;
    OrvaneAlgorithm::Holes vertices;
    OrvaneAlgorithm::Holes patches;
    filler().fill_holes_core(mesh, holes, veld::FillSettings().rings, faces, vertices, patches,
                             false);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char** argv)
{
    TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    if (argc != 4 || !OrvaneAlgorithm::read_mesh(argv[1], mesh, report))
    {
        std::fprintf(stderr, "%s\n",
                     argc == 4 ? report.error.c_str() : "usage: filling_time MESH OUT|- RUNS");
        return 1;
    }
    std::vector<double> seconds;
    TriMesh filled;
    for (int run = std::max(1, std::atoi(argv[3])); run > 0; --run)
    {
        filled = mesh;
        seconds.push_back(fill(filled));
    }
    std::sort(seconds.begin(), seconds.end());
    std::printf("seconds %.4f new_faces %zu\n", seconds[seconds.size() / 2],
                filled.n_faces() - mesh.n_faces());
    std::string error;
    if (std::string(argv[2]) != "-" && !OrvaneAlgorithm::write_mesh(argv[2], filled, error))
    {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
    return 0;
}
