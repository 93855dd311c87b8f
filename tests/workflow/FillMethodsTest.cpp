#include "tests/support/holes.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "workflow/workflow.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::UnorderedElementsAre;

/// Filling the second large hole, at whose middle a marker is.
veld::FillSettings at_marker()
{
    veld::FillSettings settings;
    settings.method = veld::FillMethod::MARKERS;
    settings.region_rings = 2;
    settings.markers.points = {{31.0F, 31.0F, 0.0F}};
    return settings;
}

veld::FillResult fill(TriMesh const& mesh, veld::FillSettings settings)
{
    settings.max_perimeter = 100.0; // the border has 160
    veld::Context context;
    return veld::fill(mesh, settings, context);
}

std::vector<veld::FillMethod> ways(veld::FillResult const& result)
{
    std::vector<veld::FillMethod> methods;
    for (auto const& hole : result.closed)
    {
        methods.push_back(hole.method);
    }
    return methods;
}

bool has_bare_vertices(TriMesh const& mesh)
{
    bool bare = false;
    for (auto const v : mesh.vertices())
    {
        bare = bare || mesh.is_isolated(v);
    }
    return bare;
}

TEST(FillMethods, WholeClosesAllHolesWhateverHappensToTheirRegions)
{
    for (auto const& [name, region] : veld::region_handlings())
    {
        veld::FillSettings settings;
        settings.method = veld::FillMethod::WHOLE;
        settings.region = region;
        settings.region_rings = 2;
        auto const result = fill(sheet_with_three_holes(), settings);
        EXPECT_EQ(result.holes_before, 4U) << name;
        EXPECT_EQ(result.holes_after, 1U) << name;
        EXPECT_EQ(result.cut_faces > 0, region == veld::RegionHandling::DELETE) << name;
        EXPECT_EQ(result.mesh.n_faces() + result.cut_faces,
                  sheet_with_three_holes().n_faces() + result.new_faces);
        EXPECT_EQ(result.closed.size(), 3U) << name;
    }
}

TEST(FillMethods, WhatIsCutAwayLeavesNoVerticesBehind)
{
    // The sheet's own holes have some inside; they are not the filling's.
    TriMesh mesh = sphere(4);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    for (auto const f : mesh.faces())
    {
        if (mesh.calc_face_centroid(f).z() > 0.9F)
        {
            mesh.delete_face(f, true);
        }
    }
    mesh.garbage_collection();
    veld::FillSettings settings;
    settings.method = veld::FillMethod::WHOLE;
    settings.region = veld::RegionHandling::DELETE;
    settings.region_rings = 3;
    auto const result = fill(mesh, settings);
    EXPECT_GT(result.cut_faces, 0U);
    EXPECT_EQ(result.closed.size(), 1U);
    EXPECT_EQ(result.holes_after, 0U);
    EXPECT_FALSE(has_bare_vertices(result.mesh));
}

TEST(FillMethods, MarkersCloseTheirHolesAndNoOthers)
{
    for (auto const& [name, region] : veld::region_handlings())
    {
        SCOPED_TRACE(name);
        veld::FillSettings settings = at_marker();
        settings.region = region;
        TriMesh mesh = sheet_with_three_holes();
        auto const result = fill(mesh, settings);
        EXPECT_EQ(result.holes_after, 3U);
        EXPECT_EQ(result.cut_faces > 0, region == veld::RegionHandling::DELETE);
        ASSERT_EQ(result.closed.size(), 1U);
        auto const& closed = result.closed[0];
        EXPECT_EQ(closed.method, veld::FillMethod::MARKERS);
        EXPECT_EQ(closed.edges, 24U);
        EXPECT_EQ(closed.perimeter, 24.0);
        for (auto const& open : result.open)
        {
            EXPECT_EQ(open.reason, open.perimeter < 100.0 ? "no marker is near its centre"
                                                          : "longer perimeter than allowed");
        }
        auto const hole = veld_test::plain_holes(mesh).at(closed.hole);
        EXPECT_LT((veld_test::exact_mean(mesh, hole) - Vector3f(31.0F, 31.0F, 0.0F)).norm(), 1e-4F);
    }
}

