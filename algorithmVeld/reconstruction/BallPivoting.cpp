#include "algorithmVeld/reconstruction/BallPivoting.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshInfo.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/ball_pivoting/BallRadii.h"
#include "algorithmVeld/reconstruction/ball_pivoting/FaceFans.h"
#include "algorithmVeld/reconstruction/refused/FailedFaceRegion.h"
#include "algorithmVeld/util/UtilTool.h"

#include <cstddef>
#include <cstring>

namespace OrvaneAlgorithm
{

namespace
{

using detail::log_and_print_line;
using detail::log_line;
using detail::print_line;
using detail::StepTimer;

constexpr char const* BALL_PIVOTING = "Ball-Pivoting"; // The parent of steps; none itself.
constexpr char const* DELETE_ISOLATED_FACES = "Delete-Isolated-Faces";
constexpr int SAMPLE_FACES = 2000;
constexpr int SAMPLE_POINTS = 2000;
constexpr float RADIUS_FACTOR = 1.414F;
constexpr int FEWEST_VERTICES = 3; // of a face

double wide(float value)
{
    return static_cast<double>(value);
}

std::string radius_step(float radius)
{
    char name[512];
    format_line(name, "Ball-Pivoting-Radius:%f", wide(radius));
    return name;
}

void report_radii(std::vector<float> const& radii)
{
    log_and_print_line(true, detail::MESH_INFO_BEGIN);
    log_and_print_line(true, "radius of ball:\n");
    for (std::size_t i = 0; i < radii.size(); ++i)
    {
        log_and_print_line(true, "  radius [%d] = %f\n", static_cast<int>(i), wide(radii[i]));
    }
    log_and_print_line(true, detail::MESH_INFO_END);
}

void report_mesh(TriMesh const& mesh)
{
    log_and_print_line(true, detail::MESH_INFO_BEGIN);
    detail::print_counts(true, detail::MESH_INFO_TITLE, detail::count_elements(mesh));
    log_and_print_line(true, detail::MESH_INFO_END);
}

/// The positions of the vertices that are not marked deleted.
std::vector<Vector3f> live_points_of(TriMesh const& mesh)
{
    std::vector<Vector3f> points;
    points.reserve(mesh.n_vertices());
    for (int i = 0; i < static_cast<int>(mesh.n_vertices()); ++i)
    {
        OpenMesh::VertexHandle const vertex(i);
        if (!detail::is_deleted(mesh, vertex))
        {
            points.push_back(mesh.point(vertex));
        }
    }
    return points;
}

bool are_too_few(int boundary_vertices)
{
    return boundary_vertices < FEWEST_VERTICES;
}

using FaceSet = std::set<OpenMesh::FaceHandle>;

/// Deletes the faces of the smaller fans around a vertex.
/// \param seen gets all faces that were looked at
void delete_minor_fans(TriMesh& mesh, OpenMesh::VertexHandle vertex, FaceSet& seen)
{
    detail::FaceFans const fans(mesh, vertex);
    if (!fans.is_consistent())
    {
        print_line("-->Error in faces around vertex [%d].\n", vertex.idx());
    }
    for (auto const& [face, reach] : fans.reach())
    {
        if (fans.is_minor(reach))
        {
            detail::delete_face_checked(mesh, face, detail::IsolatedVertices::KEPT);
        }
        seen.insert(face);
    }
}

/// The same around the corners of all refused faces, which are halfedges and third corners. Takes
/// what was deleted out of the mesh. \return how many faces were looked at
template <typename FailedFaces>
std::size_t delete_minor_fans(TriMesh& mesh, FailedFaces const& failed)
{
    FaceSet seen;
    detail::DeletionScope const scope(mesh);
    detail::CompactedOnException const compacted(mesh);
    for (auto const& [halfedge, third] : failed)
    {
        detail::poll_cancel();
        auto const from = mesh.from_vertex_handle(halfedge);
        auto const to = mesh.to_vertex_handle(halfedge);
        print_line("analysis triangle (%d,%d,%d)\n", from.idx(), to.idx(), third.idx());
        for (auto const corner : {from, to, third})
        {
            delete_minor_fans(mesh, corner, seen);
        }
    }
    StepTimer const timer("Clear-Garbage", DELETE_ISOLATED_FACES);
    detail::compact(mesh);
    return seen.size();
}

} // namespace

bool BallPivoting::load_data(std::vector<std::wstring> const& paths)
{
    detail::Progress progress(paths.size());
    mRangeDatas.clear();
    mRangeDatas.reserve(paths.size());
    for (auto const& path : paths)
    {
        auto const frame = std::make_shared<RangeData>();
        CRangeDataIO::read_rge(path, *frame);
        mRangeDatas.push_back(frame);
        progress.advance();
    }
    return true;
}

bool BallPivoting::load_data(std::vector<std::string> const& paths)
{
    for (auto const& path : paths)
    {
        std::string dir;
        std::string name;
        std::string ext;
        UtilTool::DirDesc::extractPathTag(path, dir, name, ext);
        print_line("       dir = %s\n  filename = %s\n   extname = %s\n\n", dir.c_str(),
                   name.c_str(), ext.c_str());
    }
    return true;
}

bool BallPivoting::get_mean_dis(RangeData const& range, float& mean) const
{
    mean = -1.0F;
    double exact_mean = 0.0;
    if (RangeData_compute_mean_distance(range, exact_mean, SAMPLE_POINTS) != 0)
    {
        return false;
    }
    mean = static_cast<float>(exact_mean);
    return true;
}

bool BallPivoting::repair_mesh(TriMesh& mesh, std::vector<float> const& radii)
{
    if (mesh.n_vertices() < FEWEST_VERTICES)
    {
        gLH.print_past_log("Error: Invalid TriMesh.\n");
        return false;
    }
    StepTimer const timer("Repair-Mesh", BALL_PIVOTING);
    detail::Stages stages({1, 9});
    stages.next();
    std::vector<float> series = radii;
    if (series.empty())
    {
        detail::create_ball_radius(mesh, SAMPLE_FACES, series, RADIUS_FACTOR);
        report_radii(series);
    }
    report_mesh(mesh);
    log_line(true, "\nUse OpenMesh norm: %d\n\n", mNormMode ? 1 : 0);
    build_vertex_tree(mesh);

    stages.next();
    auto const n = static_cast<double>(series.size());
    for (std::size_t i = 0; i < series.size(); ++i)
    {
        detail::ProgressPart const part(static_cast<double>(i) / n, static_cast<double>(i + 1) / n);
        if (run_radius(mesh, series[i]) == Series::ENDS)
        {
            break;
        }
    }
    return true;
}

/// All passes with one radius, and what is left of the series behind them.
BallPivoting::Series BallPivoting::run_radius(TriMesh& mesh, float radius)
{
    int boundary_vertices = 0;
    if (run_passes(mesh, radius, boundary_vertices) == Series::ENDS)
    {
        return Series::ENDS;
    }
    if (are_too_few(boundary_vertices))
    {
        print_line("isolated vertices: %d\n", boundary_vertices);
        return Series::ENDS;
    }
    return Series::GOES_ON;
}

/// \param boundary_vertices replaced by their number before the last pass
BallPivoting::Series BallPivoting::run_passes(TriMesh& mesh, float radius, int& boundary_vertices)
{
    StepTimer timer(radius_step(radius), BALL_PIVOTING);
    detail::Stages stages({1.0, mEnableDeleteIsolatedFaces ? 1.0 : 0.0});
    if (mEnableDeleteIsolatedFaces)
    {
        mFailedFaces.clear();
        mFailedFaceSet.clear();
    }
    mOppositeHalfedgeErrors = 0;
    mTriangleVerticesErrors = 0;
    mOrigialSphereErrors = 0;

    int added_faces = 0;
    stages.next();
    repair_mesh(mesh, radius, added_faces, boundary_vertices, 0);
    if (mEnableDeleteIsolatedFaces)
    {
        print_line("\nmEnableDeleteIsolatedFaces = %d\n", 1);
        if (!mFailedFaces.empty())
        {
            report_pass(radius, added_faces);
        }
        if (are_too_few(boundary_vertices))
        {
            print_line("isolated vertices: %d\n", boundary_vertices);
            timer.leave_running(); // Who reads the steps sees by it where the series ended.
            return Series::ENDS;
        }
        delete_isolated_faces(mesh, mFailedFaces);
        build_vertex_tree(mesh);
        stages.next();
        repair_mesh(mesh, radius, added_faces, boundary_vertices, 1);
    }
    report_pass(radius, added_faces);
    return Series::GOES_ON;
}

void BallPivoting::build_vertex_tree(TriMesh const& mesh)
{
    mVertexTreePoints = live_points_of(mesh);
    mVertexTree.build_kdtree(mVertexTreePoints);
}

/// Whether the tree of all vertices holds those of a mesh, bit by bit where they are.
bool BallPivoting::knows_all_vertices_of(TriMesh const& mesh) const
{
    auto known = mVertexTreePoints.begin();
    for (int i = 0; i < static_cast<int>(mesh.n_vertices()); ++i)
    {
        OpenMesh::VertexHandle const vertex(i);
        if (detail::is_deleted(mesh, vertex))
        {
            continue;
        }
        if (known == mVertexTreePoints.end() ||
            std::memcmp(known->data(), mesh.point(vertex).data(), 3 * sizeof(float)) != 0)
        {
            return false;
        }
        ++known;
    }
    return known == mVertexTreePoints.end();
}

/// The errors are those of all passes with the radius.
void BallPivoting::report_pass(float radius, int added_faces) const
{
    log_and_print_line(true, "ball of radius [%f] add [%d] triangles.\n", wide(radius),
                       added_faces);
    log_and_print_line(true, "  [Data Error - opposite halfedge.  ]:  %d\n",
                       mOppositeHalfedgeErrors);
    log_and_print_line(true, "  [Data Error - triangle vertices.  ]:  %d\n",
                       mTriangleVerticesErrors);
    log_and_print_line(true, "  [Data Error - find origial sphere.]:  %d\n", mOrigialSphereErrors);
}

/// A face is refused where its corner has another fan of faces that would be shut in. The larger
/// fan is the surface; the smaller ones go.
bool BallPivoting::delete_isolated_faces(TriMesh& mesh, std::vector<FailedFace>& failed)
{
    if (!mEnableDeleteIsolatedFaces)
    {
        return false;
    }
    std::size_t n_seen = 0;
    {
        StepTimer const timer(DELETE_ISOLATED_FACES, BALL_PIVOTING);
        gLH.print_past_log("\n'delete_isolated_faces()' start ..\n");
        log_and_print_line(true, "  fail to add [%d] faces.\n", static_cast<int>(failed.size()));
        n_seen = delete_minor_fans(mesh, failed);
        gLH.print_past_log("'delete_ioslated_faces()' done.\n\n");
    }
    log_line(true, "-->delete [%d] triangles.\n", static_cast<int>(n_seen));
    return true;
}

/// Keeps a refused face, once, for after the pass.
void BallPivoting::keep_failed_face(FailedFace const& failed)
{
    if (mEnableDeleteIsolatedFaces &&
        mFailedFaceSet.emplace(failed.first.idx(), failed.second.idx()).second)
    {
        mFailedFaces.push_back(failed);
    }
}

/// Shows a refused face: as text, and as a file if there is a place for it.
void BallPivoting::OutputNeighbourRegion(TriMesh const& mesh, OpenMesh::VertexHandle va,
                                         OpenMesh::VertexHandle vb, OpenMesh::VertexHandle vc,
                                         float radius, int level, bool with_failed_face) const
{
    detail::output_failed_face_region(
        mesh, {{va, vb, vc}, mesh.point(va), mesh.point(vb), radius, level}, mDebugSavePath,
        with_failed_face ? detail::FailedFaceIn::WRITTEN : detail::FailedFaceIn::LEFT_OUT);
}

} // namespace OrvaneAlgorithm
