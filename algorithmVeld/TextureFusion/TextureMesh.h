#pragma once

#include "algorithmVeld/TextureFusion/BehindCamera.h"
#include "algorithmVeld/TextureFusion/TextureCounts.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <memory>
#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
struct ModuleWork;
}

/// Turns photographs with known poses into the texture of a mesh, as `TextureFusion` does, in five
/// modules that a host may call one by one, and writes it as OBJ, MTL and JPG. What differs:
///
/// - All photographs have one size, and are taken in their given order.
/// - Coordinates point at whole pixels, rounded, and the rim of a photograph counts.
/// - Borders of blocks are smoothed by the faces across edges alone, in one pass.
/// - Corrections are prescribed along whole edges of seams, not at their ends only.
/// - A hole is looked at along the normal of the surface around it, and has its rim in its image.
/// - Pieces of the atlas lie one beside the other, the high ones first, without a limit for the
///   whole.
///
/// There are two ways in: `texture_fusion`, or `set_cam_intrinsic` and `set_data` in any order,
/// then `process_fusion` and `get_textured_mesh`. The result is the same for any number of threads.
/// An object may not be used from two threads at once. A copy is deep.
class ALGORITHMVELD_API TextureMesh
{
public:
    TextureMesh();
    TextureMesh(TextureMesh const& other);
    TextureMesh& operator=(TextureMesh const& other);
    ~TextureMesh();

    /// Forgets that there is data, and gives the files their first name again.
    void initialize();

    /// \param list the intrinsics of each view, in pixels, without distortion. Those of the first
    ///        one serve all texture holes. An empty list throws std::out_of_range, and those of
    ///        before are gone.
    void set_cam_intrinsic(std::vector<CameraInParam> const& list);

    /// Copies what is to be textured. Nothing changes if `ids` is empty, or the mesh has fewer than
    /// three vertices or no face.
    /// \param ids the caller's numbers of the views, one for each
    /// \param images the photographs, all of one size
    /// \param poses world to camera, for each
    /// \param mesh in millimetres; what is marked deleted goes from the copy
    void set_data(std::vector<int> const& ids, std::vector<Image<3, unsigned char>> const& images,
                  std::vector<RigidMatrix> const& poses, TriMesh const& mesh);

    /// Takes the views in a random order, the same each time, from here to the next `set_data`: a
    /// vertex collects only the first views that see it.
    void shuffle_image_texture_order();

    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if data is missing, the lists differ in length,
    ///         or the images are empty or of different sizes; only of the last the log is not told
    RetVal check_data();

    /// Runs all modules, and writes the model where files are saved.
    /// \return what `check_data` finds wrong, or else the result of `module_compute_texture`
    RetVal process_fusion();

    /// \name The modules, in their order
    /// `process_fusion` prepares the mesh for them and runs them. By themselves they run again on
    /// what it has left. Without that, or without the module before, the result is
    /// `RET_INVALID_INPUT`.
    /// @{

    /// Finds the views that see the vertices and the faces.
    RetVal module_projection();
    /// Makes large blocks of one view, and patches of these.
    RetVal module_boundary_optimization();
    /// Corrects the patches' colours at their seams. \return `RET_FAILED` without a patch
    RetVal module_boundary_fusion();
    /// Paints faces without a view from their surroundings. \return `RET_SUCCESS`
    RetVal module_tex_hole_repair();
    /// Lays the atlas out and computes coordinates in it. \return `RET_FAILED` if that fails: among
    /// others without a patch, or if no pixel is left for faces without a colour
    RetVal module_compute_texture();
    /// @}

    /// The mesh with its texture, after `process_fusion`.
    /// \return `RET_INVALID_INPUT` if there is none; `mesh` is untouched then
    RetVal get_textured_mesh(BaseTriMesh& mesh) const;

    /// Textures a mesh. Whatever comes of it, the object holds no data behind it.
    /// \param mesh its faces that a half-edge mesh cannot hold go; what stays keeps its order. It
    ///        gets the texture and normals. Untouched unless the result is `RET_SUCCESS`.
    /// \param images the photographs, all of one size
    /// \param poses the pose of each, world to camera
    /// \param intrinsics those of each
    /// \param verbose written to the log switch of `gPH`, and left there
    /// \return `RET_INVALID_INPUT` if the lists differ in length, or for what `check_data` finds;
    ///         the result of `process_fusion`
    RetVal texture_fusion(BaseTriMesh& mesh, std::vector<Image<3, unsigned char>> const& images,
                          std::vector<RigidMatrix> const& poses,
                          std::vector<CameraInParam> const& intrinsics, bool verbose);

    /// What the last `process_fusion` made, by whichever way; all 0 before it, and where data was
    /// missing. Where it failed, what was seen is known; with patches, only a pixel for faces
    /// without a colour can have been missing.
    TextureCounts const& counts() const { return counts_; }

    /// The pixels of a straight line. They may start at either end.
    /// \param line column and row of one end, column and row of the other
    /// \param out gets column and row of each pixel, so it has room for 2 * (1 + the larger of both
    ///        distances) numbers
    /// \param count replaced by the number of pixels
    static void draw_image_line(int const line[4], int* out, int& count);

    /// How far a vertex may lie behind what is seen at its pixel, to count as seen; 1 mm.
    void set_dis_thr(float length) { dis_thr = length; }
    /// Lowest cosine between the normal of a vertex and the way to the camera; 0.
    void set_norm_thr(float cosine) { norm_thr = cosine; }
    /// Pieces and blocks of so many faces or fewer are small; 50.
    void set_small_region_face_thr(int faces) { small_region_face_thr = faces; }
    /// A vertex takes part in so many photographs at most; 10.
    void set_vertex_tex_num_thr(int views) { vertex_tex_num_thr = views; }
    /// What becomes of what lies behind a camera; it is seen.
    void set_behind_camera(BehindCamera behind) { behind_camera = behind; }
    /// Pixels between the pieces of the atlas; 3, at least 0 and at most 65535.
    void set_sub_tex_gap(int pixels);
    /// Whether to write the model, and the stages as coloured meshes, to `result_dir` of `gPH`
    /// while the log switch is on; true.
    void set_enable_file_saving(bool enabled) { enable_file_saving = enabled; }
    /// Name of the model's files without extension; "9-texture-model".
    void set_texture_name(std::string const& name) { texture_name_ = name; }

private:
    void display_param() const;
    void mesh_request_properties();
    bool save_files() const;
    template <typename Save>
    void save(char const* step, Save const& save_file) const;
    bool fill_tex_hole();
    bool arrange_sub_textures();
    bool arrange_hole_sub_textures();
    bool recompute_texture_coord();
    bool recompute_hole_texture_coord();
    TextureCounts count() const;

    float dis_thr = 1.0F;
    float norm_thr = 0.0F;
    int small_region_face_thr = 50;
    int vertex_tex_num_thr = 10;
    BehindCamera behind_camera = BehindCamera::SEEN;
    bool enable_file_saving = true;
    int sub_tex_gap = 3;
    std::string texture_name_ = "9-texture-model";
    TextureCounts counts_;
    std::unique_ptr<detail::ModuleWork> work_; ///< the data, and what the modules hand along
};

} // namespace OrvaneAlgorithm
