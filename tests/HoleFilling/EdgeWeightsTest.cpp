#include "algorithmVeld/HoleFilling/smooth/EdgeWeights.h"

#include "algorithmVeld/HoleFilling/smooth/EdgeFans.h"
#include "algorithmVeld/HoleFilling/smooth/LaplaceSteps.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace OrvaneAlgorithm;
using namespace OrvaneAlgorithm::detail;
using veld_test::vh;

namespace
{

float weight(TriMesh const& mesh, int from, int to, LaplaceWeighting weighting)
{
    auto const h = mesh.find_halfedge(vh(from), vh(to));
    return edge_weight(mesh, mesh.edge_handle(h), weighting);
}

/// Two triangles on both sides of the edge 0-1, with the given third corners.
TriMesh wings(Vector3f const& left, Vector3f const& right)
{
    return veld_test::make_mesh({{0, 0, 0}, {2, 0, 0}, left, right}, {{0, 1, 2}, {1, 0, 3}});
}

template <typename T>
std::vector<T> list(JoinedLists<T> const& lists, std::size_t k)
{
    return {lists.begin(k), lists.end(k)};
}

} // namespace

TEST(EdgeWeights, AllUniformOnesAreOne)
{
    TriMesh const mesh = wings({0, 5, 0}, {1, -1, 3});
    EXPECT_EQ(weight(mesh, 0, 1, LaplaceWeighting::UNIFORM), 1.0F);
    EXPECT_EQ(weight(mesh, 2, 1, LaplaceWeighting::UNIFORM), 1.0F);
}

TEST(EdgeWeights, InverseOfTheLength)
{
    TriMesh const mesh = wings({0, 8, 0}, {1, -1, 3});
    EXPECT_EQ(weight(mesh, 0, 1, LaplaceWeighting::INVERSE_LENGTH), 0.5F);
    EXPECT_EQ(weight(mesh, 0, 2, LaplaceWeighting::INVERSE_LENGTH), 0.125F);
}

// Hosts know it so: the shortest edges weigh least instead of most.
TEST(EdgeWeights, ALengthThatIsNotInvertedIsTheWeightItself)
{
    for (float const length : {0.0F, 1e-6F, 1e-5F})
    {
        TriMesh const mesh = wings({length, 0, 0}, {1, -1, 3});
        EXPECT_EQ(weight(mesh, 0, 2, LaplaceWeighting::INVERSE_LENGTH), length);
    }
    float const longer = std::nextafter(1e-5F, 1.0F);
    TriMesh const mesh = wings({longer, 0, 0}, {1, -1, 3});
    EXPECT_EQ(weight(mesh, 0, 2, LaplaceWeighting::INVERSE_LENGTH), 1.0F / longer);
}

TEST(EdgeWeights, SumOfTheCotangentsOfBothAnglesOpposite)
{
    // 45 degrees on the left, 90 on the right.
    EXPECT_NEAR(weight(wings({0, 2, 0}, {1, -1, 0}), 0, 1, LaplaceWeighting::COTANGENT), 1.0F,
                1e-6F);
    // 60 degrees on both sides, folded.
    float const height = std::sqrt(3.0F);
    EXPECT_NEAR(weight(wings({1, height, 0}, {1, 0, height}), 0, 1, LaplaceWeighting::COTANGENT),
                2.0F / height, 1e-6F);
}

TEST(EdgeWeights, ObtuseAnglesCountNegative)
{
    // 120 degrees on both sides.
    float const height = 1.0F / std::sqrt(3.0F);
    EXPECT_NEAR(weight(wings({1, height, 0}, {1, -height, 0}), 0, 1, LaplaceWeighting::COTANGENT),
                -2.0F * height, 1e-6F);
}

