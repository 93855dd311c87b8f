#include "Cleaning.h"

#include "Errors.h"
#include "Filling.h"
#include "HoleSummary.h"
#include "Session.h"

#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh_conversion.h"

#include <fmt/format.h>

#include <chrono>

namespace veld
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::RetVal;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// The arguments of the program are checked where they are read, so this never fails.
void expect_success(RetVal result, char const* name)
{
    if (result != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError(fmt::format("--{}: the library gave {}", name, result));
    }
}

/// Both kinds of normals for a scope. Where one is missing the library computes both, and the
/// file's own would go; and what the file did not have shall not be in the output.
class BorrowedNormals
{
public:
    explicit BorrowedNormals(TriMesh& mesh)
        : mesh_(mesh),
          had_face_normals_(mesh.has_face_normals()),
          had_vertex_normals_(mesh.has_vertex_normals())
    {
        if (!had_face_normals_)
        {
            mesh_.request_face_normals();
            mesh_.update_face_normals();
        }
        if (!had_vertex_normals_)
        {
            mesh_.request_vertex_normals();
            mesh_.update_vertex_normals();
        }
    }
    ~BorrowedNormals()
    {
        if (!had_face_normals_)
        {
            mesh_.release_face_normals();
        }
        if (!had_vertex_normals_)
        {
            mesh_.release_vertex_normals();
        }
    }
    BorrowedNormals(BorrowedNormals const&) = delete;
    BorrowedNormals& operator=(BorrowedNormals const&) = delete;

private:
    TriMesh& mesh_;
    bool had_face_normals_;
    bool had_vertex_normals_;
};

RetVal remove_from_mesh(TriMesh& mesh, Markers const& markers, MarkerSettings const& settings)
{
    if (!settings.use_normals)
    {
        return OrvaneAlgorithm::remove_marker_mesh(mesh, markers.points, {}, settings.radius, false,
                                                   settings.normal_dot, gPH.log_enabled);
    }
    BorrowedNormals const normals(mesh);
    return OrvaneAlgorithm::remove_marker_mesh(mesh, markers.points, markers.normals,
                                               settings.radius, true, settings.normal_dot,
                                               gPH.log_enabled);
}

RetVal remove_from_cloud(TriMesh& mesh, Markers const& markers, MarkerSettings const& settings)
{
    BaseTriMesh cloud;
    TriMesh_convert_to_BaseTriMesh(mesh, cloud);
    RetVal const result = OrvaneAlgorithm::remove_marker_cloud(
        cloud, markers.points, markers.normals, settings.radius, settings.use_normals,
        settings.normal_dot, gPH.log_enabled);
    BaseTriMesh_convert_to_TriMesh(cloud, mesh);
    return result;
}

Json to_json(MeshHealth const& health)
{
    Json json;
    json["vertices"] = health.vertices;
    json["faces"] = health.faces;
    json["holes"] = health.holes;
    json["components"] = health.components;
    json["non_manifold_vertices"] = health.non_manifold_vertices;
    json["isolated_vertices"] = health.isolated_vertices;
    return json;
}

} // namespace

CleanUp small_pieces_by_faces(int faces)
{
    std::string const name = "min-faces";
    return {name,
            [=](TriMesh& mesh)
            { OrvaneAlgorithm::remove_small_components_by_face(mesh, faces, gPH.log_enabled); },
            {}};
}

CleanUp small_pieces_by_vertices(int vertices)
{
    return {"min-vertices",
            [=](TriMesh& mesh)
            { OrvaneAlgorithm::remove_small_components_by_vert(mesh, vertices, gPH.log_enabled); },
            {}};
}

CleanUp small_bodies_on_strips(int faces, int rings)
{
    return {"strong",
            [=](TriMesh& mesh)
            {
                expect_success(OrvaneAlgorithm::remove_small_components_by_face_strong_connection(
                                   mesh, faces, rings),
                               "strong");
            },
            {}};
}

CleanUp non_manifold_vertices()
{
    return {"non-manifold",
            [](TriMesh& mesh)
            { OrvaneAlgorithm::remove_non_manifold_verts(mesh, gPH.log_enabled); },
            {}};
}

CleanUp rims(int rings)
{
    return {"peel",
            [=](TriMesh& mesh)
            { OrvaneAlgorithm::RemoveBoundary::remove_n_rings(mesh, rings, gPH.log_enabled); },
            {}};
}

CleanUp surface_near_markers(Markers const& markers, MarkerSettings const& settings)
{
    return {"markers",
            [=](TriMesh& mesh)
            { expect_success(remove_from_mesh(mesh, markers, settings), "markers"); },
            [=](TriMesh& mesh)
            { expect_success(remove_from_cloud(mesh, markers, settings), "markers"); }};
}

CleanResult clean(TriMesh& mesh, std::vector<CleanUp> const& clean_ups, CleanUp::Work CleanUp::*way)
{
    CleanResult result;
    result.before = measure_health(mesh);
    for (auto const& clean_up : clean_ups)
    {
        std::size_t const vertices = mesh.n_vertices();
        std::size_t const faces = mesh.n_faces();
        auto const start = std::chrono::steady_clock::now();
        {
            Step const step("clean-up " + clean_up.name);
            (clean_up.*way)(mesh);
        }
        result.seconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        result.steps.push_back(
            {clean_up.name, vertices - mesh.n_vertices(), faces - mesh.n_faces()});
    }
    result.after = measure_health(mesh);
    return result;
}

Json to_json(CleanResult const& result)
{
    Json json;
    json["before"] = to_json(result.before);
    json["after"] = to_json(result.after);
    json["steps"] = Json::array();
    for (auto const& step : result.steps)
    {
        json["steps"].push_back({{"step", step.name},
                                 {"removed_vertices", step.removed_vertices},
                                 {"removed_faces", step.removed_faces}});
    }
    json["seconds"] = result.seconds;
    return json;
}

std::string to_text(std::string const& path, CleanResult const& result)
{
    std::string text = fmt::format("{}: cleaned in {:.3g} s\n", path, result.seconds);
    for (auto const& step : result.steps)
    {
        text += fmt::format("  {} took {}\n", step.name,
                            added(step.removed_faces, step.removed_vertices));
    }
    text += fmt::format("  {:<24}{:>12}{:>12}\n", "", "before", "after");
    auto const add = [&](char const* name, std::size_t MeshHealth::*count) {
        text +=
            fmt::format("  {:<24}{:>12}{:>12}\n", name, result.before.*count, result.after.*count);
    };
    add("vertices", &MeshHealth::vertices);
    add("faces", &MeshHealth::faces);
    add("holes", &MeshHealth::holes);
    add("components", &MeshHealth::components);
    add("non-manifold vertices", &MeshHealth::non_manifold_vertices);
    add("isolated vertices", &MeshHealth::isolated_vertices);
    return text;
}

} // namespace veld
