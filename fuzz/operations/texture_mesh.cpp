#include "algorithmVeld/TextureFusion/SelectKeyframes.h"
#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "fuzz/support/MeshDecoder.h"
#include "fuzz/support/Target.h"
#include "fuzz/targets.h"

#include <stdexcept>

namespace
{

using namespace OrvaneAlgorithm;
using namespace veld_fuzz;
using Photo = Image<3, unsigned char>;

struct Views
{
    std::vector<Photo> photos;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> cameras;
};

Photo decode_photo(ByteSource& source)
{
    Photo photo(source.below(24), source.below(20));
    unsigned const step = static_cast<unsigned>(source.byte());
    for (int i = 0; i < 3 * photo.width() * photo.height(); ++i)
    {
        photo.data()[i] = static_cast<unsigned char>(step * static_cast<unsigned>(i));
    }
    return photo;
}

/// A camera above the sheets of decode_mesh(), looking down at them, or one anywhere.
RigidMatrix decode_pose(ByteSource& source)
{
    Matrix3d rotation;
    rotation << 1, 0, 0, 0, -1, 0, 0, 0, -1;
    if (source.below(4) == 0)
    {
        rotation.col(source.below(3)) = decode_point(source).cast<double>();
    }
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(source.below(4) == 0 ? decode_point(source).cast<double>()
                                              : Vector3d(-3.0, 3.0, 10.0 + source.below(5)));
    return pose;
}

CameraInParam decode_camera(ByteSource& source)
{
    if (source.below(4) != 0)
    {
        return {12.0, 12.0, 10.0, 9.0};
    }
    double const fx = source.coordinate();
    double const fy = source.coordinate();
    double const cx = source.coordinate();
    return {fx, fy, cx, source.coordinate()};
}

Views decode_views(ByteSource& source)
{
    Views views;
    for (int n = source.below(4); n > 0; --n)
    {
        views.photos.push_back(decode_photo(source));
        views.poses.push_back(decode_pose(source));
        views.cameras.push_back(decode_camera(source));
    }
    return views;
}

void fuse(ByteSource& source, BaseTriMesh& mesh, Views const& views, bool verbose)
{
    constexpr std::int64_t MOST_PIXELS = 1 << 14;
    TextureFusion fusion;
    fusion.set_hole_pixel_limit(MOST_PIXELS);
    fusion.set_small_region_face_thr(source.integer());
    if (source.flag())
    {
        fusion.set_use_mkl_solver(source.flag());
        fusion.set_dis_thr(static_cast<float>(source.number()));
        fusion.set_norm_thr(source.coordinate());
        fusion.set_vertex_tex_num_thr(source.integer());
        fusion.set_hole_area_ratio(source.coordinate());
        fusion.set_hole_vertex_limit(source.integer());
        fusion.set_behind_camera(source.flag() ? BehindCamera::SEEN : BehindCamera::UNSEEN);
        fusion.set_image_border(source.integer());
        fusion.set_packing_gap(source.below(8) - 2);
        fusion.set_patch_margin(source.below(8) - 2);
    }
    if (fusion.texture_fusion(mesh, views.photos, views.poses, views.cameras, verbose) ==
        RET_SUCCESS)
    {
        note_accepted();
    }
}

void colour(ByteSource& source, BaseTriMesh& mesh, Views const& views, bool verbose)
{
    TextureMesh texture;
    texture.set_small_region_face_thr(source.integer());
    if (source.flag())
    {
        texture.set_dis_thr(static_cast<float>(source.number()));
        texture.set_norm_thr(source.coordinate());
        texture.set_vertex_tex_num_thr(source.integer());
        texture.set_behind_camera(source.flag() ? BehindCamera::SEEN : BehindCamera::UNSEEN);
        texture.set_sub_tex_gap(source.below(8) - 2);
    }
    if (texture.texture_fusion(mesh, views.photos, views.poses, views.cameras, verbose) ==
        RET_SUCCESS)
    {
        note_accepted();
    }
}

void select(ByteSource& source, Views const& views, bool verbose)
{
    SelectKeyframes selection;
    selection.set_voxel_num(source.number());
    std::vector<int> frames;
    if (selection.space_based_selection(views.poses, frames, verbose) == RET_SUCCESS &&
        selection.space_based_sort(views.poses, frames, verbose) == RET_SUCCESS)
    {
        note_accepted();
    }
}

} // namespace

void veld_fuzz::texture_mesh(std::string_view input)
{
    ByteSource source(input);
    int const what = source.below(5);
    bool const verbose = source.flag();
    Views const views = decode_views(source);
    BaseTriMesh mesh;
    TriMesh_convert_to_BaseTriMesh(decode_mesh(source), mesh);
    if (mesh.get_fn() > 0 && !views.photos.empty())
    {
        note_header();
    }
    switch (what)
    {
    case 0:
    case 1:
        fuse(source, mesh, views, verbose);
        break;
    case 2:
    case 3:
        colour(source, mesh, views, verbose);
        break;
    default:
        select(source, views, verbose);
        break;
    }
}
