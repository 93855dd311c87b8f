#pragma once

#include "algorithmVeld/TextureFusion/BehindCamera.h"
#include "algorithmVeld/TextureFusion/TextureCounts.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/export.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm
{

/// Turns photographs with known poses into the texture of a mesh: one atlas, one list of texture
/// coordinates, and three indices into that list for each face.
///
/// Each face takes its colour from one photograph: of those that see all its corners the most
/// frontal one, changed so that few large blocks of one photograph come about. Where blocks of
/// different photographs meet, their colours are corrected so that no seam shows, by a field that
/// is smooth inside each block. Faces that no photograph sees get a colour from those around them,
/// as far as there are any; the others are black.
///
/// What is seen is decided by a depth buffer of the vertices alone. Far vertices therefore show
/// between near ones that are more than three pixels apart: about one vertex for each two or three
/// pixels is right. Lengths are millimetres; a mesh of another unit is scaled together with the
/// poses.
///
/// The result is the same for any number of threads. An object keeps its settings between calls and
/// the counts of the last one; it may not be used from two threads at once.
class ALGORITHMVELD_API TextureFusion
{
public:
    TextureFusion() = default;
    TextureFusion(TextureFusion const&) = default;
    TextureFusion& operator=(TextureFusion const&) = default;
    ~TextureFusion() = default;

    /// Textures a mesh. The photographs are copied for the time of the call.
    /// \param mesh its faces that a half-edge mesh cannot hold go, see
    ///        `BaseTriMesh_convert_to_TriMesh`; what stays keeps its order. It gets the texture,
    ///        face normals, and vertex normals that are smoothed over their neighbours. An older
    ///        texture goes, and so do flags.
    /// \param images the photographs, of any sizes
    /// \param rts the pose of each, world to camera; the camera looks along its z axis, x to the
    ///        right and y down in the photograph
    /// \param intrinsics those of each, in pixels, without distortion
    /// \param verbose written to the log switch of `gPH`, and left there
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if the lists differ in length, or there is no
    ///         face or no photograph; `RET_FAILED` if no photograph sees a piece of more than
    ///         `small_region_face_thr` connected faces, or if the atlas cannot be laid out.
    ///         The mesh is untouched unless the result is `RET_SUCCESS`, also after an exception.
    RetVal texture_fusion(BaseTriMesh& mesh, std::vector<Image<3, unsigned char>> const& images,
                          std::vector<RigidMatrix> const& rts,
                          std::vector<CameraInParam> const& intrinsics, bool verbose);

    /// What the last call made; all 0 before it. Where it failed, only what was seen is known.
    TextureCounts const& counts() const { return counts_; }

    /// Whether colours are solved for by `MKL_Pardiso`, one unknown for each pixel and channel,
    /// instead of by one system that the channels share. The corrections are the same;
    /// a painted hole has its rim in its image only with it. Off by default.
    void set_use_mkl_solver(bool enabled) { use_mkl_solver = enabled; }
    /// How far a vertex may lie behind what is seen at its pixel, to count as seen; 1 mm by
    /// default.
    void set_dis_thr(float length) { dis_thr = length; }
    /// Lowest cosine between the normal of a vertex and the way to the camera; 0 by default, as
    /// flat as can be.
    void set_norm_thr(float cosine) { norm_thr = cosine; }
    /// Pieces and blocks of so many faces or fewer are small: the first lose their photograph, the
    /// second go to those around them. 50 by default.
    void set_small_region_face_thr(int faces) { small_region_face_thr = faces; }
    /// A vertex takes part in so many photographs at most, the first that see it in an order that
    /// goes through all places of the cameras; 10 by default, 0 or less for none.
    void set_vertex_tex_num_thr(int views);
    /// Largest rectangle of a hole of more than `hole_vertex_limit` vertices that is painted, in
    /// multiples of the pixels of one photograph; 1 by default.
    void set_hole_area_ratio(float ratio) { hole_area_ratio = ratio; }
    /// Up to so many vertices a hole may be of any size; 10000 by default.
    void set_hole_vertex_limit(int vertices) { hole_vertex_limit = vertices; }
    /// Largest rectangle of any hole that is painted, in pixels, however few vertices it has; no
    /// limit by default. One vertex far away makes a rectangle that takes all memory.
    void set_hole_pixel_limit(std::int64_t pixels) { hole_pixel_limit = pixels; }
    /// What becomes of what lies behind a camera; it is seen by default.
    void set_behind_camera(BehindCamera behind) { behind_camera = behind; }
    /// Pixels at the edge of a photograph that do not count; 3 by default, at least 0.
    void set_image_border(int pixels);
    /// Pixels between the pieces of the atlas; 1 by default. Fewer than 0 cannot be laid out.
    void set_packing_gap(int pixels) { packing_gap = pixels; }
    /// Pixels around a block, and around a hole, that its piece of the atlas holds too; 3 by
    /// default, from 0 to 65535.
    void set_patch_margin(int pixels);
    /// Whether to write the stages as coloured meshes to `result_dir` of `gPH`, while the log
    /// switch is on. Off by default.
    void set_enable_file_saving(bool enabled) { enable_file_saving = enabled; }

private:
    struct Work;

    RetVal process_fusion(Work& work) const;
    void mesh_request_properties(Work& work) const;
    bool project_tex(Work& work) const;
    void optimize_block(Work& work) const;
    void partition_mesh_by_face(Work& work) const;
    bool poisson_solve_color_diff(Work& work) const;
    void poisson_hole_filling(Work& work) const;
    bool compute_coord(Work& work) const;
    void compute_hole_tex_coord(Work& work) const;
    void show_texture_fusion_param() const;
    template <typename Save>
    void save(char const* step, Save const& save_files) const;

    bool use_mkl_solver = false;
    float dis_thr = 1.0F;
    float norm_thr = 0.0F;
    int small_region_face_thr = 50;
    int vertex_tex_num_thr = 10;
    float hole_area_ratio = 1.0F;
    int hole_vertex_limit = 10000;
    std::int64_t hole_pixel_limit = std::numeric_limits<std::int64_t>::max();
    BehindCamera behind_camera = BehindCamera::SEEN;
    int image_border = 3;
    int packing_gap = 1;
    int patch_margin = 3;
    bool enable_file_saving = false;
    TextureCounts counts_;
};

} // namespace OrvaneAlgorithm
