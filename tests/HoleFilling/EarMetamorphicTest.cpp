#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// The limits of a run. The length is that of the closing edges.
struct Limits
{
    bool node_num;
    bool edge_length;
    bool norm;
    double length;
};

std::vector<Limits> const LIMITS{
    {false, false, false, 0.0}, {true, false, true, 0.0}, {false, true, true, 0.6}};

using Fill = void (*)(TriMesh&, Limits const&);

void clip(TriMesh& mesh, Limits const& l)
{
    EarClipping().fill_hole(mesh, l.node_num, l.edge_length, l.norm, 12, l.length, 120.0);
}

void trim(TriMesh& mesh, Limits const& l)
{
    EarTrimming().ear_trimming(mesh, l.node_num, l.edge_length, l.norm, 12, l.length, 120.0);
}

/// A ball without some of its faces, in order of their index or shuffled.
TriMesh ball_with_holes(unsigned seed)
{
    static std::vector<TriMesh> const closed{sphere(1), sphere(2)};
    return mesh_with_random_holes(closed[seed % closed.size()], seed);
}

/// The same mesh with every point moved.
template <typename Move>
TriMesh moved(TriMesh mesh, Move const& move)
{
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, move(mesh.point(v)));
    }
    return mesh;
}

/// The links of a mesh, which tell its faces and the order in which they came.
std::vector<int> links(TriMesh const& mesh)
{
    return fingerprint(moved(mesh, [](Vector3f const&) { return Vector3f(0, 0, 0); }));
}

/// The same faces in the same order, each from the same corner on, with new numbers of vertices.
TriMesh renumbered(TriMesh const& mesh, std::vector<int> const& new_index)
{
    auto const at = [&](int v) { return new_index[static_cast<std::size_t>(v)]; };
    std::vector<Vector3f> points(mesh.n_vertices());
    for (auto const v : mesh.vertices())
    {
        points[static_cast<std::size_t>(at(v.idx()))] = mesh.point(v);
    }
    std::vector<Triangle> triangles = faces_from(mesh, 0);
    for (auto& triangle : triangles)
    {
        for (auto& corner : triangle)
        {
            corner = at(corner);
        }
    }
    return make_mesh(points, triangles);
}

/// Faces from a number on, by the old numbers of their vertices.
std::vector<Triangle> faces_by_old_numbers(TriMesh const& mesh, std::size_t first,
                                           std::vector<int> const& new_index)
{
    std::vector<int> old_index(new_index.size());
    for (std::size_t i = 0; i < new_index.size(); ++i)
    {
        old_index[static_cast<std::size_t>(new_index[i])] = static_cast<int>(i);
    }
    auto faces = faces_from(mesh, first);
    for (auto& face : faces)
    {
        for (auto& corner : face)
        {
            corner = old_index[static_cast<std::size_t>(corner)];
        }
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    }
    return faces;
}

class EarMetamorphic : public testing::TestWithParam<Fill>
{
protected:
    /// Calls `check(mesh, limits)` for many meshes and counts the faces that filling adds.
    template <typename Check>
    void for_many_meshes(Check const& check)
    {
        std::size_t added = 0;
        for (unsigned seed = 0; seed < 150 && !HasFailure(); ++seed)
        {
            auto const& l = LIMITS[seed / 2 % LIMITS.size()];
            SCOPED_TRACE(seed);
            TriMesh const mesh = ball_with_holes(seed);
            TriMesh filled = mesh;
            GetParam()(filled, l);
            added += filled.n_faces() - mesh.n_faces();
            check(mesh, filled, l);
        }
        EXPECT_GT(added, 1000U);
    }
};

} // namespace

TEST_P(EarMetamorphic, QuarterTurnsAboutTheAxesChangeNothing)
{
    // The points move exactly; sums of three products may round otherwise. So that no two angles
    // are equal, which a last bit would decide, every point is shaken first.
    std::vector<Vector3f (*)(Vector3f const&)> const turns{
        [](Vector3f const& p) { return Vector3f(p.x(), -p.z(), p.y()); },
        [](Vector3f const& p) { return Vector3f(p.z(), p.y(), -p.x()); },
        [](Vector3f const& p) { return Vector3f(-p.y(), p.x(), p.z()); }};
    for_many_meshes(
        [&](TriMesh const& before, TriMesh const&, Limits const& l)
        {
            std::mt19937 random(1);
            auto const shake = [&] { return static_cast<float>(random() % 4096) / 20000.0F; };
            TriMesh const mesh = moved(before,
                                       [&](Vector3f const& p)
                                       {
                                           float const x = shake();
                                           float const y = shake();
                                           return Vector3f(p + Vector3f(x, y, shake()));
                                       });
            TriMesh expected = mesh;
            GetParam()(expected, l);
            for (auto const turn : turns)
            {
                TriMesh turned = moved(mesh, turn);
                GetParam()(turned, l);
                EXPECT_EQ(links(turned), links(expected));
            }
        });
}

TEST_P(EarMetamorphic, ScalingByAPowerOfTwoWithTheLimitsChangesNothingButCoordinates)
{
    // Lengths scale exactly, and angles are taken of unit vectors. Only the shortest side that
    // counts is absolute, and no side comes near it.
    for (float const scale : {0.125F, 32.0F})
    {
        auto const larger = [&](Vector3f const& p) { return Vector3f(p * scale); };
        for_many_meshes(
            [&](TriMesh const& before, TriMesh const& expected, Limits l)
            {
                TriMesh mesh = moved(before, larger);
                l.length *= static_cast<double>(scale);
                GetParam()(mesh, l);
                EXPECT_EQ(fingerprint(mesh), fingerprint(moved(expected, larger)));
            });
    }
}

TEST_P(EarMetamorphic, RenumberingVerticesGivesTheSameFacesInTheSameOrder)
{
    // Loops are found by their halfedges, and ties are decided by the order of a loop: nothing
    // depends on the number of a vertex.
    for_many_meshes(
        [&](TriMesh const& mesh, TriMesh const&, Limits const& l)
        {
            // Built anew, so that both have the same halfedges.
            std::vector<int> new_index(mesh.n_vertices());
            std::iota(new_index.begin(), new_index.end(), 0);
            TriMesh expected = renumbered(mesh, new_index);
            std::shuffle(new_index.begin(), new_index.end(), std::mt19937(7));
            TriMesh other = renumbered(mesh, new_index);
            GetParam()(expected, l);
            GetParam()(other, l);
            EXPECT_EQ(faces_by_old_numbers(other, mesh.n_faces(), new_index),
                      faces_from(expected, mesh.n_faces()));
        });
}

TEST_P(EarMetamorphic, ThreadsChangeNothing)
{
    for_many_meshes(
        [&](TriMesh const& before, TriMesh const&, Limits const& l)
        {
            std::vector<int> serial;
            for (int const n : {1, 2, 8})
            {
                Threads const threads(n);
                TriMesh mesh = before;
                GetParam()(mesh, l);
                serial = n == 1 ? fingerprint(mesh) : serial;
                EXPECT_EQ(fingerprint(mesh), serial);
            }
        });
}

INSTANTIATE_TEST_SUITE_P(Ears, EarMetamorphic, testing::Values(&clip, &trim),
                         [](auto const& fill)
                         { return fill.param == &clip ? "Clipped" : "Trimmed"; });
