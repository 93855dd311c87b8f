#include "algorithmVeld/reconstruction/GeoPatentRecon.h"
#include "algorithmVeld/common/mesh/EarGeometry.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/reconstruction/frames/FrameTriangulation.h"
#include "algorithmVeld/reconstruction/stitch/BorderStitch.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/files.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/standard_output.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::IsEmpty;

namespace
{

/// Lets the tests look at what derived classes see.
class OpenRecon : public GeoPatentRecon
{
public:
    double spacing() const { return point_spacing; }
    double long_edge() const { return long_edge_length; }
    bool node_num_constraint() const { return node_num_constraint_; }
    int node_num() const { return node_num_thr_; }
    bool edge_length_constraint() const { return edge_length_constraint_; }
    double edge_length() const { return edge_length_thr_; }
    bool norm_constraint() const { return norm_constraint_; }
    double norm() const { return norm_thr_; }
    bool has_frame_property() const { return vert_frame_prop.is_valid(); }
};

/// ReconSettings that leave a flat frame of spacing 1 alone as far as can be.
struct ReconSettings
{
    double spacing = 0.01;
    bool verbose = false;
    int max_hole_edges = 0;
    int min_component_size = 0;
    double long_edge_length = 100.0;
};

struct ReconResult
{
    RetVal value = RET_SUCCESS;
    TriMesh mesh;
    std::vector<int> frames;
    std::string printed;
};

template <typename Recon>
ReconResult merge_with(Recon& recon, std::vector<RangeData> const& frames,
                       ReconSettings const& s = {})
{
    ReconResult result;
    LogCapture const quiet;
    result.printed = output_of(
        [&]
        {
            result.value = recon.mesh_merge(pointers(frames), s.spacing, result.mesh, s.verbose,
                                            s.max_hole_edges, s.min_component_size,
                                            s.long_edge_length, result.frames);
        });
    return result;
}

ReconResult merge_in_turn(std::vector<RangeData> const& frames, ReconSettings const& s = {})
{
    GeoPatentRecon recon;
    return merge_with(recon, frames, s);
}

/// The frames side by side in one mesh, not stitched.
TriMesh unstitched(std::vector<RangeData> const& frames)
{
    TriMesh mesh;
    OpenMesh::VPropHandleT<int> numbers;
    mesh.add_property(numbers);
    detail::triangulate_frames(pointers(frames), detail::ColourRule::ANY_FRAME, numbers, mesh);
    mesh.remove_property(numbers);
    return mesh;
}

/// Two flat frames of spacing 0.1 with a gap of 0.15 between them.
std::vector<RangeData> two_strips()
{
    return {flat_frame(8, 5, 0.1F), flat_frame(8, 5, 0.1F, Vector3f(0.55F, 0.03F, 0))};
}

void repair_quietly(GeoPatentRecon& recon, TriMesh& mesh)
{
    LogCapture const quiet(false);
    recon.repair_mesh(mesh);
}

/// A flat lattice of 3 x 3 loose points, 0.1 apart, with normals upwards; vertex 4 is its middle.
TriMesh lattice_of_points()
{
    TriMesh mesh;
    mesh.request_vertex_normals();
    for (int i = 0; i < 9; ++i)
    {
        Vector3f const point(0.1F * static_cast<float>(i % 3), 0.1F * static_cast<float>(i / 3), 0);
        mesh.set_normal(mesh.add_vertex(point), Vector3f(0, 0, 1));
    }
    return mesh;
}

/// Adds a loose point over the middle of the lattice.
OpenMesh::VertexHandle add_above(TriMesh& mesh, float height)
{
    auto const vertex = mesh.add_vertex(Vector3f(0.1F, 0.1F, height));
    mesh.set_normal(vertex, Vector3f(0, 0, 1));
    return vertex;
}

GeoPatentRecon with_spacing(double spacing)
{
    GeoPatentRecon recon;
    recon.set_point_spacing(spacing);
    return recon;
}

} // namespace

