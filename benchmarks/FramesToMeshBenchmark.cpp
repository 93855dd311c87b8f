#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "benchmarks/support/sphere_frames.h"
#include "tests/support/threads.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

/// \file
/// From frames in memory to the final mesh: the spacing is measured, the overlap taken out, and the
/// rest, at the mean of the layers, is merged. The frames are those of a
/// sphere or, where the variable VELD_FRAMES names a folder of `.rge` files (`veld frames` makes
/// one of any scan), these.

namespace
{

using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::MeshMerge;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::TriMesh;
using veld_benchmark::FrameSet;

namespace fs = std::filesystem;

std::vector<RangeData> read_frames(fs::path const& folder)
{
    std::vector<fs::path> files;
    for (auto const& entry : fs::directory_iterator(folder))
    {
        if (entry.path().extension() == ".rge")
        {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<RangeData> frames(files.size());
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        if (CRangeDataIO::read_rge(files[i].wstring(), frames[i]) != 0)
        {
            throw std::runtime_error(files[i].string() + " cannot be read");
        }
    }
    return frames;
}

FrameSet const& frames_to_merge()
{
    char const* const folder = std::getenv("VELD_FRAMES");
    static FrameSet const set(folder != nullptr ? read_frames(folder)
                                                : veld_benchmark::spheres_side_by_side(1));
    return set;
}

std::vector<RangeData> single_layer(FrameSet const& set, double spacing)
{
    FrameOverlap overlap;
    overlap.set_point_spacing(spacing);
    overlap.set_averages_layers(true);
    std::vector<RangeData> single;
    if (overlap.remove_overlap(set.ranges, single) != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw std::runtime_error("the frames cannot be used");
    }
    return single;
}

/// Argument: threads.
void frames_to_mesh(benchmark::State& state)
{
    veld_test::Threads const threads(static_cast<int>(state.range(0)));
    FrameSet const& set = frames_to_merge();
    std::size_t faces = 0;
    for (auto _ : state)
    {
        double const spacing = FrameOverlap::measure_point_spacing(set.ranges);
        FrameSet const single(single_layer(set, spacing));
        MeshMerge merger;
        merger.set_point_spacing(spacing);
        TriMesh mesh;
        std::vector<int> vertex_frames;
        if (merger.mesh_merge(single.ranges, spacing, mesh, false, 30, 100, 5.0 * spacing,
                              vertex_frames) != OrvaneAlgorithm::RET_SUCCESS)
        {
            state.SkipWithError("the frames cannot be merged");
            break;
        }
        faces = mesh.n_faces();
    }
    state.counters["points"] = static_cast<double>(set.points);
    state.counters["faces"] = static_cast<double>(faces);
}

} // namespace

BENCHMARK(frames_to_mesh)
    ->ArgName("threads")
    ->Arg(1)
    ->Arg(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
