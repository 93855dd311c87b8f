#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "benchmarks/support/real_scans.h"
#include "benchmarks/support/scans.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

/// \file
/// The ball on a torn surface, on points alone, and on a large mesh of which only the boundary
/// should cost anything. What is on real scans is skipped where VELD_TEST_DATA is not set.

namespace
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::BallPivoting;
using OrvaneAlgorithm::gLH;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

/// What the ball tells is not for the report of the benchmarks.
class Hushed
{
public:
    Hushed()
    {
        gLH.set_sink([](std::string const&) {});
        gLH.set_print_sink([](std::string const&) {});
    }
    ~Hushed()
    {
        gLH.set_sink({});
        gLH.set_print_sink({});
    }
    Hushed(Hushed const&) = delete;
    Hushed& operator=(Hushed const&) = delete;
};

double mean_edge(TriMesh const& mesh)
{
    double sum = 0.0;
    for (auto const edge : mesh.edges())
    {
        sum += static_cast<double>(mesh.calc_edge_length(edge));
    }
    return sum / static_cast<double>(mesh.n_edges());
}

std::vector<float> radii(double spacing, std::vector<double> const& multiples)
{
    std::vector<float> result;
    for (double const multiple : multiples)
    {
        result.push_back(static_cast<float>(multiple * spacing));
    }
    return result;
}

void add_normals(TriMesh& mesh)
{
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_normals();
}

/// The vertices of a mesh, and of its faces those that are kept.
TriMesh with_faces(TriMesh const& mesh, std::function<bool(int)> const& keeps)
{
    TriMesh copy;
    copy.reserve(mesh.n_vertices(), mesh.n_edges(), mesh.n_faces());
    for (auto const vertex : mesh.vertices())
    {
        copy.add_vertex(mesh.point(vertex));
    }
    for (auto const face : mesh.faces())
    {
        if (keeps(face.idx()))
        {
            auto const corners = mesh.fv_range(face).to_array<3>();
            copy.add_face(corners[0], corners[1], corners[2]);
        }
    }
    return copy;
}

/// Without a random tenth of the faces, and with the normals of what is left.
TriMesh torn(TriMesh const& mesh)
{
    std::mt19937 random(1);
    TriMesh result = with_faces(mesh, [&](int) { return random() % 10 != 0; });
    add_normals(result);
    return result;
}

/// The vertices of a mesh with their normals, and one of its faces to start from.
TriMesh points_of(TriMesh mesh)
{
    add_normals(mesh);
    TriMesh result = with_faces(mesh, [](int face) { return face == 0; });
    result.request_vertex_normals();
    for (auto const vertex : mesh.vertices())
    {
        result.set_normal(vertex, mesh.normal(vertex));
    }
    return result;
}

/// Random points on a mesh with the normals of its faces, behind the vertices of a small face to
/// start from.
TriMesh random_points(TriMesh mesh, int n, double spacing)
{
    add_normals(mesh);
    std::mt19937 random(1);
    auto const unit = [&] { return static_cast<float>(random()) / 4294967296.0F; };
    std::vector<double> areas;
    for (auto const face : mesh.faces())
    {
        areas.push_back(static_cast<double>(mesh.calc_face_area(face)));
    }
    std::discrete_distribution<int> faces(areas.begin(), areas.end());
    TriMesh result;
    result.request_vertex_normals();
    auto const add = [&](OpenMesh::FaceHandle face, Vector3f const& weights)
    {
        auto const corners = mesh.fv_range(face).to_array<3>();
        Vector3f const point = weights.x() * mesh.point(corners[0]) +
                               weights.y() * mesh.point(corners[1]) +
                               weights.z() * mesh.point(corners[2]);
        auto const vertex = result.add_vertex(point);
        result.set_normal(vertex, mesh.normal(face));
        return vertex;
    };
    // A face that is a quarter of one of the mesh, as large as those between random points.
    OpenMesh::FaceHandle const first(0);
    auto const share = static_cast<float>(
        spacing / static_cast<double>(mesh.calc_edge_length(mesh.halfedge_handle(first))));
    std::array<VertexHandle, 3> corners;
    for (int i = 0; i < 3; ++i)
    {
        Vector3f const middle = Vector3f::Constant(1.0F / 3.0F);
        corners[static_cast<std::size_t>(i)] =
            add(first, middle + share * (Vector3f::Unit(i) - middle));
    }
    result.add_face(corners[0], corners[1], corners[2]);
    while (static_cast<int>(result.n_vertices()) < n)
    {
        float const a = std::sqrt(unit());
        float const b = unit();
        add(OpenMesh::FaceHandle(faces(random)), {1.0F - a, a * (1.0F - b), a * b});
    }
    return result;
}