// ------------------------------------------------------------------------------- the whole merge

TEST(GeoPatentRecon, NoFramesThrowWithTheMeshCleared)
{
    TriMesh mesh = lone_triangle();
    int const properties = count_properties(mesh);
    std::vector<int> frames{7};
    OpenRecon recon;
    LogCapture const quiet(false);
    EXPECT_THROW(recon.mesh_merge({}, 0.1, mesh, false, 0, 0, 1.0, frames), std::out_of_range);
    EXPECT_EQ(mesh.n_vertices(), 0U);
    EXPECT_THAT(frames, testing::ElementsAre(7));
    EXPECT_EQ(count_properties(mesh), properties + 1);
    EXPECT_TRUE(recon.has_frame_property());
}

TEST(GeoPatentRecon, AFrameWithoutNormalsIsInvalidAndSaidSoWhateverTheSwitch)
{
    auto frames = two_strips();
    frames[1].disable_vNormal();
    for (bool const verbose : {false, true})
    {
        ReconSettings settings;
        settings.verbose = verbose;
        auto const result = merge_in_turn(frames, settings);
        EXPECT_EQ(result.value, RET_INVALID_INPUT);
        EXPECT_EQ(result.mesh.n_vertices(), 0U);
        EXPECT_THAT(result.frames, IsEmpty());
        EXPECT_EQ(result.printed,
                  std::string(verbose ? "convert_rge_to_mesh() ..\nlack of vertex normal\n" : "") +
                      "fail to convert rge to trimesh\n");
    }
    std::vector<RangeData const*> const missing{nullptr};
    TriMesh mesh;
    std::vector<int> numbers;
    LogCapture const log(false);
    output_of(
        [&]
        {
            EXPECT_EQ(GeoPatentRecon().mesh_merge(missing, 0.1, mesh, false, 0, 0, 1.0, numbers),
                      RET_INVALID_INPUT);
        });
    EXPECT_EQ(log.text(), "fail to convert rge to trimesh\n");
}

TEST(GeoPatentRecon, AMergeTellsTheFrameOfEachVertexAndLeavesNoProperty)
{
    OpenRecon recon;
    ReconSettings settings;
    settings.spacing = 0.1;
    auto const result = merge_with(recon, two_strips(), settings);
    EXPECT_EQ(result.value, RET_SUCCESS);
    ASSERT_EQ(result.frames.size(), result.mesh.n_vertices());
    for (auto const vertex : result.mesh.vertices())
    {
        EXPECT_EQ(result.frames[static_cast<std::size_t>(vertex.idx())],
                  result.mesh.point(vertex).x() > 0.5F ? 1 : 0);
    }
    EXPECT_FALSE(recon.has_frame_property());
    EXPECT_EQ(face_component_sizes(result.mesh).size(), 1U) << "the gap is closed";
}

TEST(GeoPatentRecon, ColoursAreThoseOfTheFirstFrameOrNone)
{
    auto frames = two_strips();
    frames[1].enable_vColor();
    std::fill(frames[1].vColor.begin(), frames[1].vColor.end(), Vector3f(1, 2, 3));
    EXPECT_FALSE(merge_in_turn(frames).mesh.has_vertex_colors());

    std::swap(frames[0], frames[1]);
    auto const result = merge_in_turn(frames);
    ASSERT_TRUE(result.mesh.has_vertex_colors());
    for (auto const vertex : result.mesh.vertices())
    {
        bool const is_first = result.frames[static_cast<std::size_t>(vertex.idx())] == 0;
        EXPECT_EQ(result.mesh.color(vertex), is_first ? Vector3f(1, 2, 3) : Vector3f(0, 0, 0));
    }
}