TEST(EdgeWeights, OnABorderThereIsOneAngle)
{
    TriMesh const mesh = wings({0, 2, 0}, {1, -1, 0});
    EXPECT_NEAR(weight(mesh, 0, 2, LaplaceWeighting::COTANGENT), 1.0F, 1e-6F);
    EXPECT_NEAR(weight(mesh, 1, 2, LaplaceWeighting::COTANGENT), 0.0F, 1e-6F);
    TriMesh lone;
    veld_test::add_lone_edge(lone, {0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(weight(lone, 0, 1, LaplaceWeighting::COTANGENT), 0.0F);
}

TEST(EdgeWeights, VerticesHaveTheInverseSum)
{
    EXPECT_EQ(vertex_weight(8.0F), 0.125F);
    EXPECT_EQ(vertex_weight(-4.0F), -0.25F);
    for (float const small : {0.0F, 1e-5F, -1e-5F, 1e-7F})
    {
        EXPECT_EQ(vertex_weight(small), small);
    }
    EXPECT_TRUE(std::isnan(vertex_weight(std::nanf(""))));
}

TEST(EdgeWeights, ElementsOutsideTheFansKeepTheirs)
{
    TriMesh const mesh = veld_test::grid(3, 3);
    std::vector<float> of_edges(mesh.n_edges(), -7.0F);
    std::vector<float> of_vertices(mesh.n_vertices(), -7.0F);
    compute_weights(mesh, edge_fans(mesh, {0}), LaplaceWeighting::UNIFORM, {of_edges, of_vertices});
    EXPECT_EQ(std::count(of_edges.begin(), of_edges.end(), 1.0F), 3);
    EXPECT_EQ(std::count(of_vertices.begin(), of_vertices.end(), -7.0F), 15);
    EXPECT_EQ(of_vertices[0], 1.0F / 3.0F);
}

TEST(EdgeFans, HaveTheEdgesOfEachVertexInRisingOrder)
{
    TriMesh const mesh = veld_test::grid_without(4, 4, {{1, 1}, {2, 2}});
    auto const fans = edge_fans(mesh, {12, 7, 0});
    EXPECT_EQ(fans.vertices, (std::vector<Index>{12, 7, 0}));
    std::vector<Index> any;
    for (std::size_t k = 0; k < 3; ++k)
    {
        std::vector<Index> expected;
        for (auto const edge : mesh.edges())
        {
            auto const v = static_cast<int>(fans.vertices[k]);
            if (edge.v0().idx() == v || edge.v1().idx() == v)
            {
                expected.push_back(static_cast<Index>(edge.idx()));
                any.push_back(expected.back());
            }
        }
        EXPECT_EQ(list(fans.edges_of, k), expected);
    }
    std::sort(any.begin(), any.end());
    any.erase(std::unique(any.begin(), any.end()), any.end());
    EXPECT_EQ(fans.edges, any);
}

TEST(EdgeFans, LeaveOutWhatIsMarkedDeleted)
{
    TriMesh mesh = veld_test::tetrahedron();
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(3), false);
    auto const fans = all_edge_fans(mesh);
    EXPECT_EQ(fans.vertices, (std::vector<Index>{0, 1, 2}));
    EXPECT_EQ(fans.edges.size(), 3U);
    for (std::size_t k = 0; k < 3; ++k)
    {
        EXPECT_EQ(list(fans.edges_of, k).size(), 2U);
    }
}

TEST(MovingPart, HasTheMovingVerticesFirstAndThenTheirNeighbours)
{
    TriMesh const mesh = veld_test::open_cone(5);
    auto const part = moving_part(mesh, {false, true, false, false, true, false});
    ASSERT_EQ(part.n_moving, 2U);
    auto vertices = part.fans.vertices;
    EXPECT_EQ(vertices[0], 1U);
    EXPECT_EQ(vertices[1], 4U);
    std::sort(vertices.begin(), vertices.end());
    EXPECT_EQ(vertices, (std::vector<Index>{0, 1, 2, 3, 4, 5}));
    for (std::size_t k = 0; k < vertices.size(); ++k)
    {
        std::vector<Index> walked;
        for (auto const& n : list(part.neighbours, k))
        {
            walked.push_back(n.vertex);
            auto const edge = mesh.edge_handle(mesh.find_halfedge(
                vh(static_cast<int>(part.fans.vertices[k])), vh(static_cast<int>(n.vertex))));
            EXPECT_EQ(edge.idx(), static_cast<int>(n.edge));
        }
        EXPECT_EQ(walked.size(), part.fans.vertices[k] == 0 ? 5U : 3U);
    }
}

TEST(MovingPart, GoesNoFartherThanTheNeighbours)
{
    TriMesh const mesh = veld_test::grid(9, 9);
    std::vector<bool> moves(mesh.n_vertices(), false);
    moves[44] = true;
    auto const part = moving_part(mesh, moves);
    EXPECT_EQ(part.n_moving, 1U);
    EXPECT_EQ(part.fans.vertices.size(), 7U);
    // 6 spokes, 6 edges round them, and 18 that lead on.
    EXPECT_EQ(part.fans.edges.size(), 30U);
}

TEST(LaplaceSteps, TheTangentPlaneTakesOutTheNormalPart)
{
    EXPECT_EQ(in_tangent_plane({4, 5, 6}, {1, 1, 1}, {0, 0, 1}), Vector3f(4, 5, 1));
    EXPECT_EQ(in_tangent_plane({4, 5, 6}, {1, 1, 1}, {0, 0, 0}), Vector3f(4, 5, 6));
}

TEST(LaplaceSteps, TheToleranceShortensTheWholeWayIfItIsPassed)
{
    EXPECT_EQ(within_tolerance({5, 1, -3}, {1, 1, 1}, {0, 0, 1}, 2.0F), Vector3f(3, 1, -1));
    EXPECT_EQ(within_tolerance({5, 1, -3}, {1, 1, 1}, {0, 0, 1}, 4.0F), Vector3f(5, 1, -3));
    EXPECT_EQ(within_tolerance({5, 1, -3}, {1, 1, 1}, {0, 0, 1}, 0.0F), Vector3f(1, 1, 1));
    EXPECT_EQ(within_tolerance({5, 1, 1}, {1, 1, 1}, {0, 0, 1}, 0.0F), Vector3f(5, 1, 1));
}

TEST(LaplaceSteps, AStepOfC1IsDividedByItsDiagonalUnlessThatIsTiny)
{
    // One vertex moves, and its only neighbour stays.
    MovingPart part;
    part.n_moving = 1;
    part.fans.vertices = {0, 1};
    part.neighbours.starts = {0, 1, 2};
    part.neighbours.values = {{1, 0}, {0, 0}};
    std::vector<Vector3f> const points{{0, 0, 0}, {0, 0, 0}};
    std::vector<Vector3f> const umbrellas{{0, 0, 4}, {0, 0, 0}};
    std::vector<float> const edge_weights{1.0F};
    for (float const diagonal : {4e-5F, 1.1e-5F, 0.9e-5F, -4e-5F})
    {
        std::vector<float> const vertex_weights{diagonal, 0.0F};
        std::vector<Vector3f> moved(2, Vector3f(7, 7, 7));
        compute_c1_step(part, {points, edge_weights, vertex_weights}, umbrellas, moved);
        float const step = diagonal == 0.9e-5F ? 4.0F : 4.0F / diagonal;
        EXPECT_FLOAT_EQ(moved[0].z(), -0.25F * step) << diagonal;
        EXPECT_EQ(moved[1], Vector3f(7, 7, 7));
    }
}
