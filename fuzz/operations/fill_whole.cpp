#include "algorithmVeld/HoleFilling/MarkerHoleFilling.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

void set_up_whole(ByteSource& source, HoleFilling& filling)
{
    filling.set_region_process_type(source.below(4));
    filling.set_weight_type(source.below(3));
    filling.set_topology_dis_thr(source.integer());
    // Near 0 everything is split, up to millions of faces: what was asked for.
    filling.set_density_thr(0.5F + static_cast<float>(source.below(64)) / 16.0F);
    filling.set_angle_thr(source.coordinate());
    filling.set_fairing_lambda(source.number());
    filling.set_flat_weight(source.flag());
    filling.set_triangulation_sample_num(source.integer());
    filling.set_hole_verts_thr(source.integer());
    filling.set_max_perimeter(source.number());
    filling.set_rim_angle_thr(source.number());
    filling.set_fairing_verts_thr(source.integer());
    filling.set_tiny_hole_edges(source.integer());
    filling.set_take_apart(source.flag());
}

} // namespace

void veld_fuzz::fill_whole(std::string_view input)
{
    ByteSource source(input);
    gPH.set_log_enabled(source.flag());
    bool const at_markers = source.flag();
    MarkerHoleFilling filling;
    set_up_whole(source, filling);
    filling.set_marker_search_radius(source.number());
    filling.set_keep_regions(source.flag());
    TriMesh mesh = decode_mesh(source);
    if (mesh.n_faces() > 0)
    {
        note_header();
    }
    auto const before = mesh.n_faces();
    if (at_markers)
    {
        filling.marker_holes_filling(mesh, decode_points(source));
    }
    else
    {
        filling.holes_filling(mesh);
    }
    if (mesh.n_faces() != before)
    {
        note_accepted();
    }
    require_sound_links(mesh);
}
