#include "MeshObject.h"

#include "Arrays.h"
#include "Existing.h"
#include "JsonObjects.h"
#include "Paths.h"
#include "Text.h"

#include "workflow/files/CarriedNames.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>

#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace veld::python
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::TriMesh;

namespace
{

/// What is not a number stands for no place in the texture.
void set_texcoords(TexcoordRows const& rows, BaseTriMesh& arrays)
{
    arrays.enable_texture();
    arrays.texture_coords.resize(3 * rows.shape(0));
    arrays.face_texture_ids.resize(rows.shape(0));
    for (std::size_t i = 0; i < arrays.texture_coords.size(); ++i)
    {
        arrays.texture_coords[i] = {rows.data()[2 * i], rows.data()[2 * i + 1]};
    }
    int index = 0;
    for (auto& ids : arrays.face_texture_ids)
    {
        ids = {index, index + 1, index + 2};
        index += 3;
    }
}

BaseTriMesh arrays_of(FloatRows const& vertices, IntRows const& faces,
                      std::optional<FloatRows> const& normals,
                      std::optional<FloatRows> const& colors,
                      std::optional<TexcoordRows> const& texcoords)
{
    BaseTriMesh arrays;
    arrays.vCoord = vectors_of(vertices);
    arrays.has_vNormal = normals.has_value();
    arrays.vNrv = normals ? vectors_of(*normals) : OrvaneAlgorithm::Verts();
    arrays.has_vColor = colors.has_value();
    arrays.vColor = colors ? vectors_of(*colors) : OrvaneAlgorithm::Verts();
    arrays.faces.resize(faces.shape(0));
    for (std::size_t i = 0; i < arrays.faces.size(); ++i)
    {
        int const* const corners = faces.data() + 3 * i;
        arrays.faces[i] = {corners[0], corners[1], corners[2]};
    }
    if (texcoords)
    {
        set_texcoords(*texcoords, arrays);
    }
    return arrays;
}

std::unique_ptr<MeshObject> mesh_of_arrays(FloatRows const& vertices, IntRows const& faces,
                                           std::optional<FloatRows> const& normals,
                                           std::optional<FloatRows> const& colors,
                                           std::optional<TexcoordRows> const& texcoords,
                                           std::optional<Pixels> const& image, Call& call)
{
    return call.run(
        [&](Context& context)
        {
            auto file = make_mesh("the arrays",
                                  arrays_of(vertices, faces, normals, colors, texcoords), context);
            return std::make_unique<MeshObject>(std::move(file.mesh),
                                                image ? image_of(*image) : TextureImage());
        });
}

std::pair<std::unique_ptr<MeshObject>, nb::object> mesh_of_file(nb::object const& path,
                                                                bool is_cloud, Call& call)
{
    auto const file = path_of(path);
    Json contents;
    auto mesh = call.run(
        [&](Context& context)
        {
            auto read = is_cloud ? read_cloud(file, context) : read_mesh(file, context);
            contents = to_json(read.contents);
            TextureImage image;
            if (read.mesh.has_halfedge_texcoords2D() && lower_extension(file) == ".obj")
            {
                image = read_texture_of(file, context);
            }
            return std::make_unique<MeshObject>(std::move(read.mesh), std::move(image));
        });
    return {std::move(mesh), object_of(contents)};
}

void save_mesh(MeshObject const& mesh, nb::object const& path, bool overwrite, Call& call)
{
    auto const file = path_of(path);
    auto const existing = existing_of(overwrite);
    mesh.read(call,
              [&](TriMesh const& written, Context& context)
              {
                  check_mesh_extension(file);
                  OutputFile output(file, existing);
                  write_mesh(output, written, context);
                  output.commit();
              });
}

void save_textured(MeshObject const& mesh, nb::object const& path, bool overwrite, Call& call)
{
    auto const file = path_of(path);
    mesh.read(call,
              [&](TriMesh const& written, Context& context)
              {
                  Outputs outputs(existing_of(overwrite));
                  outputs.check(textured_mesh_files(file), {});
                  write_textured_mesh(file, TexturedMesh{written, mesh.image()}, outputs, context);
                  outputs.commit();
              });
}

std::optional<FloatView> channel_rows(MeshObject& self, OrvaneAlgorithm::Vector3f const* channel)
{
    return channel == nullptr ? std::nullopt
                              : std::optional(view_of(channel, self.vertices(), nb::find(self)));
}

std::optional<OwnArray<float>> texcoord_array(MeshObject const& mesh)
{
    auto texcoords = mesh.texcoords();
    if (!texcoords)
    {
        return std::nullopt;
    }
    auto const [kept, owner] = given_away(std::move(*texcoords));
    return OwnArray<float>(kept->data(), {kept->size() / 6, 3, 2}, owner);
}

nb::typed<nb::list, nb::str> carried_list(MeshObject const& mesh)
{
    nb::list names;
    for (auto const& name : mesh.carried())
    {
        names.append(text_of(name));
    }
    return names;
}

/// Calls `take` with each corner of each face, as the halfedge that ends there. Statuses of faces
/// are not looked at: nothing is deleted, and a step that owns the mesh may just add them.
template <typename Take>
void walk_corners(TriMesh const& mesh, std::size_t faces, Take const& take)
{
    for (std::size_t i = 0; i < faces; ++i)
    {
        auto h = mesh.halfedge_handle(OpenMesh::FaceHandle(static_cast<int>(i)));
        for (int corner = 0; corner < 3; ++corner)
        {
            take(h);
            h = mesh.next_halfedge_handle(h);
        }
    }
}

} // namespace

