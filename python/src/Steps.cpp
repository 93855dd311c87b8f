#include "Steps.h"

#include "Arrays.h"
#include "Existing.h"
#include "MeshObject.h"
#include "Paths.h"
#include "Settings.h"

#include "workflow/pictures/NewFaces.h"
#include "workflow/steps/LoadPhotos.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace veld::python
{

using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::TriMesh;

namespace
{

using MeshPointer = std::unique_ptr<MeshObject>;
using MeshAnswer = std::tuple<Values, MeshPointer>;

MeshPointer held(TriMesh&& mesh, TextureImage&& image = {})
{
    return std::make_unique<MeshObject>(std::move(mesh), std::move(image));
}

Values info(MeshObject& mesh, Call& call)
{
    MeshHealth const health =
        mesh.own(call, [](TriMesh& owned, Context& context) { return inspect(owned, context); });
    return values_of(to_json(health));
}

/// With the vertices of each hole.
std::tuple<Values, std::vector<OwnArray<int>>> holes(MeshObject& mesh, Values const& values,
                                                     Call& call)
{
    auto const settings = settings_of<FindHolesSettings>("holes", values);
    auto const found = mesh.own(call, [&](TriMesh& owned, Context& context)
                                { return find_holes(owned, settings, context); });
    std::vector<OwnArray<int>> rims;
    for (auto const& hole : found.holes)
    {
        std::vector<int> rim;
        for (auto const vertex : hole)
        {
            rim.push_back(vertex.idx());
        }
        rims.push_back(array_of(std::move(rim)));
    }
    return {values_of(to_json(found)), std::move(rims)};
}

MeshAnswer fill(MeshObject const& mesh, Values const& values, Call& call)
{
    auto const settings = settings_of<FillSettings>("fill", values);
    auto result = mesh.read(call, [&](TriMesh const& input, Context& context)
                            { return veld::fill(input, settings, context); });
    return {values_of(to_json(result)), held(std::move(result.mesh))};
}

MeshAnswer clean(MeshObject const& mesh, Values const& values, Call& call)
{
    auto const settings = settings_of<CleanSettings>("clean", values);
    auto result = mesh.read(call, [&](TriMesh const& input, Context& context)
                            { return veld::clean(input, settings, context); });
    return {values_of(to_json(result)), held(std::move(result.mesh))};
}

/// With the settings as they were taken.
std::tuple<Values, MeshPointer, Values> repair(MeshObject const& mesh, Values const& values,
                                               Call& call)
{
    auto const settings = settings_of<RepairSettings>("repair", values);
    auto result = mesh.read(call, [&](TriMesh const& input, Context& context)
                            { return veld::repair(input, settings, context); });
    return {values_of(to_json(result)), held(std::move(result.mesh)),
            values_of(to_json(result.settings))};
}

MeshAnswer normals_answer(NormalsResult&& result)
{
    return {values_of(to_json(result)), held(std::move(result.cloud))};
}

MeshAnswer normals_of_mesh(MeshObject const& mesh, Values const& values, Call& call)
{
    auto const settings = settings_of<NormalsSettings>("normals", values);
    return normals_answer(mesh.read(call, [&](TriMesh const& input, Context& context)
                                    { return estimate_normals(input, settings, context); }));
}

MeshAnswer normals_of_frames(FrameSet const& frames, Values const& values, Call& call)
{
    auto const settings = settings_of<NormalsSettings>("normals", values);
    return normals_answer(
        call.run([&](Context& context) { return estimate_normals(frames, settings, context); }));
}

/// With the frame of each vertex, and the settings as they were taken.
std::tuple<Values, MeshPointer, OwnArray<int>, Values> merge(FrameSet const& frames,
                                                             Values const& values, Call& call)
{
    auto const settings = settings_of<MergeSettings>("merge", values);
    auto result =
        call.run([&](Context& context) { return veld::merge(frames, settings, context); });
    auto json = values_of(to_json(result));
    return {std::move(json), held(std::move(result.mesh)),
            array_of(std::move(result.vertex_frames)), values_of(to_json(result.settings))};
}

Values check(FrameSet const& frames, Values const& values, Call& call)
{
    auto const settings = settings_of<AlignSettings>("check", values);
    return values_of(to_json(
        call.run([&](Context& context) { return check_frames(frames, settings, context); })));
}

/// With the poses.
std::tuple<Values, std::vector<OwnArray<double>>> align(FrameSet const& frames,
                                                        Values const& values, Call& call)
{
    auto const settings = settings_of<AlignSettings>("align", values);
    auto const result =
        call.run([&](Context& context) { return veld::align(frames, settings, context); });
    std::vector<OwnArray<double>> poses;
    for (auto const& pose : result.poses)
    {
        poses.push_back(matrix_of(pose));
    }
    return {values_of(to_json(result)), std::move(poses)};
}

MeshAnswer texture(MeshObject const& mesh, PhotoSet const& photos, Values const& values, Call& call)
{
    auto const settings = settings_of<TextureSettings>("texture", values);
    auto result = mesh.read(call, [&](TriMesh const& input, Context& context)
                            { return veld::texture(input, photos, settings, context); });
    auto json = values_of(to_json(result));
    return {std::move(json),
            held(std::move(result.textured.mesh), std::move(result.textured.image))};
}

/// Rows of pixels of blue, green and red.
OwnArray<unsigned char> render(MeshObject const& mesh, MeshObject const* original,
                               Values const& values, Call& call)
{
    auto const settings = settings_of<RenderSettings>("render", values);
    return array_of(mesh.read(
        call,
        [&](TriMesh const& shown, Context& context)
        {
            bool const has_texture = !mesh.image().empty() && shown.has_halfedge_texcoords2D();
            FaceMarks marks;
            if (original != nullptr)
            {
                auto const reading = original->reading();
                marks = mark_new_faces(shown, original->mesh());
            }
            return has_texture ? veld::render(shown, mesh.image(), marks, settings, context)
                               : veld::render(shown, marks, settings, context);
        }));
}

/// \param places rows of x y z \param sizes rows of diameter and height
std::vector<MeshPointer>
sticks(MeshObject& mesh, FloatRows const& places,
       nb::ndarray<float const, nb::shape<-1, 2>, nb::c_contig, nb::device::cpu> const& sizes,
       Values const& values, Call& call)
{
    auto const settings = settings_of<CutSticksSettings>("sticks", values);
    StickSeeds seeds;
    seeds.points = vectors_of(places);
    for (std::size_t i = 0; i < sizes.shape(0); ++i)
    {
        seeds.sizes.emplace_back(sizes.data()[2 * i], sizes.data()[2 * i + 1]);
    }
    auto cut = mesh.own(call, [&](TriMesh& owned, Context& context)
                        { return cut_sticks(owned, seeds, settings, context); });
    std::vector<MeshPointer> pointers;
    for (auto& stick : cut)
    {
        pointers.push_back(held(std::move(stick)));
    }
    return pointers;
}

Values keyframes_of_poses(std::vector<Matrix4> const& matrices, Values const& values, Call& call)
{
    auto const settings = settings_of<KeyframesSettings>("keyframes", values);
    std::vector<RigidMatrix> poses;
    for (auto const& matrix : matrices)
    {
        poses.push_back(motion_of(matrix));
    }
    return values_of(to_json(
        call.run([&](Context& context) { return choose_keyframes(poses, settings, context); })));
}

Values keyframes_of_source(nb::object const& source, Values const& values, Call& call)
{
    auto const path = path_of(source);
    auto const settings = settings_of<KeyframesSettings>("keyframes", values);
    return values_of(
        to_json(call.run([&](Context& context)
                         { return choose_keyframes(read_camera_list(path), settings, context); })));
}

Values keyframes_of_photos(PhotoSet const& photos, Values const& values, Call& call)
{
    auto const settings = settings_of<KeyframesSettings>("keyframes", values);
    return values_of(to_json(call.run(
        [&](Context& context) { return choose_keyframes(photos.views, settings, context); })));
}

/// Rows of x y z, or of x y z nx ny nz.
std::vector<std::vector<float>> marker_rows(nb::object const& path, bool with_normals)
{
    Markers const markers = read_markers(path_of(path), with_normals);
    std::vector<std::vector<float>> rows;
    for (std::size_t i = 0; i < markers.points.size(); ++i)
    {
        auto const& point = markers.points[i];
        rows.push_back({point.x(), point.y(), point.z()});
        if (!markers.normals.empty())
        {
            auto const& normal = markers.normals[i];
            rows.back().insert(rows.back().end(), {normal.x(), normal.y(), normal.z()});
        }
    }
    return rows;
}

/// Rows of x y z diameter height.
std::vector<std::vector<float>> seed_rows(nb::object const& path)
{
    StickSeeds const seeds = read_seeds(path_of(path));
    std::vector<std::vector<float>> rows;
    for (std::size_t i = 0; i < seeds.points.size(); ++i)
    {
        auto const& point = seeds.points[i];
        rows.push_back({point.x(), point.y(), point.z(), seeds.sizes[i].x(), seeds.sizes[i].y()});
    }
    return rows;
}

void save_picture(Pixels const& pixels, nb::object const& path, bool overwrite, Call& call)
{
    auto const file = path_of(path);
    auto const picture = image_of(pixels);
    call.run(
        [&](Context& context)
        {
            check_picture_extension(file);
            OutputFile output(file, existing_of(overwrite));
            write_picture(output, picture, context);
            output.commit();
        });
}

/// The settings of every step with their defaults, in the form that they are given in. What has
/// none there is measured.
Values defaults()
{
    Json json;
    json["load_frames"] = to_json(LoadFramesSettings());
    json["merge"] = to_json(MergeSettings());
    json["align"] = to_json(AlignSettings());
    json["check"] = to_json(AlignSettings());
    json["holes"] = to_json(FindHolesSettings());
    json["fill"] = to_json(FillSettings());
    json["repair"] = to_json(RepairSettings());
    json["normals"] = to_json(NormalsSettings());
    json["keyframes"] = to_json(KeyframesSettings());
    json["texture"] = to_json(TextureSettings());
    json["render"] = to_json(RenderSettings());
    json["sticks"] = to_json(CutSticksSettings());
    return values_of(json);
}

} // namespace

void bind_steps(nb::module_& module)
{
    module.def("defaults", &defaults);
    module.def("info", &info, nb::arg("mesh"), nb::arg("call"));
    module.def("holes", &holes, nb::arg("mesh"), nb::arg("settings"), nb::arg("call"));
    module.def("fill", &fill, nb::arg("mesh"), nb::arg("settings"), nb::arg("call"));
    module.def("clean", &clean, nb::arg("mesh"), nb::arg("settings"), nb::arg("call"));
    module.def("repair", &repair, nb::arg("mesh"), nb::arg("settings"), nb::arg("call"));
    module.def("normals", &normals_of_mesh, nb::arg("mesh"), nb::arg("settings"), nb::arg("call"));
    module.def("normals_of_frames", &normals_of_frames, nb::arg("frames"), nb::arg("settings"),
               nb::arg("call"));
    module.def("merge", &merge, nb::arg("frames"), nb::arg("settings"), nb::arg("call"));
    module.def("check", &check, nb::arg("frames"), nb::arg("settings"), nb::arg("call"));
    module.def("align", &align, nb::arg("frames"), nb::arg("settings"), nb::arg("call"));
    module.def("texture", &texture, nb::arg("mesh"), nb::arg("photos"), nb::arg("settings"),
               nb::arg("call"));
    module.def("render", &render, nb::arg("mesh"), nb::arg("original").none(), nb::arg("settings"),
               nb::arg("call"));
    module.def("sticks", &sticks, nb::arg("mesh"), nb::arg("places"), nb::arg("sizes"),
               nb::arg("settings"), nb::arg("call"));
    module.def("keyframes_of_poses", &keyframes_of_poses, nb::arg("poses"), nb::arg("settings"),
               nb::arg("call"));
    module.def("keyframes_of_source", &keyframes_of_source, nb::arg("source"), nb::arg("settings"),
               nb::arg("call"));
    module.def("keyframes_of_photos", &keyframes_of_photos, nb::arg("photos"), nb::arg("settings"),
               nb::arg("call"));
    module.def("read_markers", &marker_rows, nb::arg("path"), nb::arg("with_normals"));
    module.def("read_seeds", &seed_rows, nb::arg("path"));
    module.def("save_picture", &save_picture, nb::arg("pixels").noconvert(), nb::arg("path"),
               nb::arg("overwrite"), nb::arg("call"));
}

} // namespace veld::python
