#include "algorithmVeld/algorithmVeld.h"
#include "benchmarks/support/dirty_sphere.h"
#include "benchmarks/support/scans.h"
#include "benchmarks/support/sphere_frames.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// \file
/// How long operations on about a million faces take to end after they were cancelled, at several
/// shares of the time that they take, and how evenly their progress moves.
///
///     cancel_times [FACES [OPERATION...]]
///
/// The columns: the operation's own time, the longest time from the cancelling to the exception, at
/// which share of the time that was, and how far the told fraction is off the share of the time at
/// most.

namespace
{

using namespace OrvaneAlgorithm;
using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// An operation: `prepare` makes what it works on, anew for every run, and gives the work.
struct Operation
{
    std::string name;
    std::function<std::function<void()>()> prepare;
};

/// What a run that is not cancelled takes, and the fractions that it tells.
struct Course
{
    double seconds = 0.0;
    double largest_gap = 0.0;
};

Course run_whole(Operation const& operation)
{
    auto const work = operation.prepare();
    std::vector<std::pair<double, double>> told;
    auto const start = Clock::now();
    {
        RunScope const scope(CancelToken{}, [&](double fraction)
                             { told.emplace_back(seconds_since(start), fraction); });
        work();
    }
    Course course;
    course.seconds = seconds_since(start);
    double before = 0.0;
    for (auto const& [seconds, fraction] : told)
    {
        double const share = seconds / course.seconds;
        // The bar stood at the fraction before until now.
        course.largest_gap =
            std::max({course.largest_gap, std::abs(share - fraction), std::abs(share - before)});
        before = fraction;
    }
    course.largest_gap = std::max(course.largest_gap, 1.0 - before);
    return course;
}

/// Seconds from the cancelling to the exception; 0 if the work ended before it was met.
double run_cancelled(Operation const& operation, double after)
{
    auto const work = operation.prepare();
    CancelToken const token;
    Clock::time_point cancelled;
    double latency = 0.0;
    std::thread canceller(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::duration<double>(after));
            cancelled = Clock::now();
            token.cancel();
        });
    Clock::time_point ended;
    bool was_cancelled = false;
    try
    {
        RunScope const scope(token);
        work();
    }
    catch (Cancelled const&)
    {
        ended = Clock::now();
        was_cancelled = true;
    }
    canceller.join();
    if (was_cancelled)
    {
        latency = std::chrono::duration<double>(ended - cancelled).count();
    }
    return latency;
}

void report(Operation const& operation)
{
    Course const course = run_whole(operation);
    double longest = 0.0;
    int at = 0;
    for (int const percent : {10, 30, 50, 70, 90})
    {
        double const seconds = run_cancelled(operation, course.seconds * percent / 100.0);
        if (seconds > longest)
        {
            longest = seconds;
            at = percent;
        }
    }
    std::printf("%-34s %9.3f s %9.3f s  %3d %%  %5.2f\n", operation.name.c_str(), course.seconds,
                longest, at, course.largest_gap);
    std::fflush(stdout);
}

// ------------------------------------------------------------------------------- the operations

/// An operation on a copy of some data.
template <typename Data, typename Work>
Operation on_copy(std::string name, Data const& source, Work const& work)
{
    return {std::move(name),
            [&source, work]() -> std::function<void()>
            {
                auto copy = std::make_shared<Data>(source);
                return [copy, work] { work(*copy); };
            }};
}

/// Every thousandth vertex, looking away from the middle of the sphere.
struct Markers
{
    Verts points;
    Verts normals;

    explicit Markers(std::vector<Vector3f> const& vertices)
    {
        for (std::size_t i = 0; i < vertices.size(); i += 1000)
        {
            points.push_back(vertices[i]);
            normals.push_back(points.back().normalized());
        }
    }
};

struct Inputs
{
    TriMesh scan;
    TriMesh dirty;
    BaseTriMesh arrays;
    Markers markers;
    Holes holes;
    veld_benchmark::FrameSet frames;
    std::filesystem::path folder;

    explicit Inputs(int faces)
        : scan(veld_benchmark::bumpy_sphere(faces, faces / 900, 30)),
          dirty(veld_benchmark::dirty_sphere(faces, faces / 900, faces / 1800)),
          arrays(to_arrays(scan)),
          markers(arrays.vCoord),
          frames(std::max(1, faces / 1000000)),
          folder(std::filesystem::temp_directory_path() / "cancel_times")
    {
        std::filesystem::create_directories(folder);
        FindHolesEx::find_holes(scan, holes, false);
    }
    ~Inputs()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    Inputs(Inputs const&) = delete;
    Inputs& operator=(Inputs const&) = delete;

