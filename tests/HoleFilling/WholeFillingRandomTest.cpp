#include "algorithmVeld/HoleFilling/HoleFilling.h"
#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"

#include "random_hole_meshes.h"
#include "reference_markers.h"
#include "reference_whole.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <string>

/// \file
/// The fillings of whole meshes against plain versions of themselves, on meshes drawn by lot.

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_test;

constexpr unsigned MESHES = IS_SANITIZED ? 40 : 300;

template <typename Filling>
void set_up(Filling& filling, reference::WholeSettings const& settings)
{
    filling.set_region_process_type(settings.region_process_type);
    filling.set_weight_type(settings.weight_type);
    filling.set_topology_dis_thr(settings.topology_dis_thr);
    filling.set_density_thr(settings.density_thr);
    filling.set_angle_thr(settings.angle_thr);
    filling.set_flat_weight(settings.flat_weight);
    filling.set_triangulation_sample_num(settings.triangulation_sample_num);
    filling.set_hole_verts_thr(settings.hole_verts_thr);
    filling.set_fairing_verts_thr(settings.fairing_verts_thr);
}

/// The first difference between two meshes; empty if there is none. Links have to be the same;
/// coordinates come from different solvers, and may differ by 1e-6.
std::string difference(TriMesh const& a, TriMesh const& b)
{
    if (a.n_vertices() != b.n_vertices() || a.n_edges() != b.n_edges() ||
        a.n_faces() != b.n_faces())
    {
        return "numbers: " + std::to_string(a.n_vertices()) + " and " +
               std::to_string(b.n_vertices()) + " vertices, " + std::to_string(a.n_faces()) +
               " and " + std::to_string(b.n_faces()) + " faces";
    }
    for (auto const h : a.all_halfedges())
    {
        if (a.to_vertex_handle(h) != b.to_vertex_handle(h) ||
            a.next_halfedge_handle(h) != b.next_halfedge_handle(h) ||
            a.face_handle(h) != b.face_handle(h))
        {
            return "halfedge " + std::to_string(h.idx());
        }
    }
    for (auto const v : a.all_vertices())
    {
        if (!((a.point(v) - b.point(v)).cwiseAbs().maxCoeff() <= 1e-6F))
        {
            return "point " + std::to_string(v.idx()) + " by " +
                   std::to_string(1e6F * (a.point(v) - b.point(v)).cwiseAbs().maxCoeff()) + "e-6";
        }
    }
    return "";
}

TEST(WholeFillingRandom, FillsAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < MESHES; ++seed)
    {
        TriMesh const mesh = random_hole_mesh(seed);
        auto const settings = random_whole_settings(seed);
        TriMesh expected = mesh;
        reference::WholeFilling plain(settings);
        plain.holes_filling(expected);
        TriMesh filled = mesh;
        HoleFilling filling;
        set_up(filling, settings);
        filling.holes_filling(filled);
        EXPECT_EQ(difference(filled, expected), "") << "seed " << seed;
    }
}

TEST(MarkerFillingRandom, FillsAsThePlainVersionDoes)
{
    for (unsigned seed = 0; seed < MESHES; ++seed)
    {
        TriMesh const mesh = random_hole_mesh(seed);
        auto const settings = random_whole_settings(seed);
        auto const markers = random_markers(mesh, seed);
        TriMesh expected = mesh;
        reference::MarkerFilling plain(settings, 0.4);
        plain.marker_holes_filling(expected, markers);
        TriMesh filled = mesh;
        MarkerHoleFilling filling;
        set_up(filling, settings);
        filling.set_marker_search_radius(0.4);
        filling.marker_holes_filling(filled, markers);
        EXPECT_EQ(difference(filled, expected), "") << "seed " << seed;
    }
}

} // namespace
