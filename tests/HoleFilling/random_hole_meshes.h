#pragma once

#include "tests/HoleFilling/reference_whole.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/random_shapes.h"

#include <vector>

/// \file
/// Meshes with holes drawn by lot, and settings to fill them with.

namespace veld_test
{

/// A sphere, torus or field of hills with some holes; now and then beside a second, smaller piece,
/// with vertices that nothing uses, or with its faces in any order.
inline TriMesh random_hole_mesh(unsigned seed)
{
    Lot lot(seed);
    Pieces pieces;
    TriMesh shape = random_shape(lot);
    disturb(shape, lot);
    Cut const cut = random_cut(shape, lot);
    pieces.add(shape, cut, lot.one_in(4), 1.0F, Vector3f::Zero());
    if (lot.one_in(4))
    {
        TriMesh second = lot.one_in(2) ? sphere(2) : height_field(4 + lot.below(6), 0.5F);
        disturb(second, lot);
        pieces.add(second, random_cut(second, lot), false, 0.25F, Vector3f(0, 0, 2.5F));
    }
    if (lot.one_in(2))
    {
        lot.shuffle(pieces.triangles);
    }
    return mesh_as_far_as_it_goes(pieces.points, pieces.triangles);
}

/// Settings of the filling by lot: most of them as they are at the start, the region narrow enough
/// that a cut leaves something.
inline reference::WholeSettings random_whole_settings(unsigned seed)
{
    Lot lot(seed + 1000000U);
    reference::WholeSettings settings;
    settings.region_process_type = lot.below(3);
    settings.weight_type = lot.below(2);
    settings.topology_dis_thr = lot.of<int>({1, 2, 3, 4, 10});
    settings.density_thr = lot.of<float>({1.414F, 1.414F, 1.0F, 0.7F});
    settings.flat_weight = lot.one_in(8);
    settings.triangulation_sample_num = lot.of<int>({400, 400, 400, 9});
    settings.hole_verts_thr = lot.of<int>({3000, 3000, 3000, 15});
    settings.fairing_verts_thr = lot.of<int>({20000, 20000, 20000, 20});
    return settings;
}

/// Markers near the centres of some holes of a mesh, at most 0.3 off, and one or two anywhere.
inline std::vector<Vector3f> random_markers(TriMesh const& mesh, unsigned seed)
{
    Lot lot(seed + 2000000U);
    std::vector<Vector3f> markers;
    for (auto const& loop : loops_of(mesh))
    {
        if (!lot.one_in(3))
        {
            Vector3f sum = Vector3f::Zero();
            for (auto const h : loop)
            {
                sum += mesh.point(mesh.from_vertex_handle(h));
            }
            markers.push_back(sum / static_cast<float>(loop.size()) + 0.17F * lot.vector());
        }
    }
    for (int i = lot.below(3); i > 0; --i)
    {
        markers.push_back(3.0F * lot.vector());
    }
    return markers;
}

} // namespace veld_test
