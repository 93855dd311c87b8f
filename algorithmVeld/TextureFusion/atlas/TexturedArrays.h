#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/common/BaseTriMesh.h"

#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Gives the arrays of a half-edge mesh its texture.
/// \return how many faces the arrays lack: held to be impossible
inline std::size_t add_texture(TriMesh const& mesh, TexProperties const& properties,
                               Image<3, unsigned char> atlas,
                               std::vector<BaseTriMesh::UVCoord> coordinates, BaseTriMesh& arrays)
{
    arrays.enable_texture();
    arrays.texture_image = std::move(atlas);
    arrays.texture_coords = std::move(coordinates);
    std::size_t n_missing = 0;
    for (auto const face : mesh.all_faces())
    {
        auto const f = static_cast<std::size_t>(face.idx());
        if (f >= arrays.get_fn())
        {
            ++n_missing;
            continue;
        }
        arrays.set_face_texture_id(f, mesh.property(properties.face_uv_index, face));
    }
    return n_missing;
}

} // namespace OrvaneAlgorithm::detail