TEST(FillMethods, AHoleThatIsCutAndStaysOpenIsNotSaidToBeClosed)
{
    // The cut joins it to the border, of which no marker is the centre.
    veld::FillSettings settings = at_marker();
    settings.region = veld::RegionHandling::DELETE;
    settings.region_rings = 4;
    TriMesh mesh = grid_without(40, 40, {{36, 20}, {37, 20}, {36, 21}, {37, 21}});
    settings.markers.points = {{37.0F, 21.0F, 0.0F}};
    auto const result = fill(mesh, settings);
    EXPECT_GT(result.cut_faces, 0U);
    EXPECT_EQ(result.new_faces, 0U);
    EXPECT_EQ(result.holes_after, 1U);
    EXPECT_TRUE(result.closed.empty());
}

TEST(FillMethods, HolesInOneCutAreClosedTogether)
{
    veld::FillSettings settings;
    settings.method = veld::FillMethod::WHOLE;
    settings.region = veld::RegionHandling::DELETE;
    settings.region_rings = 4;
    auto const result =
        fill(grid_without(
                 40, 40,
                 {{18, 20}, {18, 21}, {19, 20}, {19, 21}, {23, 20}, {23, 21}, {24, 20}, {24, 21}}),
             settings);
    EXPECT_EQ(result.holes_before, 3U);
    EXPECT_EQ(result.holes_after, 1U);
    EXPECT_EQ(result.closed.size(), 2U);
}

TEST(FillMethods, NothingThatWasScannedIsCutAwayUnlessThatIsAskedFor)
{
    for (auto const& [name, method] : veld::fill_methods())
    {
        veld::FillSettings settings = at_marker();
        settings.method = method;
        auto const result = fill(sheet_with_three_holes(), settings);
        EXPECT_GT(result.closed.size(), 0U) << name;
        EXPECT_EQ(result.cut_faces, 0U) << name;
        EXPECT_EQ(std::count(result.made_by.begin(), result.made_by.end(), 0),
                  static_cast<std::ptrdiff_t>(sheet_with_three_holes().n_faces()))
            << name;
    }
}

TEST(FillMethods, ACutOfMoreThanHalfTheMeshIsWarnedOf)
{
    veld::FillSettings settings;
    settings.method = veld::FillMethod::WHOLE;
    settings.region = veld::RegionHandling::DELETE;
    settings.max_perimeter = 0.0; // the region of the border is most of the sheet
    std::vector<veld::Warning> warnings;
    veld::Context context;
    context.warn = [&](veld::Warning const& warning) { warnings.push_back(warning); };
    veld::fill(grid(20, 20), settings, context);
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].code, veld::WarningCode::MESH_CUT_AWAY);
}

TEST(FillMethods, ABorderThatTheSmoothingHasMadeShorterThanTheLimitIsStillSaidToBeTooLong)
{
    veld::FillSettings settings;
    settings.method = veld::FillMethod::WHOLE;
    settings.region = veld::RegionHandling::SMOOTH;
    settings.max_perimeter = 159.5; // of 160; the smoothing draws the corners in
    veld::Context context;
    auto const result =
        veld::fill(grid_without(40, 40, {{1, 1}, {2, 1}, {1, 2}, {2, 2}}), settings, context);
    ASSERT_EQ(result.open.size(), 1U);
    EXPECT_LT(result.open[0].perimeter, 159.5);
    EXPECT_THAT(result.open[0].reason, testing::StartsWith("longer than allowed before"));
}

TEST(FillMethods, AutoTakesForEachHoleTheWayThatSuitsIt)
{
    using veld::FillMethod;
    veld::FillSettings settings;
    EXPECT_THAT(ways(fill(sheet_with_three_holes(), settings)),
                UnorderedElementsAre(FillMethod::CORE, FillMethod::CORE, FillMethod::TRIM));
    settings.markers.points = {{31.0F, 31.0F, 0.0F}};
    EXPECT_THAT(ways(fill(sheet_with_three_holes(), settings)),
                UnorderedElementsAre(FillMethod::CORE, FillMethod::MARKERS, FillMethod::TRIM));
    settings.markers.points.clear();
    settings.small_edges = 24;
    EXPECT_THAT(ways(fill(sheet_with_three_holes(), settings)), testing::Each(FillMethod::TRIM));
    settings.small_edges = 0;
    EXPECT_THAT(ways(fill(sheet_with_three_holes(), settings)), testing::Each(FillMethod::CORE));
}

