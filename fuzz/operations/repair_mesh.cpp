#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "algorithmVeld/reconstruction/TopologyRepair.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

void roll_ball(ByteSource& source, TriMesh& mesh)
{
    BallPivoting pivoting;
    pivoting.set_NormConsistencyThr(source.coordinate());
    pivoting.set_norm_mode(source.flag());
    pivoting.set_node_in_sphere_restrain(source.flag());
    pivoting.set_enable_delete_isolated_faces(source.flag());
    if (gPH.log_enabled)
    {
        pivoting.set_debug_save_path(work_folder().string());
    }
    std::vector<float> radii(static_cast<std::size_t>(source.below(4)));
    for (auto& radius : radii)
    {
        radius = static_cast<float>(source.number());
    }
    if (pivoting.repair_mesh(mesh, radii))
    {
        note_accepted();
    }
    if (source.flag())
    {
        int added = 0;
        int boundary = 0;
        pivoting.repair_mesh(mesh, static_cast<float>(source.number()), added, boundary,
                             source.integer());
    }
}

void project(ByteSource& source, TriMesh& mesh)
{
    TopologyRepair repair;
    repair.set_normal_z_thr(source.coordinate());
    repair.set_search_radius(static_cast<float>(source.number()));
    if (repair.repair_mesh(mesh))
    {
        note_accepted();
    }
    repair.compute_projective_neighbours(mesh);
}

} // namespace

void veld_fuzz::repair_mesh(std::string_view input)
{
    ByteSource source(input);
    gPH.set_log_enabled(source.flag());
    bool const rolls = source.flag();
    TriMesh mesh = decode_mesh(source);
    if (mesh.n_vertices() > 0)
    {
        note_header();
    }
    if (rolls)
    {
        roll_ball(source, mesh);
    }
    else
    {
        project(source, mesh);
    }
    require_sound_links(mesh);
}
