#include "workflow/files/GlbWriter.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/types.h"

#include <tiny_gltf.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <unordered_map>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3f;

namespace
{

constexpr float METRES_PER_MILLIMETRE = 0.001F;
constexpr char const* UNLIT = "KHR_materials_unlit";

/// What glTF calls vertices: a point with one texture coordinate each, in the order of first use.
struct GlbVertices
{
    std::vector<Vector3f> points; ///< Metres.
    std::vector<Vector3f> normals;
    std::vector<Vector2f> texcoords; ///< From the upper left corner.
    std::vector<std::uint32_t> triangles;
};

/// A vertex of the mesh with the bits of its texture coordinates.
struct CornerKey
{
    int vertex = -1;
    std::uint64_t texcoord = 0;

    bool operator==(CornerKey const& other) const
    {
        return vertex == other.vertex && texcoord == other.texcoord;
    }
};

struct CornerHash
{
    std::size_t operator()(CornerKey const& key) const
    {
        constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15U;
        auto const mixed = (key.texcoord ^ static_cast<std::uint64_t>(key.vertex)) * FACTOR;
        return static_cast<std::size_t>(mixed ^ (mixed >> 32U));
    }
};

Vector2f texcoord_of(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    if (!mesh.has_halfedge_texcoords2D() || !mesh.texcoord2D(h).allFinite())
    {
        return Vector2f::Zero();
    }
    return {mesh.texcoord2D(h).x(), 1.0F - mesh.texcoord2D(h).y()};
}

GlbVertices gather_vertices(TriMesh const& mesh)
{
    GlbVertices result;
    std::unordered_map<CornerKey, std::uint32_t, CornerHash> numbers;
    OrvaneAlgorithm::detail::LoopProgress progress(mesh.n_faces());
    for (auto const face : mesh.faces())
    {
        progress.next();
        for (auto const h : mesh.fh_range(face))
        {
            auto const vertex = mesh.to_vertex_handle(h);
            Vector2f const texcoord = texcoord_of(mesh, h);
            CornerKey key{vertex.idx()};
            std::memcpy(&key.texcoord, texcoord.data(), sizeof(key.texcoord));
            auto const [entry, is_new] =
                numbers.emplace(key, static_cast<std::uint32_t>(result.points.size()));
            if (is_new)
            {
                result.points.emplace_back(mesh.point(vertex) * METRES_PER_MILLIMETRE);
                result.texcoords.push_back(texcoord);
                if (mesh.has_vertex_normals())
                {
                    result.normals.push_back(mesh.normal(vertex));
                }
            }
            result.triangles.push_back(entry->second);
        }
    }
    return result;
}

/// glTF wants unit normals.
bool are_units(std::vector<Vector3f> const& normals)
{
    constexpr float TOLERANCE = 1e-3F;
    for (auto const& normal : normals)
    {
        if (!(std::abs(normal.norm() - 1.0F) < TOLERANCE))
        {
            return false;
        }
    }
    return !normals.empty();
}

/// A model that is being put together: one buffer, and views of its parts.
class GlbModel
{
public:
    explicit GlbModel(std::string const& jpeg)
    {
        model_.asset.version = "2.0";
        model_.asset.generator = "veld";
        model_.buffers.resize(1);
        tinygltf::Image image;
        image.mimeType = "image/jpeg";
        image.bufferView = add_view(jpeg.data(), jpeg.size(), 0);
        model_.images.push_back(image);
        add_material();
    }

    void add_mesh(GlbVertices const& vertices)
    {
        tinygltf::Primitive primitive;
        primitive.mode = TINYGLTF_MODE_TRIANGLES;
        primitive.material = 0;
        primitive.attributes["POSITION"] =
            add_floats(vertices.points, TINYGLTF_TYPE_VEC3, TINYGLTF_TARGET_ARRAY_BUFFER);
        set_bounds(vertices.points);
        if (are_units(vertices.normals))
        {
            primitive.attributes["NORMAL"] =
                add_floats(vertices.normals, TINYGLTF_TYPE_VEC3, TINYGLTF_TARGET_ARRAY_BUFFER);
        }
        primitive.attributes["TEXCOORD_0"] =
            add_floats(vertices.texcoords, TINYGLTF_TYPE_VEC2, TINYGLTF_TARGET_ARRAY_BUFFER);
        primitive.indices = add_accessor(
            add_view(vertices.triangles.data(), vertices.triangles.size() * sizeof(std::uint32_t),
                     TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER),
            TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR, vertices.triangles.size());
        tinygltf::Mesh mesh;
        mesh.primitives.push_back(primitive);
        model_.meshes.push_back(mesh);
        tinygltf::Node node;
        node.mesh = 0;
        model_.nodes.push_back(node);
        tinygltf::Scene scene;
        scene.nodes.push_back(0);
        model_.scenes.push_back(scene);
        model_.defaultScene = 0;
    }

