#include "MeshObject.h"

#include "Arrays.h"
#include "JsonObjects.h"
#include "Paths.h"

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
    auto const existing = overwrite ? Existing::REPLACED : Existing::KEPT;
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
                  Outputs outputs(overwrite ? Existing::REPLACED : Existing::KEPT);
                  outputs.check(textured_mesh_files(file), {});
                  write_textured_mesh(file, TexturedMesh{written, mesh.image()}, outputs, context);
                  outputs.commit();
              });
}

std::optional<FloatView> normal_rows(MeshObject& self)
{
    auto const& mesh = self.mesh();
    if (!mesh.has_vertex_normals())
    {
        return std::nullopt;
    }
    return view_of(mesh.vertex_normals(), mesh.n_vertices(), nb::find(self));
}

std::optional<FloatView> color_rows(MeshObject& self)
{
    auto const& mesh = self.mesh();
    if (!mesh.has_vertex_colors())
    {
        return std::nullopt;
    }
    return view_of(mesh.vertex_colors(), mesh.n_vertices(), nb::find(self));
}

/// Texture coordinates of the corners of all faces, in the order of `corners`.
std::vector<float> texcoords_of(TriMesh const& mesh)
{
    std::vector<float> coordinates;
    coordinates.reserve(6 * mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        auto h = mesh.halfedge_handle(face);
        for (int corner = 0; corner < 3; ++corner)
        {
            coordinates.push_back(mesh.texcoord2D(h).x());
            coordinates.push_back(mesh.texcoord2D(h).y());
            h = mesh.next_halfedge_handle(h);
        }
    }
    return coordinates;
}

std::optional<OwnArray<float>> texcoord_array(MeshObject const& mesh)
{
    if (!mesh.mesh().has_halfedge_texcoords2D())
    {
        return std::nullopt;
    }
    auto const [kept, owner] = given_away(texcoords_of(mesh.mesh()));
    return OwnArray<float>(kept->data(), {kept->size() / 6, 3, 2}, owner);
}

} // namespace

MeshObject::MeshObject(TriMesh mesh, TextureImage image)
    : mesh_(std::move(mesh)), image_(std::move(image))
{
}

std::vector<int> const& MeshObject::corners() const
{
    auto const list = [this]
    {
        corners_.reserve(3 * mesh_.n_faces());
        for (auto const face : mesh_.faces())
        {
            auto h = mesh_.halfedge_handle(face);
            for (int corner = 0; corner < 3; ++corner)
            {
                corners_.push_back(mesh_.to_vertex_handle(h).idx());
                h = mesh_.next_halfedge_handle(h);
            }
        }
    };
    std::call_once(corners_made_, list);
    return corners_;
}

TriMesh MeshObject::copied() const
{
    MeshUse::Reading const reading(use_);
    return mesh_;
}

void bind_mesh(nb::module_& module)
{
    nb::class_<MeshObject>(module, "MeshData", "A mesh as the library holds it.")
        .def_prop_ro("n_vertices", [](MeshObject const& self) { return self.mesh().n_vertices(); })
        .def_prop_ro("n_faces", [](MeshObject const& self) { return self.mesh().n_faces(); })
        .def_prop_ro(
            "vertices", [](MeshObject& self)
            { return view_of(self.mesh().points(), self.mesh().n_vertices(), nb::find(self)); })
        .def_prop_ro("normals", &normal_rows)
        .def_prop_ro("colors", &color_rows)
        .def_prop_ro(
            "faces",
            [](MeshObject& self) {
                return IntView(self.corners().data(), {self.mesh().n_faces(), 3}, nb::find(self));
            })
        .def_prop_ro("texcoords", &texcoord_array, nb::rv_policy::automatic)
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
