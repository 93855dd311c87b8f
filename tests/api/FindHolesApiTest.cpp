#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

/// \file
/// The free functions hand all arguments on, and the result back as it stands.

using namespace veld_test;
using OrvaneAlgorithm::RET_FAILED;
using OrvaneAlgorithm::RET_INVALID_INPUT;
using OrvaneAlgorithm::RET_SUCCESS;
using OrvaneAlgorithm::Verts;

namespace
{

TriMesh two_holes()
{
    return grid_without(6, 3, {{1, 1}, {4, 1}});
}

} // namespace

TEST(FindHolesApi, FindsAllHoles)
{
    LogCapture const log;
    TriMesh mesh = two_holes();
    Holes holes;
    EXPECT_EQ(OrvaneAlgorithm::find_holes(mesh, holes, true), RET_SUCCESS);
    EXPECT_EQ(indices(holes), indices(plain_holes(mesh)));
    EXPECT_EQ(log.text(), "find_holes() : all holes ..\n");
    TriMesh closed = tetrahedron();
    EXPECT_EQ(OrvaneAlgorithm::find_holes(closed, holes, false), RET_INVALID_INPUT);
    EXPECT_TRUE(holes.empty());
}

TEST(FindHolesApi, FindsShortHoles)
{
    TriMesh mesh = two_holes();
    Holes holes;
    EXPECT_EQ(OrvaneAlgorithm::find_holes(mesh, 4.5, holes, false), RET_SUCCESS);
    EXPECT_EQ(holes.size(), 2U);
    EXPECT_EQ(OrvaneAlgorithm::find_holes(mesh, 4.0, holes, false), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
}

TEST(FindHolesApi, FindsOneHole)
{
    TriMesh mesh = two_holes();
    Holes known;
    OrvaneAlgorithm::find_holes(mesh, 4.5, known, false);
    std::vector<VertexHandle> hole;
    EXPECT_EQ(OrvaneAlgorithm::find_hole(mesh, {5, 1, 0}, known, 0.5, hole, false), RET_SUCCESS);
    EXPECT_EQ(hole, known[1]);
    EXPECT_EQ(OrvaneAlgorithm::find_hole(mesh, {5, 1, 9}, known, 0.5, hole, false), RET_FAILED);
    EXPECT_EQ(OrvaneAlgorithm::find_hole(mesh, {5, 1, 9}, {}, 0.5, hole, false), RET_INVALID_INPUT);

    EXPECT_EQ(OrvaneAlgorithm::find_hole(mesh, {5, 1, 0}, 0.5, hole, false), RET_SUCCESS);
    EXPECT_EQ(std::set<VertexHandle>(hole.begin(), hole.end()),
              std::set<VertexHandle>(known[1].begin(), known[1].end()));
    EXPECT_EQ(OrvaneAlgorithm::find_hole(mesh, {5, 1, 9}, 0.5, hole, false), RET_INVALID_INPUT);
    TriMesh const closed = tetrahedron();
    EXPECT_EQ(OrvaneAlgorithm::find_hole(closed, {0, 0, 0}, 0.5, hole, false), RET_FAILED);
}

TEST(FindHolesApi, FindsMarkerHoles)
{
    TriMesh mesh = two_holes();
    Holes holes;
    Verts const points{{4.5F, 1.5F, 0}, {1.5F, 1.5F, 0}};
    Verts const normals{{0, 0, 1}, {0, 0, -1}};
    EXPECT_EQ(OrvaneAlgorithm::find_marker_holes(mesh, points, normals, 0.25, 1.0, false, 0.5,
                                                 holes, false),
              RET_SUCCESS);
    EXPECT_EQ(holes.size(), 2U);
    EXPECT_EQ(OrvaneAlgorithm::find_marker_holes(mesh, points, normals, 0.25, 1.0, true, 0.5, holes,
                                                 false),
              RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
    EXPECT_EQ(
        OrvaneAlgorithm::find_marker_holes(mesh, points, {}, 0.25, 1.0, true, 0.5, holes, false),
        RET_INVALID_INPUT);
    EXPECT_EQ(OrvaneAlgorithm::find_marker_holes(mesh, points, normals, 0.25, 0.5, false, 0.5,
                                                 holes, false),
              RET_INVALID_INPUT);
}

TEST(FindHolesApi, NothingIsPrintedUnlessVerbose)
{
    LogCapture const log(true);
    TriMesh mesh = two_holes();
    TriMesh closed = tetrahedron();
    Holes holes;
    std::vector<VertexHandle> hole;
    OrvaneAlgorithm::find_holes(mesh, holes, false);
    OrvaneAlgorithm::find_holes(closed, holes, false);
    OrvaneAlgorithm::find_holes(closed, 1.0, holes, false);
    OrvaneAlgorithm::find_hole(mesh, {0, 0, 0}, {}, 0.5, hole, false);
    OrvaneAlgorithm::find_hole(mesh, {0, 0, 9}, 0.5, hole, false);
    OrvaneAlgorithm::find_marker_holes(mesh, {}, {{0, 0, 1}}, 1.0, 1.0, true, 0.5, holes, false);
    EXPECT_EQ(log.text(), "");
    EXPECT_TRUE(OrvaneAlgorithm::gPH.log_enabled);
}

TEST(FindHolesApi, WhatAHostsSinkThrowsReachesTheCaller)
{
    TriMesh mesh = two_holes();
    Holes holes;
    OrvaneAlgorithm::gLH.set_sink([](std::string const&) { throw std::runtime_error("full"); });
    EXPECT_THROW(OrvaneAlgorithm::find_holes(mesh, holes, true), std::runtime_error);
    OrvaneAlgorithm::gLH.set_sink({});
}