    /// \return false if the stream cannot take it
    bool write(std::ostream& stream) const
    {
        tinygltf::TinyGLTF writer;
        return writer.WriteGltfSceneToStream(&model_, stream, false, true);
    }

    std::size_t size() const { return model_.buffers.front().data.size(); }

private:
    /// Photographs have their light in them.
    void add_material()
    {
        tinygltf::Sampler sampler;
        sampler.minFilter = TINYGLTF_TEXTURE_FILTER_LINEAR; // smaller images would mix the patches
        sampler.magFilter = TINYGLTF_TEXTURE_FILTER_LINEAR;
        sampler.wrapS = TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
        sampler.wrapT = TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE;
        model_.samplers.push_back(sampler);
        tinygltf::Texture texture;
        texture.sampler = 0;
        texture.source = 0;
        model_.textures.push_back(texture);
        tinygltf::Material material;
        material.name = "atlas";
        material.pbrMetallicRoughness.baseColorTexture.index = 0;
        material.pbrMetallicRoughness.metallicFactor = 0.0;
        material.pbrMetallicRoughness.roughnessFactor = 1.0;
        material.doubleSided = true;
        material.extensions[UNLIT] = tinygltf::Value(tinygltf::Value::Object());
        model_.materials.push_back(material);
        model_.extensionsUsed.emplace_back(UNLIT);
    }

    /// \return the number of the view
    int add_view(void const* data, std::size_t size, int target)
    {
        auto& bytes = model_.buffers.front().data;
        while (bytes.size() % sizeof(float) != 0)
        {
            bytes.push_back(0);
        }
        tinygltf::BufferView view;
        view.buffer = 0;
        view.byteOffset = bytes.size();
        view.byteLength = size;
        view.target = target;
        auto const* const begin = static_cast<unsigned char const*>(data);
        bytes.insert(bytes.end(), begin, begin + size);
        model_.bufferViews.push_back(view);
        return static_cast<int>(model_.bufferViews.size()) - 1;
    }

    int add_accessor(int view, int component, int type, std::size_t count)
    {
        tinygltf::Accessor accessor;
        accessor.bufferView = view;
        accessor.componentType = component;
        accessor.type = type;
        accessor.count = count;
        model_.accessors.push_back(accessor);
        return static_cast<int>(model_.accessors.size()) - 1;
    }

    template <typename Vector>
    int add_floats(std::vector<Vector> const& values, int type, int target)
    {
        return add_accessor(add_view(values.data(), values.size() * sizeof(Vector), target),
                            TINYGLTF_COMPONENT_TYPE_FLOAT, type, values.size());
    }

    /// Of the accessor that was added last.
    void set_bounds(std::vector<Vector3f> const& points)
    {
        Vector3f min;
        Vector3f max;
        OrvaneAlgorithm::detail::bounding_box(points.data(), points.size(), min, max);
        for (int axis = 0; axis < 3; ++axis)
        {
            model_.accessors.back().minValues.push_back(static_cast<double>(min[axis]));
            model_.accessors.back().maxValues.push_back(static_cast<double>(max[axis]));
        }
    }

    tinygltf::Model model_;
};

} // namespace

void write_glb_file(OutputFile const& file, TriMesh const& mesh, std::string const& jpeg)
{
    static_assert(sizeof(Vector3f) == 3 * sizeof(float) && sizeof(Vector2f) == 2 * sizeof(float));
    constexpr std::size_t LONGEST_BUFFER = std::numeric_limits<std::int32_t>::max();
    GlbModel model(jpeg);
    model.add_mesh(gather_vertices(mesh));
    if (model.size() > LONGEST_BUFFER)
    {
        throw OperationError(shown(file.path()) + ": cannot be written: GLB holds 2 GB at most");
    }
    errno = 0;
    std::ofstream stream(file.temporary(), std::ios::binary);
    bool const is_written = model.write(stream);
    stream.close();
    if (!is_written || !stream)
    {
        throw OperationError(shown(file.path()) + ": cannot be written: " +
                             why_not_written({errno, std::generic_category()}));
    }
}

} // namespace veld
