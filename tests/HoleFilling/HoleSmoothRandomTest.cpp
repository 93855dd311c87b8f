#include "algorithmVeld/HoleFilling/HoleSmooth.h"

#include "random_hole_meshes.h"
#include "reference_smooth.h"
#include "tests/support/sanitizers.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

/// \file
/// The smoothing against a plain version of itself, on meshes drawn by lot: bit for bit, in every
/// setting.

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_test;

constexpr unsigned SMOOTHED_MESHES = IS_SANITIZED ? 20 : 150;

using Flags = std::vector<bool>;

/// Its protected part, for a test.
class RuledSmooth : public HoleSmooth
{
public:
    using HoleSmooth::HoleSmooth;
    using HoleSmooth::is_active;
    using HoleSmooth::set_active_vertices;
};

RuledSmooth smoother_with(TriMesh mesh, Flags const& active)
{
    OpenMesh::VPropHandleT<bool> flag;
    mesh.add_property(flag);
    mesh.property(flag).data_vector() = active;
    return RuledSmooth(mesh, flag);
}

/// A small sphere or torus, shaken.
TriMesh random_closed_mesh(Lot& lot)
{
    TriMesh mesh = lot.one_in(2) ? sphere(1 + lot.below(3)) : torus(5 + lot.below(12), 4);
    disturb(mesh, lot);
    return mesh;
}

/// A small field of hills or sphere with holes, some of its vertices without faces.
TriMesh random_open_mesh(Lot& lot)
{
    TriMesh shape = lot.one_in(3) ? sphere(2) : height_field(4 + lot.below(9), lot.unit());
    disturb(shape, lot);
    Cut cut;
    for (int i = 1 + lot.below(3); i > 0; --i)
    {
        OpenMesh::FaceHandle const seed(lot.below(static_cast<int>(shape.n_faces())));
        cut_patch(shape, cut, seed, 1 + lot.below(12), lot.one_in(2), lot);
        cut_pinch(shape, cut, lot);
    }
    Pieces pieces;
    pieces.add(shape, cut, true, 1.0F, Vector3f::Zero());
    if (lot.one_in(2))
    {
        lot.shuffle(pieces.triangles);
    }
    TriMesh mesh = mesh_as_far_as_it_goes(pieces.points, pieces.triangles);
    for (int i = lot.below(3); i > 0; --i)
    {
        mesh.add_vertex(3.0F * lot.vector());
    }
    return mesh;
}

/// Moves some vertices onto or beside a neighbour or an edge between two: edges without a length,
/// faces without an area, and such as are a millionth away from it.
void make_needles(TriMesh& mesh, Lot& lot)
{
    for (int i = 2 + lot.below(6); i > 0; --i)
    {
        auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
        std::vector<Vector3f> around;
        for (auto const u : mesh.vv_range(v))
        {
            around.push_back(mesh.point(u));
        }
        if (around.size() >= 2)
        {
            Vector3f const place = lot.one_in(2) ? around[0] : 0.5F * (around[0] + around[1]);
            float const off = lot.of<float>({0.0F, 1e-6F, 9e-6F, 1.1e-5F, 1e-3F});
            mesh.set_point(v, place + off * lot.vector());
        }
    }
}

Flags random_active(TriMesh const& mesh, Lot& lot)
{
    int const of = lot.of<int>({1, 1, 2, 5, 20});
    Flags active;
    for (std::size_t i = 0; i < mesh.n_vertices(); ++i)
    {
        active.push_back(lot.one_in(of));
    }
    return active;
}

bool have_same_bits(Vector3f const& a, Vector3f const& b)
{
    for (Eigen::Index k = 0; k < 3; ++k)
    {
        bool const both_none = std::isnan(a[k]) && std::isnan(b[k]);
        if (!both_none && std::memcmp(&a[k], &b[k], sizeof(float)) != 0)
        {
            return false;
        }
    }
    return true;
}

/// The first vertex where a smoother has not what the plain one has; empty if there is none.
std::string first_difference(HoleSmooth const& smoother, reference::Smoothing const& plain,
                             TriMesh mesh)
{
    if (!smoother.get_iterative_smoothed_mesh(mesh))
    {
        return "other numbers";
    }
    auto const expected = plain.points();
    for (auto const v : mesh.vertices())
    {
        if (!have_same_bits(mesh.point(v), expected[reference::at(v)]))
        {
            return "vertex " + std::to_string(v.idx()) + " off by " +
                   std::to_string((mesh.point(v) - expected[reference::at(v)]).norm());
        }
    }
    return "";
}

/// Sets both to a limit drawn by lot, or to none.
void limit_errors(HoleSmooth& smoother, reference::Smoothing& plain, Lot& lot)
{
    float const limit = lot.of<float>({0.0F, 1e-4F, 0.002F, 0.02F});
    auto const points = plain.points();
    // A needle may have made some of them no numbers: there is no box around these.
    bool const has_box =
        std::all_of(points.begin(), points.end(), [](Vector3f const& p) { return p.allFinite(); });
    int const way = lot.below(4);
    switch (way == 1 && !has_box ? 0 : way)
    {
    case 0:
        smoother.set_absolute_local_error(limit);
        plain.set_absolute_local_error(limit);
        break;
    case 1:
        smoother.set_relative_local_error(limit);
        plain.set_relative_local_error(limit);
        break;
    case 2:
        smoother.disable_local_error_check();
        plain.set_absolute_local_error(-1.0F);
        break;
    default: // as it was
        break;
    }
}

