#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include "algorithmVeld/common/ParamHolder.h"

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

template <typename Ears>
void set_limits(ByteSource& source, Ears& ears)
{
    ears.set_max_perimeter(source.number());
    ears.set_take_apart(source.flag());
    ears.set_node_num_constraint(source.flag());
    ears.set_node_num_thr(source.integer());
    ears.set_edge_length_constraint(source.flag());
    ears.set_edge_length_thr(source.number());
    ears.set_norm_constraint(source.flag());
}

void clip(ByteSource& source, TriMesh& mesh)
{
    EarClipping ears;
    set_limits(source, ears);
    ears.set_angle_thr(source.number());
    auto nodes = decode_vertices(source, mesh);
    ears.fill_polygon_hole(mesh, nodes);
    ears.fill_nest_polygon_hole(mesh, mesh.halfedges_begin());
    auto const before = mesh.n_faces();
    ears.fill_hole(mesh);
    note_growth(before, mesh.n_faces());
}

void trim(ByteSource& source, TriMesh& mesh)
{
    EarTrimming ears;
    set_limits(source, ears);
    ears.set_norm_thr(source.number());
    auto const before = mesh.n_faces();
    ears.ear_trimming(mesh);
    note_growth(before, mesh.n_faces());
}

} // namespace

void veld_fuzz::cut_ears(std::string_view input)
{
    ByteSource source(input);
    gPH.set_log_enabled(source.flag());
    bool const clips = source.flag();
    TriMesh mesh = decode_mesh(source);
    if (mesh.n_faces() > 0)
    {
        note_header();
    }
    if (clips)
    {
        clip(source, mesh);
    }
    else
    {
        trim(source, mesh);
    }
    require_sound_links(mesh);
}