TEST(FillMethods, AutoLeavesHolesBeyondTheLimitsOpenAndSaysWhy)
{
    // The first pass is for smaller holes than the limit of the others.
    for (int const limit : {0, 20})
    {
        veld::FillSettings settings;
        settings.max_edges = limit;
        auto const result = fill(sheet_with_three_holes(), settings);
        EXPECT_EQ(result.closed.size(), limit == 0 ? 3U : 1U);
        ASSERT_EQ(result.open.size(), limit == 0 ? 1U : 3U);
        for (auto const& open : result.open)
        {
            EXPECT_EQ(open.reason,
                      limit == 0 ? "longer perimeter than allowed" : "more edges than allowed");
        }
    }
}

TEST(FillMethods, WhatEachPassMadeIsTold)
{
    veld::FillSettings settings;
    settings.markers.points = {{31.0F, 31.0F, 0.0F}};
    auto const result = fill(sheet_with_three_holes(), settings);
    ASSERT_EQ(result.made_by.size(), result.mesh.n_faces());
    std::vector<std::size_t> made(result.passes.size() + 1);
    for (int const pass : result.made_by)
    {
        ++made.at(static_cast<std::size_t>(pass));
    }
    EXPECT_EQ(made[0], sheet_with_three_holes().n_faces());
    for (std::size_t i = 0; i < result.passes.size(); ++i)
    {
        EXPECT_EQ(made[i + 1], result.passes[i].new_faces);
    }
}

TEST(FillMethods, FacesKeepTheNumberOfTheirPassWhereALaterOneCuts)
{
    veld::FillSettings ears;
    ears.method = veld::FillMethod::TRIM;
    ears.max_edges = 4;
    ears.max_perimeter = 100.0;
    veld::FillSettings cut;
    cut.method = veld::FillMethod::WHOLE;
    cut.region = veld::RegionHandling::DELETE;
    cut.region_rings = 2;
    cut.max_perimeter = 100.0;
    veld::Context context;
    auto const result = veld::fill(sheet_with_three_holes(), {ears, cut}, context);
    EXPECT_GT(result.cut_faces, 0U);
    for (auto const face : result.mesh.faces())
    {
        // The small hole is the cell at (10, 30), which no region reaches.
        Vector3f const centre = result.mesh.calc_face_centroid(face);
        bool const is_in_cell =
            std::abs(centre.x() - 10.5F) < 0.5F && std::abs(centre.y() - 30.5F) < 0.5F;
        EXPECT_EQ(result.made_by[static_cast<std::size_t>(face.idx())] == 1, is_in_cell);
    }
}

TEST(FillMethods, EachTellsHowFarItIsAndCanBeCancelledAnywhere)
{
    TriMesh const mesh = sheet_with_three_holes();
    for (auto const& [name, method] : veld::fill_methods())
    {
        veld::FillSettings settings = at_marker();
        settings.method = method;
        settings.max_perimeter = 100.0;
        std::vector<double> told;
        veld::Context watching;
        watching.progress = [&](veld::Progress const& progress)
        { told.push_back(progress.fraction); };
        veld::fill(mesh, settings, watching);
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end())) << name;
        EXPECT_GT(told.size(), 5U) << name;
        for (std::size_t i = 0; i < told.size(); ++i)
        {
            std::size_t calls = 0;
            veld::Context context;
            context.progress = [&](veld::Progress const&)
            {
                if (calls++ == i)
                {
                    context.cancel.cancel();
                }
            };
            bool is_cancelled = false;
            try
            {
                veld::fill(mesh, settings, context);
            }
            catch (OrvaneAlgorithm::Cancelled const&)
            {
                is_cancelled = true;
            }
            // Who is told of the last step cannot end it any more.
            EXPECT_TRUE(is_cancelled || told[i] > 0.9) << name << " at " << told[i];
        }
    }
    EXPECT_EQ(fingerprint(mesh), fingerprint(sheet_with_three_holes()));
}

TEST(FillMethods, NormalsStayWhereTheSurfaceDoes)
{
    TriMesh mesh = sheet_with_three_holes();
    mesh.request_vertex_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, {0.6F, 0.0F, 0.8F}); // as the file had them
    }
    auto const result = fill(mesh, at_marker());
    EXPECT_FALSE(result.mesh.has_face_normals());
    EXPECT_EQ(result.mesh.normal(vh(0)), Vector3f(0.6F, 0.0F, 0.8F));
    auto const last = vh(static_cast<int>(result.mesh.n_vertices()) - 1);
    EXPECT_NEAR(result.mesh.normal(last).z(), 1.0F, 1e-5F);
}

