#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/IO/polygon_mesh_io.h>
#include <CGAL/Polygon_mesh_processing/border.h>
#include <CGAL/Polygon_mesh_processing/connected_components.h>
#include <CGAL/Polygon_mesh_processing/triangulate_hole.h>
#include <CGAL/Surface_mesh.h>
#include <CGAL/version.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// \file
/// CGAL on the inputs of scripts/compare.
///
///     cgal_peer version
///     cgal_peer WORK OUT IN [SETTING]
///
/// prints one JSON object. What is timed is the work, without reading and writing.

namespace
{

namespace pmp = CGAL::Polygon_mesh_processing;
using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Mesh = CGAL::Surface_mesh<Kernel::Point_3>;
using Halfedge = Mesh::Halfedge_index;
using Face = Mesh::Face_index;
using Vertex = Mesh::Vertex_index;

/// Wall and processor time of what it is given.
class Clock
{
public:
    template <typename Work>
    void time(Work&& work)
    {
        auto const busy = std::clock();
        auto const start = std::chrono::steady_clock::now();
        work();
        seconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        busy_ += static_cast<double>(std::clock() - busy) / static_cast<double>(CLOCKS_PER_SEC);
    }

    void print(std::string const& more) const
    {
        std::printf("{\"seconds\": %.9f, \"cores\": %.3f%s}\n", seconds_, busy_ / seconds_,
                    more.c_str());
    }

private:
    double seconds_ = 0.0;
    double busy_ = 0.0;
};

struct Job
{
    std::string out;
    std::string in;
    std::string setting;
    Clock clock;
};

Mesh read(std::string const& path)
{
    Mesh mesh;
    // The second one takes what is no manifold apart first, which costs many times the first.
    if (!CGAL::IO::read_polygon_mesh(path, mesh) && !pmp::IO::read_polygon_mesh(path, mesh))
    {
        throw std::runtime_error(path + ": cannot be read");
    }
    return mesh;
}

void write(Mesh& mesh, std::string const& path)
{
    mesh.collect_garbage();
    if (!CGAL::IO::write_polygon_mesh(path, mesh, CGAL::parameters::use_binary_mode(true)))
    {
        throw std::runtime_error(path + ": cannot be written");
    }
}

std::vector<Halfedge> loops_of(Mesh const& mesh)
{
    std::vector<Halfedge> loops;
    pmp::extract_boundary_cycles(mesh, std::back_inserter(loops));
    return loops;
}

void read_file(Job& job)
{
    Mesh mesh;
    job.clock.time([&] { mesh = read(job.in); });
    job.clock.print(", \"faces\": " + std::to_string(mesh.number_of_faces()));
}

void write_file(Job& job)
{
    Mesh mesh = read(job.in);
    job.clock.time([&] { write(mesh, job.out); });
    job.clock.print("");
}

void find_loops(Job& job)
{
    Mesh const mesh = read(job.in);
    std::vector<std::vector<Vertex>> holes;
    job.clock.time(
        [&]
        {
            for (auto const start : loops_of(mesh))
            {
                holes.emplace_back();
                for (auto const h : CGAL::halfedges_around_face(start, mesh))
                {
                    holes.back().push_back(mesh.source(h));
                }
            }
        });
    std::size_t edges = 0;
    for (auto const& hole : holes)
    {
        edges += hole.size();
    }
    job.clock.print(", \"loops\": " + std::to_string(holes.size()) +
                    ", \"edges\": " + std::to_string(edges));
}

/// Closes every hole by fill_one(mesh, halfedge).
template <typename FillOne>
void fill(Job& job, FillOne&& fill_one)
{
    Mesh mesh = read(job.in);
    job.clock.time(
        [&]
        {
            for (auto const hole : loops_of(mesh))
            {
                fill_one(mesh, hole);
            }
        });
    write(mesh, job.out);
    job.clock.print("");
}

/// Setting "all": every split is looked at, not only those along a Delaunay triangulation.
void fill_flat(Job& job)
{
    bool const few = job.setting != "all";
    fill(job,
         [few](Mesh& mesh, Halfedge hole)
         {
             std::vector<Face> faces;
             pmp::triangulate_hole(mesh, hole, std::back_inserter(faces),
                                   CGAL::parameters::use_delaunay_triangulation(few));
         });
}

void fill_fair(Job& job)
{
    fill(job,
         [](Mesh& mesh, Halfedge hole)
         {
             std::vector<Face> faces;
             std::vector<Vertex> vertices;
             pmp::triangulate_refine_and_fair_hole(mesh, hole, std::back_inserter(faces),
                                                   std::back_inserter(vertices));
         });
}

/// The setting is the number of faces of the smallest piece that stays.
void clean(Job& job)
{
    Mesh mesh = read(job.in);
    auto const least = std::stoul(job.setting);
    job.clock.time([&] { pmp::keep_large_connected_components(mesh, least); });
    write(mesh, job.out);
    job.clock.print("");
}

int run(std::vector<std::string> const& words)
{
    std::map<std::string, std::function<void(Job&)>> const works = {
        {"read", read_file},      {"write", write_file},    {"loops", find_loops},
        {"fill_flat", fill_flat}, {"fill_fair", fill_fair}, {"clean", clean}};
    if (words.size() == 1 && words[0] == "version")
    {
        std::puts("{\"name\": \"CGAL\", \"version\": \"" CGAL_STR(CGAL_VERSION) "\"}");
        return EXIT_SUCCESS;
    }
    auto const work = works.find(words.empty() ? "" : words[0]);
    if (words.size() < 3 || work == works.end())
    {
        std::fprintf(stderr, "usage: cgal_peer WORK OUT IN [SETTING]\n");
        return EXIT_FAILURE;
    }
    Job job;
    job.out = words[1];
    job.in = words[2];
    job.setting = words.size() > 3 ? words[3] : "";
    work->second(job);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run({argv + 1, argv + argc});
    }
    catch (std::exception const& error)
    {
        std::fprintf(stderr, "error: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