TEST(GeoPatentRecon, LongEdgesStayWhereTheyAreNotToBeCut)
{
    std::vector<RangeData> const frames{flat_frame(6, 6, 1.0F)};
    ReconSettings settings;
    auto const whole = merge_in_turn(frames, settings);
    settings.long_edge_length = 0.5;
    EXPECT_LT(merge_in_turn(frames, settings).mesh.n_faces(), whole.mesh.n_faces());
    GeoPatentRecon recon;
    recon.set_preprocess_enabled(false);
    EXPECT_EQ(fingerprint(merge_with(recon, frames, settings).mesh), fingerprint(whole.mesh));
}

TEST(GeoPatentRecon, TheStagesAreToldInTheirOrderWhileTheSwitchIsOn)
{
    ReconSettings settings;
    EXPECT_EQ(merge_in_turn({flat_frame(6, 6, 1.0F)}, settings).printed, "");
    settings.verbose = true;
    std::string const printed = merge_in_turn({flat_frame(6, 6, 1.0F)}, settings).printed;
    std::size_t at = 0;
    for (char const* line : {"convert_rge_to_mesh() ..\n", "preprocess_mesh..\n",
                             "  deleted edge: 0\n", "repair_mesh() ..\n", "mesh_filter() ..\n",
                             "remove_outlier() ..\n", " deleted low connection nodes: 2\n",
                             "remove_isolated_face() ..\n", "removed isolated face: 0\n"})
    {
        at = printed.find(line, at);
        ASSERT_NE(at, std::string::npos) << line;
    }
}

TEST(GeoPatentRecon, GivesTheSameForAnyNumberOfThreads)
{
    auto const frames = random_frames(3, 3, 30, 0.12F);
    ReconSettings settings{0.12, false, 20, 5, 0.6};
    std::vector<std::vector<int>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        results.push_back(fingerprint(merge_in_turn(frames, settings).mesh));
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(results[0], results[2]);
}

// ------------------------------------------------------------------------------------- the stages

TEST(GeoPatentRecon, TheStitchIsThatOfManyThreadsInTheOrderOfTheVertices)
{
    TriMesh mesh = unstitched(random_frames(5, 3, 30, 0.12F));
    TriMesh parallel = mesh;
    auto const before = mesh.n_faces();
    GeoPatentRecon recon;
    repair_quietly(recon, mesh);
    EXPECT_GT(mesh.n_faces(), before);

    std::vector<OpenMesh::VertexHandle> centres;
    for (auto const vertex : parallel.vertices())
    {
        if (parallel.is_boundary(vertex))
        {
            centres.push_back(vertex);
        }
    }
    detail::FanSettings settings;
    settings.start_radius = 0.24F;
    settings.largest_radius = 8 * 0.12;
    settings.longest_edge = 8 * 0.12;
    settings.cos_normal_angle = detail::cosine_of_degrees(30.0);
    detail::stitch_borders(parallel, centres, settings);
    EXPECT_EQ(fingerprint(mesh), fingerprint(parallel));
}

TEST(GeoPatentRecon, TheSpacingDecidesWhichGapsAreTried)
{
    TriMesh const strips = unstitched(two_strips());
    TriMesh mesh = strips;
    // Border edges of 0.1 are longer than eight times this.
    GeoPatentRecon fine = with_spacing(0.012);
    repair_quietly(fine, mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(strips));

    GeoPatentRecon fitting = with_spacing(0.1);
    repair_quietly(fitting, mesh);
    EXPECT_GT(mesh.n_faces(), strips.n_faces());
    for (double const spacing : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    {
        mesh = strips;
        GeoPatentRecon recon = with_spacing(spacing);
        repair_quietly(recon, mesh);
        EXPECT_EQ(fingerprint(mesh), fingerprint(strips));
    }
}

TEST(GeoPatentRecon, PreprocessingCountsAnEdgeThatWentWithAnotherOnce)
{
    TriMesh mesh = lone_triangle();
    LogCapture const log;
    GeoPatentRecon recon;
    EXPECT_EQ(output_of([&] { recon.preprocess_mesh(mesh); }),
              "preprocess_mesh..\n  deleted edge: 1\n");
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_vertices(), 3U);
    EXPECT_FALSE(mesh.has_edge_status());

    mesh = lone_triangle();
    recon.set_long_edge_length(2.0);
    EXPECT_EQ(output_of([&] { recon.preprocess_mesh(mesh); }),
              "preprocess_mesh..\n  deleted edge: 0\n");
}

