#include "algorithmVeld/common/mesh_io.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/real_data.h"

#include <gtest/gtest.h>

/// \file
/// Holes of real scans.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

void read_scan(std::string const& file, TriMesh& mesh, MeshReadReport& report)
{
    ASSERT_TRUE(read_mesh(real_data("meshes_holes/" + file), mesh, report)) << report.error;
}

std::vector<std::string> const SCANS{"b9_mesh.ply",
                                     "bun_zipper.ply",
                                     "bun_zipper_res2.ply",
                                     "bun_zipper_res3.ply",
                                     "diana.ply",
                                     "diana_hole_top.ply",
                                     "dragon_vrip_res3.ply",
                                     "dragon_vrip_res4.ply",
                                     "elephant_with_holes.ply",
                                     "face_holes.ply",
                                     "igea.ply",
                                     "lion.ply",
                                     "lion_head.ply",
                                     "mech_holes_shark.ply",
                                     "scan_relief.ply",
                                     "squirrel_hole_back_round.ply",
                                     "squirrel_hole_bottom_plane.ply",
                                     "squirrel_missing_tip.ply",
                                     "squirrel_noholes.ply",
                                     "squirrel_sideholes.ply"};

} // namespace

using HolesRealData = OnRealData<testing::TestWithParam<std::string>>;

TEST_P(HolesRealData, AreSimpleAndMakeUpTheBoundary)
{
    TriMesh mesh;
    MeshReadReport report;
    ASSERT_NO_FATAL_FAILURE(read_scan(GetParam(), mesh, report));
    Holes holes;
    RetVal const result = FindHolesEx::find_holes(mesh, holes, false);
    EXPECT_EQ(result, holes.empty() ? RET_INVALID_INPUT : RET_SUCCESS);
    EXPECT_TRUE(all_simple(holes));
    // Consecutive vertices are joined by boundary halfedges, and each of these is in one hole.
    EXPECT_EQ(edges_of(holes), boundary_edges(mesh));
    EXPECT_EQ(indices(holes), indices(plain_holes(mesh)));
}

TEST_P(HolesRealData, AreAsManyAsAnIndependentCountTells)
{
    TriMesh mesh;
    MeshReadReport report;
    ASSERT_NO_FATAL_FAILURE(read_scan(GetParam(), mesh, report));
    Holes holes;
    FindHolesEx::find_holes(mesh, holes, false);
    auto const found = static_cast<int>(holes.size());
    if (report.faces_left_out == 0)
    {
        EXPECT_EQ(found, count_loops(mesh));
    }
    else
    {
        // Where faces were left out, loops share several vertices: then the count is a limit, for
        // a boundary may be taken apart into fewer loops.
        EXPECT_LE(found, count_loops(mesh));
        EXPECT_GE(found, count_boundary_parts(mesh));
    }
}

INSTANTIATE_TEST_SUITE_P(Scans, HolesRealData, testing::ValuesIn(SCANS),
                         [](testing::TestParamInfo<std::string> const& scan)
                         { return scan.param.substr(0, scan.param.size() - 4); });

using HoleLengthsRealData = RealData;

TEST_F(HoleLengthsRealData, AreThoseThatOthersCounted)
{
    // Boundary lengths as a separate program, which knows no halfedges, gave them for these files.
    std::vector<std::pair<std::string, std::vector<std::size_t>>> const known{
        {"bun_zipper.ply", {80, 42, 40, 39, 22}},
        {"diana.ply", {79}},
        {"diana_hole_top.ply", {79, 66}},
        {"lion.ply", {115, 36, 25, 25, 4}},
        {"lion_head.ply", {36}},
        {"mech_holes_shark.ply", {96, 80, 80, 48}},
        {"squirrel_sideholes.ply", {16, 9}},
        {"squirrel_noholes.ply", {}},
        {"igea.ply", {}}};
    for (auto const& [file, lengths] : known)
    {
        TriMesh mesh;
        MeshReadReport report;
        ASSERT_NO_FATAL_FAILURE(read_scan(file, mesh, report));
        Holes holes;
        FindHolesEx::find_holes(mesh, holes, false);
        std::vector<std::size_t> found;
        for (auto const& hole : holes)
        {
            found.push_back(hole.size());
        }
        std::sort(found.rbegin(), found.rend());
        EXPECT_EQ(found, lengths) << file;
    }
}
