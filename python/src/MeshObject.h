#pragma once

#include "Call.h"
#include "MeshUse.h"

#include "workflow/files/TexturedMesh.h"

#include "algorithmVeld/common/TriMesh.h"

#include <nanobind/nanobind.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace veld::python
{

namespace nb = nanobind;

/// A mesh or a cloud that Python holds, perhaps with the image of its texture. Nobody changes it
/// once it is there, so that arrays may look into it.
class MeshObject
{
public:
    explicit MeshObject(OrvaneAlgorithm::TriMesh mesh, TextureImage image = {});

    /// \name Without asking the mesh
    /// A step that owns the mesh adds to its lists of properties meanwhile, but moves no array.
    /// @{
    std::size_t vertices() const { return vertices_; }
    std::size_t faces() const { return faces_; }
    OrvaneAlgorithm::Vector3f const* points() const { return points_; }
    OrvaneAlgorithm::Vector3f const* normals() const { return normals_; } ///< Null for none.
    OrvaneAlgorithm::Vector3f const* colors() const { return colors_; }   ///< Null for none.
    /// Of the corners of all faces, in the order of `corners`; none without a texture.
    std::optional<std::vector<float>> texcoords() const;
    /// The names of the values of vertices that files brought along.
    std::vector<std::string> const& carried() const { return carried_; }
    TextureImage const& image() const { return image_; }
    /// @}

    /// The three corners of each face, in the order in which the mesh walks them.
    std::vector<int> const& corners() const;

    /// While it lives, nobody owns the mesh. For a second mesh of a step; not with the
    /// interpreter's lock.
    MeshUse::Reading reading() const { return MeshUse::Reading(use_); }

    /// Of no use without a `Reading`.
    OrvaneAlgorithm::TriMesh const& mesh() const { return mesh_; }

    /// Runs `work(mesh, context)` on a mesh that is only read.
    template <typename Work>
    auto read(Call& call, Work const& work) const
    {
        return call.run(
            [&](Context& context)
            {
                MeshUse::Reading const reading(use_);
                return work(mesh_, context);
            });
    }

    /// The same on a mesh that gets a property for the time of the call: on this one where nobody
    /// else uses it and nobody can be called back meanwhile, otherwise on a copy.
    template <typename Work>
    auto own(Call& call, Work const& work)
    {
        return call.run(
            [&](Context& context)
            {
                if (!call.has_listener())
                {
                    MeshUse::Owning const owning(use_);
                    if (owning.is_alone())
                    {
                        return work(mesh_, context);
                    }
                }
                OrvaneAlgorithm::TriMesh copy = copied();
                return work(copy, context);
            });
    }

private:
    OrvaneAlgorithm::TriMesh copied() const;

    OrvaneAlgorithm::TriMesh mesh_;
    TextureImage image_;
    std::size_t vertices_;
    std::size_t faces_;
    OrvaneAlgorithm::Vector3f const* points_;
    OrvaneAlgorithm::Vector3f const* normals_;
    OrvaneAlgorithm::Vector3f const* colors_;
    OrvaneAlgorithm::Vector2f const* texcoords_;
    std::vector<std::string> carried_;
    mutable MeshUse use_;
    mutable std::once_flag corners_made_;
    mutable std::vector<int> corners_;
};

void bind_mesh(nb::module_& module);

} // namespace veld::python
