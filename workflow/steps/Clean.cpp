#include "workflow/steps/Clean.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/files/KeptAttributes.h"

#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh_conversion.h"

#include <fmt/format.h>

#include <utility>

namespace veld
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::RetVal;
using OrvaneAlgorithm::TriMesh;

namespace
{

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
    TriMesh const before = mesh;
    BaseTriMesh cloud;
    TriMesh_convert_to_BaseTriMesh(mesh, cloud);
    RetVal const result = OrvaneAlgorithm::remove_marker_cloud(
        cloud, markers.points, markers.normals, settings.radius, settings.use_normals,
        settings.normal_dot, gPH.log_enabled);
    BaseTriMesh_convert_to_TriMesh(cloud, mesh);
    carry_over(before, mesh);
    return result;
}

/// Runs a clean-up on a mesh.
RetVal clean_mesh(TriMesh& mesh, CleanUp const& clean_up)
{
    switch (clean_up.kind)
    {
    case CleanKind::MIN_FACES:
        OrvaneAlgorithm::remove_small_components_by_face(mesh, clean_up.limit, gPH.log_enabled);
        return OrvaneAlgorithm::RET_SUCCESS;
    case CleanKind::MIN_VERTICES:
        OrvaneAlgorithm::remove_small_components_by_vert(mesh, clean_up.limit, gPH.log_enabled);
        return OrvaneAlgorithm::RET_SUCCESS;
    case CleanKind::STRONG:
        return OrvaneAlgorithm::remove_small_components_by_face_strong_connection(
            mesh, clean_up.limit, clean_up.rings);
    case CleanKind::NON_MANIFOLD:
        OrvaneAlgorithm::remove_non_manifold_verts(mesh, gPH.log_enabled);
        return OrvaneAlgorithm::RET_SUCCESS;
    case CleanKind::PEEL:
        OrvaneAlgorithm::RemoveBoundary::remove_n_rings(mesh, clean_up.rings, gPH.log_enabled);
        return OrvaneAlgorithm::RET_SUCCESS;
    case CleanKind::MARKERS:
        return remove_from_mesh(mesh, clean_up.markers, clean_up.near_markers);
    }
    return OrvaneAlgorithm::RET_INVALID_INPUT;
}

std::string result_name(CleanUp const& clean_up)
{
    return clean_up.name.empty() ? name_of(clean_up.kind) : clean_up.name;
}

void check_cloud(TriMesh const& mesh, std::vector<CleanUp> const& clean_ups)
{
    for (auto const& clean_up : clean_ups)
    {
        if (clean_up.kind != CleanKind::MARKERS)
        {
            throw InputError(fmt::format("the mesh has no faces, which {} works on; a cloud is "
                                         "cleaned by markers only",
                                         result_name(clean_up)));
        }
        if (clean_up.near_markers.use_normals && !mesh.has_vertex_normals())
        {
            throw InputError("the points have no normals to compare with those of the markers");
        }
    }
}

/// Points without a face.
bool is_cloud(TriMesh const& mesh)
{
    return mesh.n_vertices() > 0 && mesh.n_faces() == 0;
}

CleanStep run_clean_up(CleanUp const& clean_up, bool on_cloud, TriMesh& mesh)
{
    OrvaneAlgorithm::detail::StepTimer const timer("clean-up " + result_name(clean_up));
    std::size_t const vertices = mesh.n_vertices();
    std::size_t const faces = mesh.n_faces();
    RetVal const result = on_cloud
                              ? remove_from_cloud(mesh, clean_up.markers, clean_up.near_markers)
                              : clean_mesh(mesh, clean_up);
    if (result != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError(fmt::format("{}: the library gave {}", result_name(clean_up), result));
    }
    return {result_name(clean_up), vertices - mesh.n_vertices(), faces - mesh.n_faces()};
}

} // namespace

char const* name_of(CleanKind kind)
{
    switch (kind)
    {
    case CleanKind::MIN_FACES:
        return "min-faces";
    case CleanKind::MIN_VERTICES:
        return "min-vertices";
    case CleanKind::STRONG:
        return "strong";
    case CleanKind::NON_MANIFOLD:
        return "non-manifold";
    case CleanKind::PEEL:
        return "peel";
    case CleanKind::MARKERS:
        return "markers";
    }
    return "";
}

CleanUp small_pieces_by_faces(int faces)
{
    CleanUp clean_up;
    clean_up.kind = CleanKind::MIN_FACES;
    clean_up.limit = faces;
    return clean_up;
}

CleanUp small_pieces_by_vertices(int vertices)
{
    CleanUp clean_up;
    clean_up.kind = CleanKind::MIN_VERTICES;
    clean_up.limit = vertices;
    return clean_up;
}

CleanUp small_bodies_on_strips(int faces, int rings)
{
    CleanUp clean_up;
    clean_up.kind = CleanKind::STRONG;
    clean_up.limit = faces;
    clean_up.rings = rings;
    return clean_up;
}

CleanUp non_manifold_vertices()
{
    return {};
}

CleanUp rims(int rings)
{
    CleanUp clean_up;
    clean_up.kind = CleanKind::PEEL;
    clean_up.rings = rings;
    return clean_up;
}

CleanUp surface_near_markers(Markers markers, MarkerSettings const& settings)
{
    CleanUp clean_up;
    clean_up.kind = CleanKind::MARKERS;
    clean_up.markers = std::move(markers);
    clean_up.near_markers = settings;
    return clean_up;
}

CleanResult clean(TriMesh const& mesh, CleanSettings const& settings, Context& context)
{
    StepScope scope(context, "clean-mesh", "measure the mesh");
    bool const on_cloud = is_cloud(mesh);
    if (on_cloud)
    {
        check_cloud(mesh, settings.clean_ups);
    }
    CleanResult result;
    result.mesh = mesh;
    result.before =
        scope.stage("measure the mesh", 0.1, [&] { return measure_health(result.mesh); });
    for (std::size_t i = 0; i < settings.clean_ups.size(); ++i)
    {
        Stopwatch const watch;
        double const done =
            static_cast<double>(i + 1) / static_cast<double>(settings.clean_ups.size());
        result.steps.push_back(scope.stage(
            "clean: " + result_name(settings.clean_ups[i]), 0.1 + 0.8 * done,
            [&] { return run_clean_up(settings.clean_ups[i], on_cloud, result.mesh); }));
        result.seconds += watch.seconds();
    }
    result.after =
        scope.stage("measure the mesh", 1.0, [&] { return measure_health(result.mesh); });
    return result;
}

} // namespace veld
