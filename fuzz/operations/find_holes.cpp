#include "algorithmVeld/HoleFilling/HoleSmooth.h"
#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/hole_detection/FindHoles.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;

void find_all(ByteSource& source, TriMesh& mesh, bool verbose)
{
    Holes holes;
    bool const finds = FindHolesEx::find_holes(mesh, holes, verbose) == RET_SUCCESS;
    if (finds)
    {
        note_header();
    }
    std::vector<OpenMesh::VertexHandle> hole;
    Holes known = holes;
    known.push_back(decode_vertices(source, mesh));
    find_hole(mesh, decode_point(source), known, source.number(), hole, verbose);
    find_hole(mesh, decode_point(source), source.number(), hole, verbose);
    find_holes(mesh, source.number(), holes, verbose);
    auto const places = decode_points(source);
    auto const normals = decode_points(source);
    double const distance = source.number();
    double const radius = source.number();
    bool const use_normals = source.flag();
    find_marker_holes(mesh, places, normals, distance, radius, use_normals, source.number(), holes,
                      verbose);
    FindHoles::find_holes(mesh, holes, verbose);
    FindHoles::find_holes(mesh, places, distance, hole, verbose);
    FindHoles().find_simple_holes(mesh, holes, verbose);
}

void cut_sticks(ByteSource& source, TriMesh& mesh, bool verbose)
{
    auto const seeds = decode_points(source);
    std::vector<Vector2f> sizes(source.flag() ? seeds.size() : 2);
    for (auto& size : sizes)
    {
        size.x() = source.coordinate();
        size.y() = source.coordinate();
    }
    std::vector<TriMesh> sticks;
    if (extract_sticks(mesh, seeds, sizes, sticks, source.flag(), verbose) == RET_SUCCESS)
    {
        note_accepted();
    }
    for (auto const& stick : sticks)
    {
        require_sound_links(stick);
    }
}

void smooth(ByteSource& source, TriMesh& mesh)
{
    OpenMesh::VPropHandleT<bool> active;
    mesh.add_property(active);
    unsigned const mask = static_cast<unsigned>(source.byte());
    for (auto const vertex : mesh.all_vertices())
    {
        mesh.property(active, vertex) = (mask >> static_cast<unsigned>(vertex.idx() % 8) & 1U) != 0;
    }
    HoleSmooth smoothing(mesh, active);
    if (source.flag())
    {
        smoothing.set_all_active();
    }
    smoothing.skip_features(source.flag());
    smoothing.initialize(static_cast<HoleSmooth::Component>(source.below(4)),
                         static_cast<HoleSmooth::Continuity>(source.below(3)));
    if (source.flag())
    {
        smoothing.set_relative_local_error(source.coordinate());
    }
    if (source.flag())
    {
        smoothing.set_absolute_local_error(source.coordinate());
    }
    if (smoothing.smooth(static_cast<unsigned>(source.below(5))) == RET_SUCCESS)
    {
        note_accepted();
    }
    smoothing.get_iterative_smoothed_mesh(mesh);
    mesh.remove_property(active);
}

} // namespace

void veld_fuzz::find_holes(std::string_view input)
{
    ByteSource source(input);
    TriMesh mesh = decode_mesh(source);
    bool const verbose = source.flag();
    switch (source.below(4))
    {
    case 0:
    case 1:
        find_all(source, mesh, verbose);
        break;
    case 2:
        cut_sticks(source, mesh, verbose);
        break;
    default:
        smooth(source, mesh);
        break;
    }
    require_sound_links(mesh);
}