    static BaseTriMesh to_arrays(TriMesh const& mesh)
    {
        BaseTriMesh arrays;
        TriMesh_convert_to_BaseTriMesh(mesh, arrays);
        return arrays;
    }
    std::string file(char const* name) const { return (folder / name).string(); }
};

void add_hole_operations(Inputs const& in, std::vector<Operation>& list)
{
    list.push_back(on_copy("find_holes", in.scan,
                           [](TriMesh& mesh)
                           {
                               Holes holes;
                               FindHolesEx::find_holes(mesh, holes, false);
                           }));
    list.push_back(on_copy("find_marker_holes", in.scan,
                           [&in](TriMesh& mesh)
                           {
                               Holes holes;
                               FindHolesEx::find_marker_holes(mesh, in.markers.points,
                                                              in.markers.normals, 5.0, 5.0, true,
                                                              0.5, holes, false);
                           }));
    list.push_back(on_copy("ear_clipping", in.scan,
                           [](TriMesh& mesh)
                           { ear_clipping(mesh, false, false, false, 0, 0.0, 0.0); }));
    list.push_back(
        on_copy("ear_trimming", in.scan, [](TriMesh& mesh) { EarTrimming().ear_trimming(mesh); }));
    list.push_back(on_copy("fill_holes_core", in.scan,
                           [&in](TriMesh& mesh)
                           {
                               std::vector<std::vector<OpenMesh::FaceHandle>> faces;
                               Holes vertices;
                               Holes patches;
                               fill_holes_core(mesh, in.holes, 2, faces, vertices, patches, false);
                           }));
}

void add_cleanup_operations(Inputs const& in, std::vector<Operation>& list)
{
    list.push_back(on_copy("remove_small_components_by_face", in.dirty,
                           [](TriMesh& mesh)
                           { remove_small_components_by_face(mesh, 10, false); }));
    list.push_back(on_copy("remove_small_components_by_vert", in.dirty,
                           [](TriMesh& mesh)
                           { remove_small_components_by_vert(mesh, 10, false); }));
    list.push_back(on_copy("strong_connection", in.dirty,
                           [](TriMesh& mesh)
                           { remove_small_components_by_face_strong_connection(mesh, 20, 2); }));
    list.push_back(on_copy("all_components_go", in.dirty,
                           [](TriMesh& mesh)
                           { remove_small_components_by_face(mesh, 1 << 30, false); }));
    list.push_back(on_copy("remove_small_objects", in.dirty,
                           [](TriMesh& mesh) { PostProcessing().remove_small_objects(mesh, 10); }));
    list.push_back(on_copy("remove_non_manifold_verts", in.dirty,
                           [](TriMesh& mesh) { remove_non_manifold_verts(mesh, false); }));
    list.push_back(on_copy("remove_n_rings", in.scan,
                           [](TriMesh& mesh) { RemoveBoundary::remove_n_rings(mesh, 2, false); }));
    list.push_back(
        on_copy("remove_marker_mesh", in.scan,
                [&in](TriMesh& mesh)
                { remove_marker_mesh(mesh, in.markers.points, {}, 1.5, false, 0.0, false); }));
    list.push_back(on_copy("remove_marker_mesh_ex", in.scan,
                           [&in](TriMesh& mesh) {
                               remove_marker_mesh(mesh, in.markers.points, in.markers.normals, 1.5,
                                                  true, 0.5, false);
                           }));
    list.push_back(
        on_copy("remove_marker_mesh (arrays)", in.arrays,
                [&in](BaseTriMesh& mesh)
                { remove_marker_mesh(mesh, in.markers.points, {}, 1.5, false, 0.0, false); }));
    list.push_back(on_copy("remove_marker_mesh_ex (arrays)", in.arrays,
                           [&in](BaseTriMesh& mesh) {
                               remove_marker_mesh(mesh, in.markers.points, in.markers.normals, 1.5,
                                                  true, 0.5, false);
                           }));
    list.push_back(
        on_copy("extract_sticks", in.scan,
                [&in](TriMesh& mesh)
                {
                    Verts const seeds(in.markers.points.begin(), in.markers.points.begin() + 20);
                    std::vector<TriMesh> sticks;
                    extract_sticks(mesh, seeds, std::vector<Vector2f>(20, Vector2f(6.0F, 15.5F)),
                                   sticks, true, false);
                }));
}