int boundary_edges(TriMesh const& mesh)
{
    int n = 0;
    for (auto const edge : mesh.edges())
    {
        n += edge.is_boundary() ? 1 : 0;
    }
    return n;
}

/// Times what is done to a copy of a mesh.
void repair(benchmark::State& state, TriMesh const& mesh,
            std::function<void(BallPivoting&, TriMesh&)> const& work)
{
    if (mesh.n_vertices() == 0)
    {
        state.SkipWithError("VELD_TEST_DATA is not set");
        return;
    }
    Hushed const hushed;
    TriMesh copy;
    for (auto _ : state)
    {
        state.PauseTiming();
        copy = veld_benchmark::as_read(mesh);
        BallPivoting ball;
        state.ResumeTiming();
        work(ball, copy);
    }
    state.counters["new_faces"] = static_cast<double>(copy.n_faces() - mesh.n_faces());
    state.counters["border_before"] = boundary_edges(mesh);
    state.counters["border"] = boundary_edges(copy);
}

void torn_bunny(benchmark::State& state)
{
    TriMesh const mesh = torn(veld_benchmark::bunny());
    auto const series = radii(mean_edge(mesh), {0.5, 0.75, 1.0, 1.5, 2.0, 3.0, 4.0});
    repair(state, mesh, [&](BallPivoting& ball, TriMesh& copy) { ball.repair_mesh(copy, series); });
}

void bunny_points(benchmark::State& state)
{
    TriMesh const bunny = veld_benchmark::bunny();
    auto const series = radii(mean_edge(bunny), {1.0, 2.0, 4.0});
    repair(state, points_of(bunny),
           [&](BallPivoting& ball, TriMesh& copy) { ball.repair_mesh(copy, series); });
}

/// Argument: points.
void random_points_on_a_surface(benchmark::State& state)
{
    auto const n = static_cast<int>(state.range(0));
    constexpr double AREA = 4.0 * 3.14159 * 100.0 * 100.0; // of the sphere
    double const spacing = std::sqrt(2.0 * AREA / (std::sqrt(3.0) * n));
    TriMesh const mesh = random_points(veld_benchmark::scan_with_holes(20000, 0, 0), n, spacing);
    auto const series = radii(spacing, {1.0, 2.0, 4.0});
    repair(state, mesh, [&](BallPivoting& ball, TriMesh& copy) { ball.repair_mesh(copy, series); });
}

/// Arguments: faces, holes of 30 edges. Where only the faces grow, only what a pass does to every
/// vertex and halfedge may grow.
void one_pass(benchmark::State& state)
{
    TriMesh mesh = veld_benchmark::scan_with_holes(static_cast<int>(state.range(0)),
                                                   static_cast<int>(state.range(1)), 30);
    add_normals(mesh);
    auto const radius = static_cast<float>(mean_edge(mesh));
    repair(state, mesh,
           [&](BallPivoting& ball, TriMesh& copy)
           {
               int added = 0;
               int boundary = 0;
               ball.repair_mesh(copy, radius, added, boundary, 0);
               state.counters["boundary_vertices"] = boundary;
           });
}

} // namespace

BENCHMARK(torn_bunny)->Unit(benchmark::kMillisecond);
BENCHMARK(bunny_points)->Unit(benchmark::kMillisecond);
BENCHMARK(random_points_on_a_surface)
    ->Arg(50000)
    ->Arg(100000)
    ->Arg(200000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(one_pass)
    ->ArgNames({"faces", "holes"})
    ->Args({250000, 833})
    ->Args({500000, 833})
    ->Args({1000000, 833})
    ->Args({1000000, 3333})
    ->Unit(benchmark::kMillisecond);
