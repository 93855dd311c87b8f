#pragma once

#include "algorithmVeld/TextureFusion/atlas/AtlasArrangement.h"
#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/TriMesh.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What `TextureMesh` is given, and what its modules hand along.
struct ModuleWork
{
    /// How far the modules have come.
    enum class Done
    {
        NOTHING,
        PREPARED,
        PROJECTED,
        PARTITIONED,
        HOLES_FOUND,
        ALL
    };

    bool has_intrinsics = false;
    bool has_data = false;
    std::vector<int> ids;
    std::vector<TexImage> images;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> intrinsics;
    std::vector<int> order;
    TriMesh mesh;

    Done done = Done::NOTHING;
    TexProperties properties;
    std::optional<VertTexLists> vertices; ///< kept until the holes are painted
    std::vector<int> vert_chosen_tex;     ///< places in these lists, -1 for none
    std::vector<std::uint8_t> face_small_block;
    std::vector<PatchTex> patches;
    std::vector<Image<3, unsigned char>> patch_textures;
    TextureHoleFaces holes;
    RepairedHoles repaired;
    std::optional<AtlasArrangement> arrangement;
    Image<3, unsigned char> texture_image;
    std::vector<BaseTriMesh::UVCoord> uv_coords;

    void set_images(std::vector<Image<3, unsigned char>> const& photos);
};

} // namespace OrvaneAlgorithm::detail