void add_data_operations(Inputs const& in, std::vector<Operation>& list)
{
    list.push_back(
        on_copy("repair_illegal (legal)", in.scan, [](TriMesh& mesh) { mesh.repair_illegal(); }));
    list.push_back(on_copy("repair_illegal", in.scan,
                           [](TriMesh& mesh)
                           {
                               mesh.set_next_halfedge_handle(OpenMesh::HalfedgeHandle(0),
                                                             OpenMesh::HalfedgeHandle(0));
                               mesh.repair_illegal();
                           }));
    list.push_back(on_copy("to array mesh", in.scan,
                           [](TriMesh& mesh)
                           {
                               BaseTriMesh arrays;
                               TriMesh_convert_to_BaseTriMesh(mesh, arrays);
                           }));
    list.push_back(on_copy("to half-edge mesh", in.arrays,
                           [](BaseTriMesh& arrays)
                           {
                               TriMesh mesh;
                               BaseTriMesh_convert_to_TriMesh(arrays, mesh);
                           }));
    list.push_back(on_copy("build_kdtree", in.arrays,
                           [](BaseTriMesh& arrays) { KdTree3f().build_kdtree(arrays.vCoord); }));
    list.push_back(on_copy("swap_out_data", in.scan, [](TriMesh& mesh) { mesh.swap_out_data(); }));
    list.push_back({"pack 20000 images", []
                    {
                        return []
                        {
                            std::vector<Vector2i> sizes;
                            for (int i = 0; i < 20000; ++i)
                            {
                                sizes.emplace_back(1 + i * 37 % 113, 1 + i * 53 % 97);
                            }
                            std::vector<Vector2i> positions;
                            Vector2i total;
                            ImagePacking::pack(sizes, 1, positions, total);
                        };
                    }});
}

void add_file_operations(Inputs const& in, std::vector<Operation>& list)
{
    for (char const* const extension : {".ply", ".stl", ".obj", ".off", ".om"})
    {
        std::string const path = in.file((std::string("mesh") + extension).c_str());
        list.push_back(on_copy(std::string("write ") + extension, in.scan,
                               [path](TriMesh& mesh)
                               {
                                   std::string error;
                                   write_mesh(path, mesh, error);
                               }));
        list.push_back({std::string("read ") + extension,
                        [path, &in]() -> std::function<void()>
                        {
                            std::string error;
                            write_mesh(path, in.scan, error);
                            return [path]
                            {
                                TriMesh mesh;
                                MeshReadReport report;
                                read_mesh(path, mesh, report);
                            };
                        }});
    }
}

void add_frame_operations(Inputs const& in, std::vector<Operation>& list)
{
    list.push_back({"remove_overlap",
                    [&in]() -> std::function<void()>
                    {
                        return [&in]
                        {
                            FrameOverlap overlap;
                            overlap.set_averages_layers(true);
                            std::vector<RangeData> single;
                            overlap.remove_overlap(in.frames.ranges, single);
                        };
                    }});
    list.push_back({"mesh_merge",
                    [&in]() -> std::function<void()>
                    {
                        return [&in]
                        {
                            TriMesh mesh;
                            std::vector<int> vertex_frames;
                            mesh_merge(in.frames.ranges, 0.12, mesh, false, 30, 100, 0.6,
                                       vertex_frames);
                        };
                    }});
}

} // namespace

int main(int argc, char** argv)
{
    int const faces = argc > 1 ? std::max(10000, std::atoi(argv[1])) : 1000000;
    std::vector<std::string> const wanted(argv + std::min(argc, 2), argv + argc);
    Inputs const inputs(faces);
    std::vector<Operation> operations;
    add_hole_operations(inputs, operations);
    add_cleanup_operations(inputs, operations);
    add_data_operations(inputs, operations);
    add_file_operations(inputs, operations);
    add_frame_operations(inputs, operations);
    std::printf("%-34s %11s %11s  %5s  %5s\n", "", "whole", "to end", "at", "off");
    for (auto const& operation : operations)
    {
        if (wanted.empty() || std::count(wanted.begin(), wanted.end(), operation.name) > 0)
        {
            report(operation);
        }
    }
    return 0;
}
