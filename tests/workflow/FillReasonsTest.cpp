#include "tests/support/holes.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/workflow/reason_of.h"
#include "workflow/filling/record/ReasonFinder.h"
#include "workflow/steps/StepJson.h"
#include "workflow/workflow.h"

#include "algorithmVeld/common/geometry/angles.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

namespace
{

using namespace veld_test;
using testing::HasSubstr;
using veld::FillMethod;

veld::FillSettings settings_of(FillMethod method)
{
    veld::FillSettings settings;
    settings.method = method;
    settings.max_perimeter = 30.0; // the borders of all sheets here are longer
    settings.region_rings = 2;
    return settings;
}

veld::FillResult filled(TriMesh const& mesh, veld::FillSettings const& settings)
{
    veld::Context context;
    return veld::fill(mesh, settings, context);
}

/// The reasons of the open holes of so many edges.
std::vector<std::string> reasons(veld::FillResult const& result, std::size_t edges)
{
    std::vector<std::string> found;
    for (auto const& hole : result.open)
    {
        if (hole.edges == edges)
        {
            found.push_back(hole.reason);
        }
    }
    return found;
}

/// Cells of a square.
std::vector<Cell> square_of_cells(int x, int y, int side)
{
    std::vector<Cell> cells;
    for (int i = 0; i < side * side; ++i)
    {
        cells.emplace_back(x + i % side, y + i / side);
    }
    return cells;
}

std::vector<Cell> together(std::vector<Cell> cells, std::vector<Cell> const& others)
{
    cells.insert(cells.end(), others.begin(), others.end());
    return cells;
}

TEST(FillReasons, NoMethodClosesAHoleOfMoreEdgesThanAllowed)
{
    TriMesh const mesh = grid_without(12, 12, {{3, 3}, {8, 8}});
    for (auto const& [name, method] : veld::fill_methods())
    {
        auto settings = settings_of(method);
        settings.markers.points = {{3.5F, 3.5F, 0.0F}, {8.5F, 8.5F, 0.0F}};
        settings.max_edges = 3;
        auto const result = filled(mesh, settings);
        EXPECT_EQ(result.new_faces, 0U) << name;
        EXPECT_THAT(reasons(result, 4),
                    testing::ElementsAre("more edges than allowed", "more edges than allowed"))
            << name;
        settings.max_edges = 4;
        EXPECT_EQ(filled(mesh, settings).closed.size(), 2U) << name;
    }
}

/// A sheet with three holes that meet in its middle, (10, 10), as wedges. The faces between them
/// are linked there out of their order around it, so that one boundary goes round all three.
TriMesh sheet_with_three_wedges()
{
    TriMesh const sheet = grid(20, 20);
    int const middle = 10 * 21 + 10;
    std::vector<Triangle> at_middle;
    std::vector<Triangle> others;
    for (auto const& corners : corners_of(sheet))
    {
        Vector3f const centre = (sheet.point(vh(corners[0])) + sheet.point(vh(corners[1])) +
                                 sheet.point(vh(corners[2]))) /
                                    3.0F -
                                sheet.point(vh(middle));
        double angle = std::atan2(centre.y(), centre.x()) * 180.0 / OrvaneAlgorithm::detail::PI;
        angle += angle < 0.0 ? 360.0 : 0.0;
        bool const is_in_wedge =
            (angle > 45.0 && angle < 90.0) || (angle > 180.0 && angle < 225.0) || angle > 270.0;
        bool const is_at_middle =
            std::find(corners.begin(), corners.end(), middle) != corners.end();
        if (!is_in_wedge || centre.norm() > 4.0F)
        {
            (is_at_middle ? at_middle : others).push_back(corners);
        }
    }
    // In the grid's order they come in the sense of rotation.
    std::reverse(at_middle.begin(), at_middle.end());
    at_middle.insert(at_middle.end(), others.begin(), others.end());
    std::vector<Vector3f> points;
    for (auto const v : sheet.vertices())
    {
        points.push_back(sheet.point(v));
    }
    return make_mesh(points, at_middle);
}

TEST(FillReasons, HolesOfOneBoundaryAreJudgedAndClosedEachByItself)
{
    TriMesh mesh = sheet_with_three_wedges();
    auto const holes = plain_holes(mesh);
    ASSERT_EQ(plain_walks(mesh).size(), 2U); // with the border
    ASSERT_EQ(holes.size(), 4U);
    for (auto const method : {FillMethod::TRIM, FillMethod::CORE, FillMethod::WHOLE})
    {
        SCOPED_TRACE(veld::to_string(method));
        auto settings = settings_of(method);
        settings.max_perimeter = 20.0; // of each; all together have 36 edges and more
        EXPECT_EQ(filled(mesh, settings).closed.size(), 3U);
        settings.max_edges = 11;
        auto const result = filled(mesh, settings);
        EXPECT_EQ(result.closed.size(), 2U);
        EXPECT_THAT(reasons(result, 14), testing::ElementsAre("more edges than allowed"));
    }
    auto settings = settings_of(FillMethod::MARKERS);
    for (auto const& hole : holes)
    {
        if (hole.size() == 14)
        {
            settings.markers.points = {exact_mean(mesh, hole)};
        }
    }
    auto const result = filled(mesh, settings);
    ASSERT_EQ(result.closed.size(), 1U);
    EXPECT_EQ(result.closed[0].edges, 14U);
    EXPECT_EQ(result.markers_without_hole, 0U);
    EXPECT_THAT(reasons(result, 11), testing::Each("no marker is near its centre"));
}

TEST(FillReasons, AHoleWithAScrapOnItsRimIsClosedAroundTheScrapWhereTheLimitsAllowBothTogether)
{
    TriMesh mesh = grid_without(20, 20, square_of_cells(5, 5, 4));
    auto const a = mesh.add_vertex({6.0F, 5.4F, 0.0F});
    auto const b = mesh.add_vertex({5.4F, 6.0F, 0.0F});
    ASSERT_TRUE(mesh.add_face(vh(5 * 21 + 5), a, b).is_valid());
    for (auto const method : {FillMethod::TRIM, FillMethod::WHOLE})
    {
        SCOPED_TRACE(veld::to_string(method));
        auto settings = settings_of(method);
        EXPECT_EQ(filled(mesh, settings).holes_after, 1U);
        settings.max_edges = 16; // of the hole alone; the scrap has three
        auto const result = filled(mesh, settings);
        EXPECT_TRUE(result.closed.empty());
        for (std::size_t const edges : {16U, 3U})
        {
            EXPECT_THAT(
                reasons(result, edges),
                testing::ElementsAre("two pieces hang together by one of its vertices only"));
        }
    }
}

TEST(FillReasons, FillsThatAreTooLargeToBeSmoothAreWarnedOf)
{
    TriMesh const mesh =
        grid_without(20, 20, together(square_of_cells(3, 3, 2), square_of_cells(10, 10, 6)));
    for (auto const method : {FillMethod::WHOLE, FillMethod::MARKERS})
    {
        auto settings = settings_of(method);
        settings.markers.points = {{4.0F, 4.0F, 0.0F}, {13.0F, 13.0F, 0.0F}};
        settings.max_patch = 5;
        veld::Context context;
        std::vector<veld::Warning> warnings;
        context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
        EXPECT_EQ(veld::fill(mesh, settings, context).closed.size(), 2U);
        ASSERT_EQ(warnings.size(), 1U) << veld::to_string(method);
        EXPECT_EQ(warnings[0].code, veld::WarningCode::PATCH_UNFAIRED);
        EXPECT_THAT(warnings[0].text, HasSubstr("more than 5"));
        settings.max_patch = 0;
        veld::fill(mesh, settings, context);
        EXPECT_EQ(warnings.size(), 1U);
    }
}

TEST(FillReasons, AutoLeavesTheBorderOfASheetOpenForItsOtherSideIsNoHole)
{
    // Of more edges than `trim` looks at, and nothing else is there to be closed.
    TriMesh const sheet = grid(5, 5);
    auto settings = settings_of(FillMethod::AUTO);
    settings.max_perimeter = 0.0;
    auto const result = filled(sheet, settings);
    EXPECT_EQ(result.new_faces, 0U);
    EXPECT_THAT(reasons(result, 20),
                testing::ElementsAre("normals disagree with the faces around"));
    auto const beside = filled(grid_without(12, 12, square_of_cells(3, 3, 4)), settings);
    EXPECT_EQ(beside.closed.size(), 1U);
    EXPECT_THAT(reasons(beside, 48),
                testing::ElementsAre("normals disagree with the faces around"));
    settings.max_edges = 19;
    EXPECT_THAT(reasons(filled(sheet, settings), 20),
                testing::ElementsAre("more edges than allowed"));
}

TEST(FillReasons, WhatIsLeftBetweenNewFacesHasTheReasonOfItsHole)
{
    TriMesh mesh = grid_with_hole(1);
    auto const first = static_cast<int>(mesh.n_faces());
    auto const rim = plain_holes(mesh).at(1);
    ASSERT_EQ(rim.size(), 4U);
    std::vector<OpenMesh::VertexHandle> inner;
    for (auto const v : rim)
    {
        inner.push_back(mesh.add_vertex(0.5F * mesh.point(v) + Vector3f(0.75F, 0.75F, 0.0F)));
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        std::size_t const next = (i + 1) % 4;
        ASSERT_TRUE(mesh.add_face(rim[i], rim[next], inner[i]).is_valid());
        ASSERT_TRUE(mesh.add_face(rim[next], inner[next], inner[i]).is_valid());
    }
    veld::ReasonFinder finder({});
    finder.add(mesh, {{rim, OrvaneAlgorithm::OpenReason::FACE_REFUSED}}, {},
               [&](OpenMesh::FaceHandle face) { return face.idx() >= first; });
    EXPECT_EQ(finder.reason(mesh, inner, 2.0), "the mesh refuses a face");
}

TEST(FillReasons, OpenHolesHaveTheNumbersThatTheyHaveBehindAFile)
{
    // A hole whose region is cut away and that is closed; the others are too long.
    std::vector<Cell> missing = square_of_cells(3, 3, 2);
    for (int const x : {3, 14, 25})
    {
        missing = together(missing, square_of_cells(x, 14, 9));
        missing = together(missing, square_of_cells(x, 28, 8 + x / 14));
    }
    TriMesh mesh = grid_without(40, 40, missing);
    mesh.request_halfedge_texcoords2D();
    for (auto const h : mesh.halfedges())
    {
        mesh.set_texcoord2D(h, Eigen::Vector2f(float(h.from().idx()), float(h.to().idx())));
    }
    auto settings = settings_of(FillMethod::WHOLE);
    settings.region = veld::RegionHandling::DELETE;
    settings.region_rings = 1;
    auto result = filled(mesh, settings);
    ASSERT_GT(result.cut_faces, 0U);
    ASSERT_EQ(result.open.size(), 7U);
    TriMesh read;
    for (auto const v : result.mesh.vertices())
    {
        read.add_vertex(result.mesh.point(v));
    }
    for (auto const& corners : corners_of(result.mesh))
    {
        read.add_face(vh(corners[0]), vh(corners[1]), vh(corners[2]));
    }
    veld::Context context;
    auto const here = veld::find_holes(result.mesh, {}, context);
    auto const there = veld::find_holes(read, {}, context);
    EXPECT_EQ(edges_of(here.holes), edges_of(there.holes));
    for (auto const& open : result.open)
    {
        EXPECT_EQ(open.edges, there.summaries.at(open.hole).edges);
        EXPECT_EQ(here.holes.at(open.hole), there.holes.at(open.hole));
    }
    for (auto const h : result.mesh.halfedges())
    {
        EXPECT_EQ(result.mesh.prev_halfedge_handle(result.mesh.next_halfedge_handle(h)), h);
    }
}

TEST(FillReasons, MarkersWithoutAHoleAreCountedAndWarnedOf)
{
    TriMesh const mesh = grid_without(20, 20, square_of_cells(5, 5, 4));
    for (auto const method : {FillMethod::MARKERS, FillMethod::AUTO})
    {
        auto settings = settings_of(method);
        settings.markers.points = {{7.0F, 7.0F, 0.5F}, {7.0F, 9.5F, 0.0F}, {15.0F, 15.0F, 0.0F}};
        settings.marker_radius = 2.0;
        veld::Context context;
        std::vector<veld::Warning> warnings;
        context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
        auto const result = veld::fill(mesh, settings, context);
        EXPECT_EQ(result.closed.size(), 1U);
        EXPECT_EQ(result.markers_without_hole, 2U);
        EXPECT_EQ(veld::to_json(result).at("markers_without_hole"), 2);
        ASSERT_EQ(warnings.size(), 1U);
        EXPECT_EQ(warnings[0].code, veld::WarningCode::MARKER_WITHOUT_HOLE);
        EXPECT_EQ(warnings[0].text, "2 of 3 without a hole whose centre is nearer than 2 mm");
        settings.marker_radius = 3.0;
        EXPECT_EQ(filled(mesh, settings).markers_without_hole, 1U);
    }
}

TEST(FillReasons, MarkersInSettingsHaveToBeAList)
{
    veld::FillSettings settings;
    EXPECT_EQ(reason_of(
                  [&] {
                      veld::read_settings({{"markers", "m.txt"}}, "fill: ", settings);
                  }),
              "fill: 'markers' has to be a list of places, and not a file's name");
}

TEST(FillReasons, SettingsReachTheFillingsOfAllHolesAndOfThoseAtMarkers)
{
    TriMesh mesh = grid_without(20, 20, square_of_cells(6, 6, 6));
    for (auto const v : mesh.vertices())
    {
        Vector3f const at = mesh.point(v);
        mesh.set_point(v, Vector3f(at.x(), at.y(), std::sin(0.3F * at.x()) * at.y() / 5.0F));
    }
    for (auto const method : {FillMethod::WHOLE, FillMethod::MARKERS})
    {
        SCOPED_TRACE(veld::to_string(method));
        auto usual = settings_of(method);
        usual.max_perimeter = 0.0;
        usual.max_edges = 30; // of 24; the border has 80
        usual.markers.points = {exact_mean(mesh, plain_holes(mesh).at(1))};
        auto const as_usual = filled(mesh, usual);
        ASSERT_EQ(as_usual.closed.size(), 1U);
        auto const is_other = [&](veld::FillSettings const& settings)
        { return fingerprint(filled(mesh, settings).mesh) != fingerprint(as_usual.mesh); };
        auto settings = usual;
        settings.weights = veld::FillWeights::UNIFORM;
        EXPECT_TRUE(is_other(settings));
        settings = usual;
        settings.max_patch = 1; // so it is not faired
        EXPECT_TRUE(is_other(settings));
        settings = usual;
        settings.max_edges = 23;
        EXPECT_TRUE(is_other(settings));
        settings = usual;
        settings.region = veld::RegionHandling::DELETE;
        settings.max_edges = 0;
        settings.max_perimeter = 300.0;
        settings.region_rings = 1;
        auto const narrow = filled(mesh, settings).cut_faces;
        settings.region_rings = 3;
        EXPECT_GT(filled(mesh, settings).cut_faces, narrow);
        EXPECT_GT(narrow, 0U);
    }
}

} // namespace