TEST(GeoPatentRecon, TheFilterTakesThinVerticesAndLoneFaces)
{
    TriMesh mesh = grid(3, 3);
    LogCapture const log;
    GeoPatentRecon recon;
    // Two corners of the grid have two neighbours; the others have three.
    EXPECT_EQ(output_of([&] { recon.mesh_filter(mesh); }),
              "mesh_filter() ..\n"
              "remove_outlier() ..\n deleted low connection nodes: 2\n"
              "remove_isolated_face() ..\nremoved isolated face: 0\n");
    EXPECT_EQ(mesh.n_faces(), 16U);
    EXPECT_EQ(mesh.n_vertices(), 14U);
}

TEST(GeoPatentRecon, ItsTwoStepsOnlyMark)
{
    TriMesh mesh = lone_triangle();
    LogCapture const log;
    GeoPatentRecon recon;
    output_of(
        [&]
        {
            recon.remove_outlier(mesh);
            recon.remove_isolated_face(mesh);
        });
    EXPECT_EQ(mesh.n_faces(), 1U) << "no status, no marks";

    detail::DeletionScope const scope(mesh);
    EXPECT_EQ(output_of([&] { recon.remove_isolated_face(mesh); }),
              "remove_isolated_face() ..\nremoved isolated face: 1\n");
    EXPECT_EQ(mesh.n_faces(), 1U);
    EXPECT_TRUE(mesh.status(OpenMesh::FaceHandle(0)).deleted());
    EXPECT_EQ(output_of([&] { recon.remove_outlier(mesh); }),
              "remove_outlier() ..\n deleted low connection nodes: 3\n");
}

TEST(GeoPatentRecon, TheLimitsOfTheSecondRoundOfFillingStay)
{
    TriMesh mesh = grid_with_hole(1);
    OpenRecon recon;
    LogCapture const log;
    output_of([&] { EXPECT_EQ(recon.mesh_fill_hole(0.2, mesh, false, 6, 0), RET_SUCCESS); });
    EXPECT_FALSE(gPH.log_enabled);
    EXPECT_EQ(recon.spacing(), 0.2);
    EXPECT_TRUE(recon.node_num_constraint());
    EXPECT_EQ(recon.node_num(), 6);
    EXPECT_FALSE(recon.edge_length_constraint());
    EXPECT_EQ(recon.edge_length(), 1.0);
    EXPECT_TRUE(recon.norm_constraint());
    EXPECT_EQ(recon.norm(), 150.0);
    EXPECT_TRUE(std::none_of(mesh.vertices_begin(), mesh.vertices_end(),
                             [&](OpenMesh::VertexHandle vertex)
                             {
                                 Vector3f const p = mesh.point(vertex) - Vector3f(1.5F, 1.5F, 0);
                                 return p.norm() < 1.0F && mesh.is_boundary(vertex);
                             }))
        << "the hole of four edges is closed";
}

// ----------------------------------------------------------------------------------- loose points

TEST(GeoPatentRecon, ALoosePointFarOffThePlaneGoes)
{
    // Of the nine others that a corner of the lattice sees, eight lie in its plane: the mean of the
    // squares is a ninth of the point's own.
    TriMesh mesh = lattice_of_points();
    add_above(mesh, 0.1F);
    GeoPatentRecon recon = with_spacing(1.0);
    LogCapture const quiet(false);
    recon.remove_outlier_before_repair(mesh);
    EXPECT_EQ(fingerprint(mesh), fingerprint(lattice_of_points()));
    EXPECT_FALSE(mesh.has_vertex_status());
}