MeshObject::MeshObject(TriMesh mesh, TextureImage image)
    : mesh_(std::move(mesh)),
      image_(std::move(image)),
      vertices_(mesh_.n_vertices()),
      faces_(mesh_.n_faces()),
      points_(mesh_.points()),
      normals_(mesh_.has_vertex_normals() ? mesh_.vertex_normals() : nullptr),
      colors_(mesh_.has_vertex_colors() ? mesh_.vertex_colors() : nullptr),
      texcoords_(mesh_.has_halfedge_texcoords2D() ? mesh_.htexcoords2D() : nullptr),
      carried_(carried_names(mesh_))
{
}

std::vector<int> const& MeshObject::corners() const
{
    auto const list = [this]
    {
        corners_.reserve(3 * faces_);
        walk_corners(mesh_, faces_,
                     [this](OpenMesh::HalfedgeHandle h)
                     { corners_.push_back(mesh_.to_vertex_handle(h).idx()); });
    };
    std::call_once(corners_made_, list);
    return corners_;
}

std::optional<std::vector<float>> MeshObject::texcoords() const
{
    if (texcoords_ == nullptr)
    {
        return std::nullopt;
    }
    std::vector<float> coordinates;
    coordinates.reserve(6 * faces_);
    walk_corners(mesh_, faces_,
                 [&](OpenMesh::HalfedgeHandle h)
                 {
                     auto const& place = texcoords_[h.idx()];
                     coordinates.push_back(place.x());
                     coordinates.push_back(place.y());
                 });
    return coordinates;
}

TriMesh MeshObject::copied() const
{
    MeshUse::Reading const reading(use_);
    return mesh_;
}

void bind_mesh(nb::module_& module)
{
    nb::class_<MeshObject>(module, "MeshData", "A mesh as the library holds it.")
        .def_prop_ro("n_vertices", &MeshObject::vertices)
        .def_prop_ro("n_faces", &MeshObject::faces)
        .def_prop_ro("vertices", [](MeshObject& self)
                     { return view_of(self.points(), self.vertices(), nb::find(self)); })
        .def_prop_ro("normals", [](MeshObject& self) { return channel_rows(self, self.normals()); })
        .def_prop_ro("colors", [](MeshObject& self) { return channel_rows(self, self.colors()); })
        .def_prop_ro("faces",
                     [](MeshObject& self) {
                         return IntView(self.corners().data(), {self.faces(), 3}, nb::find(self));
                     })
        .def_prop_ro("texcoords", &texcoord_array, nb::rv_policy::automatic)
        .def_prop_ro("carried", &carried_list)
        .def_prop_ro("image",
                     [](MeshObject& self) -> std::optional<ByteView>
                     {
                         if (self.image().empty())
                         {
                             return std::nullopt;
                         }
                         return ByteView(self.image().data(),
                                         {static_cast<std::size_t>(self.image().height()),
                                          static_cast<std::size_t>(self.image().width()), 3},
                                         nb::find(self));
                     });
    module.def("make_mesh", &mesh_of_arrays, nb::arg("vertices"), nb::arg("faces"),
               nb::arg("normals").none(), nb::arg("colors").none(), nb::arg("texcoords").none(),
               nb::arg("image").none(), nb::arg("call"));
    module.def("load_mesh", &mesh_of_file, nb::arg("path"), nb::arg("is_cloud"), nb::arg("call"));
    module.def("save_mesh", &save_mesh, nb::arg("mesh"), nb::arg("path"), nb::arg("overwrite"),
               nb::arg("call"));
    module.def("save_textured", &save_textured, nb::arg("mesh"), nb::arg("path"),
               nb::arg("overwrite"), nb::arg("call"));
}

} // namespace veld::python