TEST(FillMethods, TinyHolesThatAreFilledBeforeACutAreCountedApartFromWhatIsThere)
{
    // Ears close the cells at once; then the cut moves their faces, or takes everything.
    TriMesh const mesh = grid_without(12, 12, {{2, 2}, {6, 6}, {7, 6}, {6, 7}, {7, 7}});
    for (int const rings : {1, 40})
    {
        veld::FillSettings settings;
        settings.method = veld::FillMethod::WHOLE;
        settings.region = veld::RegionHandling::DELETE;
        settings.region_rings = rings;
        settings.max_perimeter = 20.0; // the border has 48
        veld::Context context;
        auto const result = veld::fill(mesh, settings, context);
        EXPECT_EQ(result.mesh.n_faces() + result.cut_faces, mesh.n_faces() + result.new_faces);
        ASSERT_EQ(result.made_by.size(), result.mesh.n_faces());
        for (auto const face : result.mesh.faces())
        {
            Vector3f const centre = result.mesh.calc_face_centroid(face);
            bool const is_in_cell =
                std::abs(centre.x() - 2.5F) < 0.5F && std::abs(centre.y() - 2.5F) < 0.5F;
            EXPECT_TRUE(!is_in_cell || result.made_by[static_cast<std::size_t>(face.idx())] == 1);
        }
    }
}

TEST(FillMethods, AMeshWithoutNormalsGetsNone)
{
    for (auto const& [name, method] : veld::fill_methods())
    {
        for (auto const& [handling, region] : veld::region_handlings())
        {
            veld::FillSettings settings = at_marker();
            settings.method = method;
            settings.region = region;
            auto const result = fill(sheet_with_three_holes(), settings);
            EXPECT_FALSE(result.mesh.has_vertex_normals()) << name << ", " << handling;
            EXPECT_FALSE(result.mesh.has_face_normals()) << name << ", " << handling;
        }
    }
}

TEST(FillMethods, AHoleOfWhichSomeIsLeftIsNotClosed)
{
    // Ears close the four corners of eight edges; a square of diagonals is left.
    TriMesh const mesh = grid_without(10, 10, {{4, 4}, {5, 4}, {4, 5}, {5, 5}});
    veld::FillSettings settings;
    settings.method = veld::FillMethod::TRIM;
    settings.edge_length = 1.5;
    auto const result = fill(mesh, settings);
    EXPECT_GT(result.new_faces, 0U);
    EXPECT_EQ(result.holes_after, 2U); // with the border
    EXPECT_TRUE(result.closed.empty());
}

TEST(FillMethods, AutoLeavesTheBackOfALoosePieceOpen)
{
    // A sheet of 16 edges beside a larger one: its outline is no hole, and who asks for careful
    // filling by name gets it closed.
    TriMesh mesh = grid_with_hole(20);
    for (int y = 0; y < 5; ++y)
    {
        for (int x = 0; x < 5; ++x)
        {
            mesh.add_vertex(Vector3f(float(x) + 40.0F, float(y), 0.0F));
        }
    }
    int const first = static_cast<int>(mesh.n_vertices()) - 25;
    for (int y = 0; y < 4; ++y)
    {
        for (int x = 0; x < 4; ++x)
        {
            int const corner = first + 5 * y + x;
            mesh.add_face(vh(corner), vh(corner + 1), vh(corner + 6));
            mesh.add_face(vh(corner), vh(corner + 6), vh(corner + 5));
        }
    }
    veld::FillSettings settings;
    settings.max_perimeter = 17.0;
    settings.small_edges = 0;
    veld::Context context;
    auto const result = veld::fill(mesh, settings, context);
    auto const is_back = [](veld::OpenHoleReport const& hole)
    { return hole.edges == 16 && hole.reason == "normals disagree with the faces around"; };
    EXPECT_EQ(std::count_if(result.open.begin(), result.open.end(), is_back), 1);
    settings.method = veld::FillMethod::WHOLE;
    auto const whole = veld::fill(mesh, settings, context);
    EXPECT_EQ(std::count_if(whole.open.begin(), whole.open.end(),
                            [](auto const& hole) { return hole.edges == 16; }),
              0);
}

} // namespace
