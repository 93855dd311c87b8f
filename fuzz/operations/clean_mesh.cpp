#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/cleanup/BaseTriMeshSearch.h"
#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/cleanup/PostProcessing.h"
#include "algorithmVeld/cleanup/RemoveBoundary.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include <cstdlib>
#include <stdexcept>

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

struct MarkerSettings
{
    Verts points;
    Verts normals;
    double radius;
    bool use_normals;
    double normal_dot;
};

MarkerSettings decode_markers(ByteSource& source)
{
    MarkerSettings markers;
    markers.points = decode_points(source);
    markers.normals = decode_points(source);
    markers.radius = source.number();
    markers.use_normals = source.flag();
    markers.normal_dot = source.number();
    return markers;
}

/// An array mesh, which may name vertices that are not there.
BaseTriMesh decode_arrays(ByteSource& source, TriMesh const& mesh)
{
    BaseTriMesh arrays;
    TriMesh_convert_to_BaseTriMesh(mesh, arrays);
    if (source.flag())
    {
        arrays.enable_fNormal();
        arrays.enable_vColor();
        arrays.enable_texture();
    }
    for (int n = source.below(6); n > 0; --n)
    {
        int const limit = static_cast<int>(arrays.get_vn()) + 2;
        int const a = source.below(limit) - 1;
        int const b = source.below(limit) - 1;
        arrays.add_face({a, b, source.below(limit) - 1});
    }
    return arrays;
}

void clean_arrays(ByteSource& source, TriMesh const& mesh, bool verbose)
{
    BaseTriMesh arrays = decode_arrays(source, mesh);
    MarkerSettings const markers = decode_markers(source);
    Cloud cloud(arrays);
    if (source.flag())
    {
        arrays.update_VNrv();
        arrays.update_FNrv();
    }
    if (source.flag())
    {
        arrays.repair_illegal();
        if (!arrays.is_legal())
        {
            std::abort();
        }
    }
    if (ends_well<std::out_of_range>([&] { BaseTriMeshSearch const search(arrays); }) &&
        ends_well<std::out_of_range>(
            [&]
            {
                remove_marker_mesh(arrays, markers.points, markers.normals, markers.radius,
                                   markers.use_normals, markers.normal_dot, verbose);
            }))
    {
        note_accepted();
    }
    remove_marker_cloud(cloud, markers.points, markers.normals, markers.radius, markers.use_normals,
                        markers.normal_dot, verbose);
    TriMesh back;
    BaseTriMesh_convert_to_TriMesh(arrays, back);
    require_sound_links(back);
}

void clean(ByteSource& source, TriMesh& mesh, bool verbose)
{
    int const limit = source.integer();
    int const rings = source.integer();
    switch (source.below(8))
    {
    case 0:
        remove_small_components_by_face(mesh, limit, verbose);
        break;
    case 1:
        remove_small_components_by_vert(mesh, limit, verbose);
        break;
    case 2:
        remove_small_components_by_face_strong_connection(mesh, limit, rings);
        break;
    case 3:
        remove_non_manifold_verts(mesh, verbose);
        break;
    case 4:
        PostProcessing().remove_small_objects(mesh, limit);
        break;
    case 5:
        RemoveBoundary::remove_n_rings(mesh, rings, verbose);
        break;
    case 6:
    {
        MarkerSettings const markers = decode_markers(source);
        remove_marker_mesh(mesh, markers.points, markers.normals, markers.radius,
                           markers.use_normals, markers.normal_dot, verbose);
        break;
    }
    default:
        mesh.is_legal();
        mesh.repair_illegal();
        if (!mesh.is_legal())
        {
            std::abort();
        }
        break;
    }
    PatchEditor::count_components_by_face(mesh);
}

} // namespace

void veld_fuzz::clean_mesh(std::string_view input)
{
    ByteSource source(input);
    bool const verbose = source.flag();
    int const steps = 1 + source.below(3);
    TriMesh mesh = decode_mesh(source);
    if (mesh.n_faces() > 0)
    {
        note_header();
    }
    for (int i = 0; i < steps; ++i)
    {
        clean(source, mesh, verbose);
        require_sound_links(mesh);
    }
    clean_arrays(source, mesh, verbose);
}