/// Smooths with both in every setting, in several calls with limits between them, and begins anew
/// in another setting.
void expect_same_smoothing(TriMesh const& mesh, Lot& lot, unsigned seed)
{
    Flags const active = random_active(mesh, lot);
    for (int setting = 0; setting < 12; ++setting)
    {
        auto smoother = smoother_with(mesh, active);
        reference::Smoothing plain(mesh, active);
        for (int const now : {setting, lot.below(12)})
        {
            smoother.initialize(static_cast<HoleSmooth::Component>(now % 4),
                                static_cast<HoleSmooth::Continuity>(now / 4));
            plain.initialize(static_cast<reference::Component>(now % 4),
                             static_cast<reference::Continuity>(now / 4));
            for (int call = 0; call < 2; ++call)
            {
                limit_errors(smoother, plain, lot);
                auto const steps = static_cast<unsigned>(lot.below(3));
                EXPECT_EQ(smoother.smooth(steps), RET_SUCCESS);
                plain.smooth(steps);
            }
            EXPECT_EQ(first_difference(smoother, plain, mesh), "")
                << "seed " << seed << ", setting " << setting << ", now " << now;
        }
    }
}

TEST(HoleSmoothRandom, SmoothsClosedMeshesAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES; ++seed)
    {
        Lot lot(seed + 3000000U);
        expect_same_smoothing(random_closed_mesh(lot), lot, seed);
    }
}

TEST(HoleSmoothRandom, SmoothsOpenMeshesAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES; ++seed)
    {
        Lot lot(seed + 4000000U);
        expect_same_smoothing(random_open_mesh(lot), lot, seed);
    }
}

TEST(HoleSmoothRandom, SmoothsNeedlesAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES; ++seed)
    {
        Lot lot(seed + 5000000U);
        TriMesh mesh = lot.one_in(2) ? random_closed_mesh(lot) : random_open_mesh(lot);
        make_needles(mesh, lot);
        expect_same_smoothing(mesh, lot, seed);
    }
}

TEST(HoleSmoothRandom, SmoothsLargeMeshesWithHolesAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES / 10; ++seed)
    {
        Lot lot(seed + 6000000U);
        expect_same_smoothing(random_hole_mesh(seed), lot, seed);
    }
}

// What is no number is compared as such: its sign and its digits are those of the processor.
TEST(HoleSmoothRandom, WhatIsNoNumberSpreadsAsInThePlainVersion)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES / 5; ++seed)
    {
        Lot lot(seed + 7000000U);
        TriMesh mesh = random_closed_mesh(lot);
        auto const v = vh(lot.below(static_cast<int>(mesh.n_vertices())));
        mesh.set_point(v, Vector3f(lot.of<float>({NOT_A_NUMBER, INFINITE, 1e30F}), 0.0F, 1.0F));
        Flags const active = random_active(mesh, lot);
        for (int setting = 0; setting < 12; ++setting)
        {
            auto smoother = smoother_with(mesh, active);
            smoother.initialize(static_cast<HoleSmooth::Component>(setting % 4),
                                static_cast<HoleSmooth::Continuity>(setting / 4));
            smoother.set_absolute_local_error(0.01F);
            smoother.smooth(2);
            reference::Smoothing plain(mesh, active);
            plain.initialize(static_cast<reference::Component>(setting % 4),
                             static_cast<reference::Continuity>(setting / 4));
            plain.set_absolute_local_error(0.01F);
            plain.smooth(2);
            EXPECT_EQ(first_difference(smoother, plain, mesh), "")
                << "seed " << seed << ", setting " << setting;
        }
    }
}

/// Draws the bits that decide which vertices may move.
void draw_status(TriMesh& mesh, Lot& lot)
{
    int const of = lot.of<int>({3, 10, 1000000});
    for (auto const v : mesh.vertices())
    {
        mesh.status(v).set_selected(lot.one_in(of));
        mesh.status(v).set_locked(lot.one_in(of));
        mesh.status(v).set_feature(lot.one_in(of));
        mesh.status(v).set_tagged(lot.one_in(2)); // which decides nothing
    }
    if (lot.one_in(2))
    {
        mesh.request_edge_status();
        for (auto const e : mesh.edges())
        {
            mesh.status(e).set_feature(lot.one_in(5 * of));
        }
    }
    if (lot.one_in(2))
    {
        mesh.request_face_status();
        for (auto const f : mesh.faces())
        {
            mesh.status(f).set_feature(lot.one_in(5 * of));
        }
    }
}

TEST(HoleSmoothRandom, ChoosesTheVerticesThatThePlainVersionChooses)
{
    for (unsigned seed = 0; seed < SMOOTHED_MESHES; ++seed)
    {
        Lot lot(seed + 8000000U);
        TriMesh mesh = lot.one_in(4) ? random_closed_mesh(lot) : random_open_mesh(lot);
        mesh.request_vertex_status();
        draw_status(mesh, lot);
        for (int continuity = 0; continuity < 3; ++continuity)
        {
            bool const skip = lot.one_in(2);
            auto smoother = smoother_with(mesh, random_active(mesh, lot));
            smoother.initialize(HoleSmooth::Tangential,
                                static_cast<HoleSmooth::Continuity>(continuity));
            smoother.skip_features(skip);
            smoother.set_active_vertices();
            Flags chosen;
            for (auto const v : mesh.vertices())
            {
                chosen.push_back(smoother.is_active(v));
            }
            EXPECT_EQ(chosen, reference::active_vertices(
                                  mesh, static_cast<reference::Continuity>(continuity), skip))
                << "seed " << seed << ", continuity " << continuity;
        }
    }
}

} // namespace
