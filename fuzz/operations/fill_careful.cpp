#include "algorithmVeld/HoleFilling/HoleFillingCore.h"
#include "algorithmVeld/hole_detection/FindHoles.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

void set_up_careful(ByteSource& source, HoleFillingCore& filling)
{
    filling.set_smooth_type(source.integer());
    filling.set_refine_rounds(source.below(12));
    filling.set_long_edge_thr(source.number());
    filling.set_flat_weight(source.flag());
    filling.set_triangulation_sample_num(source.integer());
    filling.set_use_hole_vert_num_thr(source.flag());
    filling.set_hole_verts_thr(source.integer());
    filling.set_fairing_verts_thr(source.integer());
    filling.set_fairing_min_verts_thr(source.integer());
}

/// Loops as a search finds them, whole boundaries, or whatever the input names.
Holes choose_holes(ByteSource& source, TriMesh& mesh)
{
    Holes holes;
    int const choice = source.below(4);
    if (choice == 0)
    {
        FindHoles::find_holes(mesh, holes, false);
    }
    else
    {
        FindHolesEx::find_holes(mesh, holes, false);
    }
    if (choice > 1)
    {
        holes.push_back(decode_vertices(source, mesh));
    }
    return holes;
}

} // namespace

void veld_fuzz::fill_careful(std::string_view input)
{
    ByteSource source(input);
    HoleFillingCore filling;
    bool const verbose = source.flag();
    bool const one_by_one = source.flag();
    int const rings = source.integer();
    set_up_careful(source, filling);
    TriMesh mesh = decode_mesh(source);
    Holes const holes = choose_holes(source, mesh);
    if (!holes.empty())
    {
        note_header();
    }
    std::vector<std::vector<OpenMesh::FaceHandle>> faces;
    Holes vertices;
    Holes patches;
    auto const before = mesh.n_faces();
    if (one_by_one && !holes.empty())
    {
        faces.resize(1);
        vertices.resize(1);
        patches.resize(1);
        filling.fill_single_hole_core(mesh, holes.back(), rings, faces[0], vertices[0], patches[0],
                                      verbose);
    }
    else
    {
        filling.fill_holes_core(mesh, holes, rings, faces, vertices, patches, verbose);
    }
    note_growth(before, mesh.n_faces());
    require_sound_links(mesh);
}