TEST(GeoPatentRecon, ALoosePointNearThePlaneStays)
{
    // The mean of the ten squares is 0.00101: five times that is less than the far point's 0.01,
    // and more than the near one's 0.0001.
    TriMesh mesh = lattice_of_points();
    add_above(mesh, 0.01F);
    add_above(mesh, 0.1F);
    GeoPatentRecon recon = with_spacing(1.0);
    LogCapture const quiet(false);
    recon.remove_outlier_before_repair(mesh);
    ASSERT_EQ(mesh.n_vertices(), 10U);
    EXPECT_EQ(mesh.point(vh(9)).z(), 0.01F);
}

TEST(GeoPatentRecon, TheFactorDecides)
{
    TriMesh mesh = lattice_of_points();
    add_above(mesh, 0.1F);
    GeoPatentRecon recon = with_spacing(1.0);
    recon.set_outlier_factor(9.5F);
    LogCapture const quiet(false);
    recon.remove_outlier_before_repair(mesh);
    EXPECT_EQ(mesh.n_vertices(), 10U);
}

TEST(GeoPatentRecon, AVertexWithFacesStaysHoweverFarOff)
{
    TriMesh mesh = lattice_of_points();
    auto const above = add_above(mesh, 0.1F);
    std::array<OpenMesh::VertexHandle, 2> far;
    for (std::size_t i = 0; i < far.size(); ++i)
    {
        far[i] = mesh.add_vertex(Vector3f(5, 0.1F * static_cast<float>(i), 0.1F));
        mesh.set_normal(far[i], Vector3f(0, 0, 1));
    }
    mesh.add_face(above, far[0], far[1]);
    GeoPatentRecon recon = with_spacing(1.0);
    LogCapture const quiet(false);
    recon.remove_outlier_before_repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 1U);
}

TEST(GeoPatentRecon, APointWithoutNeighboursStays)
{
    TriMesh mesh;
    mesh.add_vertex(Vector3f(0, 0, 0));
    mesh.add_vertex(Vector3f(100, 0, 0));
    mesh.add_vertex(Vector3f(std::numeric_limits<float>::quiet_NaN(), 0, 0));
    GeoPatentRecon recon;
    LogCapture const quiet(false);
    recon.remove_outlier_before_repair(mesh);
    EXPECT_EQ(mesh.n_vertices(), 3U);
    TriMesh empty;
    recon.remove_outlier_before_repair(empty);
    EXPECT_EQ(empty.n_vertices(), 0U);
}

TEST(GeoPatentRecon, ThePointsThatGoAreListed)
{
    TriMesh mesh = lattice_of_points();
    add_above(mesh, 0.1F);
    GeoPatentRecon recon = with_spacing(1.0);
    TempDir const dir;
    LogCapture const log;
    gPH.set_debug_dir(dir.path().string());
    EXPECT_EQ(output_of([&] { recon.remove_outlier_before_repair(mesh); }),
              "deleted outlier before repair: 1\n");
    EXPECT_EQ(file_content(dir.file("removed-outlies-before-repair-thr_5.000000.asc")),
              "0.100000 0.100000 0.100000 0.000000 0.000000 1.000000\n");
}

TEST(GeoPatentRecon, WithoutTheListNothingGoes)
{
    TriMesh mesh = lattice_of_points();
    add_above(mesh, 0.1F);
    GeoPatentRecon recon = with_spacing(1.0);
    TempDir const dir;
    std::string const missing = dir.file("missing");
    LogCapture const log;
    gPH.set_debug_dir(missing);
    EXPECT_EQ(output_of([&] { recon.remove_outlier_before_repair(mesh); }),
              "fail to write '" + missing + "/removed-outlies-before-repair-thr_5.000000.asc'.\n");
    EXPECT_EQ(mesh.n_vertices(), 10U);
}
