#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/TriangleMeasures.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <Eigen/Sparse>

#include <cstddef>
#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
struct FairingSystem;
struct Fill;
struct HoleTurn;
struct HoleWork;
struct TriangulationRule;
} // namespace detail

/// Fills given holes of a mesh with a triangulated, refined and faired surface.
///
/// Each hole is worked in a small copy of the mesh around it, so that holes are filled in parallel
/// and never see each other; the results are merged one after the other, and the new surface is
/// then faired together with a region around it as a patch of the whole mesh.
///
/// A hole that cannot be filled is logged and left as it was, and the others go on. The mesh only
/// grows: no element is deleted from it, and handles stay valid. Log lines are printed while
/// `gPH.log_enabled` is true.
///
/// Two things are left to the caller. Normals of new vertices and faces are zero after a call, and
/// those of what moved are the old ones: `update_normals` of the mesh computes them. And each run
/// adds nine properties to the mesh, which stay on it beside those of the runs before.
///
/// An object works on one mesh at a time and is not to be copied in the middle of a run.
class ALGORITHMVELD_API HoleFillingCore : public TriangleMeasures
{
public:
    /// A vertex of a mesh.
    using VertexHandle = OpenMesh::VertexHandle;
    /// A halfedge of a mesh.
    using HalfedgeHandle = OpenMesh::HalfedgeHandle;
    /// A face of a mesh.
    using FaceHandle = OpenMesh::FaceHandle;
    /// A property of the vertices.
    template <typename T>
    using VPropHandleT = OpenMesh::VPropHandleT<T>;
    /// A property of the faces.
    template <typename T>
    using FPropHandleT = OpenMesh::FPropHandleT<T>;
    /// The matrix of a linear system.
    using SparseRows = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
    /// The right side of a linear system.
    using DenseVector = Eigen::Matrix<double, Eigen::Dynamic, 1>;

    /// \name Filling holes
    /// @{

    /// Fills the holes of a mesh.
    /// \param mesh grown by the new vertices and faces; the vertices of the regions move
    /// \param holes each as its vertices in the order in which `next_halfedge_handle` walks the
    ///        boundary. One that is not such a loop is logged and left out.
    /// \param rings width of the region around a hole that is faired with it, in rings of faces
    /// \param new_faces the new faces of each hole that has some; an index is no hole's index
    /// \param new_verts the new vertices of the same holes; those of the first legal hole are not
    ///        reported
    /// \param patch_verts the vertices of each patch, new and old ones
    /// \param verbose written to `gPH.log_enabled`, and stays there
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if no hole is legal: the mesh and the outputs are
    ///         then as they were
    RetVal fill_holes_core(TriMesh& mesh, std::vector<std::vector<VertexHandle>> const& holes,
                           int rings, std::vector<std::vector<FaceHandle>>& new_faces,
                           std::vector<std::vector<VertexHandle>>& new_verts,
                           std::vector<std::vector<VertexHandle>>& patch_verts, bool verbose);

    /// The same, and tells of each given hole whether it was filled.
    /// \param mesh,holes,rings,new_faces,new_verts,patch_verts,verbose as with `fill_holes_core`
    /// \param hole_filled one entry a given hole, in their order, also on failure: then all false
    /// \return as `fill_holes_core`
    RetVal fill_holes_core_ex(TriMesh& mesh, std::vector<std::vector<VertexHandle>> const& holes,
                              std::vector<bool>& hole_filled, int rings,
                              std::vector<std::vector<FaceHandle>>& new_faces,
                              std::vector<std::vector<VertexHandle>>& new_verts,
                              std::vector<std::vector<VertexHandle>>& patch_verts, bool verbose);

    /// Fills one hole. The arguments are those of `fill_holes_core`, for one hole.
    /// \param mesh,hole,rings,new_faces,patch_verts,verbose as with `fill_holes_core`
    /// \param new_verts always empty after success: the hole is the first legal one
    /// \return `RET_SUCCESS` also for a legal hole that stays open: all lists are empty then
    RetVal fill_single_hole_core(TriMesh& mesh, std::vector<VertexHandle> const& hole, int rings,
                                 std::vector<FaceHandle>& new_faces,
                                 std::vector<VertexHandle>& new_verts,
                                 std::vector<VertexHandle>& patch_verts, bool verbose);

    /// The same, and tells whether the hole was filled.
    /// \param mesh,hole,rings,new_faces,new_verts,patch_verts,verbose the same
    /// \param filled false on failure
    /// \return as `fill_single_hole_core`
    RetVal fill_single_hole_core_ex(TriMesh& mesh, std::vector<VertexHandle> const& hole,
                                    bool& filled, int rings, std::vector<FaceHandle>& new_faces,
                                    std::vector<VertexHandle>& new_verts,
                                    std::vector<VertexHandle>& patch_verts, bool verbose);

    /// The holes of the last run that stayed open, as they were given, and why.
    std::vector<OpenHole> const& open_holes() const { return open_holes_; }

    /// @}
    /// \name Settings
    /// @{

    /// Order of the fairing: 0 continues the surface in position (C0), 1 in its tangent planes
    /// (C1), 2 in its curvature (C2). Any other value is ignored.
    void set_smooth_type(int smooth_type);

    /// Number of rounds of the refinement.
    void set_refine_rounds(int refine_rounds) { refine_rounds_ = refine_rounds; }
    /// Edge length above which the refinement splits, in millimetres. `main_process` sets it to 1.5
    /// times the mesh's mean edge length; for those who run the refinement by itself.
    void set_long_edge_thr(double long_edge_thr) { long_edge_thr_ = long_edge_thr; }
    /// Whether the triangulation counts only folds, and no smaller dihedral angles.
    void set_flat_weight(bool flat_weight) { flat_weight_ = flat_weight; }
    /// Number of hole vertices from which on the triangulation looks at every second, third and so
    /// on split only. Less than 1 is taken as 1.
    void set_triangulation_sample_num(int number) { triangulation_sample_num_ = number; }
    /// Whether holes of more than `hole_verts_thr` vertices are left open.
    void set_use_hole_vert_num_thr(bool use) { use_hole_vert_num_thr_ = use; }
    /// Only logged; no hole is left open for its perimeter.
    void set_use_hole_perimeter_thr(bool use) { use_hole_perimeter_thr_ = use; }
    /// The largest hole that is filled while the limit is on, in vertices; 300 by default.
    void set_hole_verts_thr(int vertices) { hole_verts_thr_ = vertices; }
    /// Patches of more vertices than this are not faired.
    void set_fairing_verts_thr(int vertices) { fairing_verts_thr_ = vertices; }
    /// Patches of fewer vertices than this are not faired.
    void set_fairing_min_verts_thr(int vertices) { fairing_min_verts_thr_ = vertices; }
    /// Whether, with logging on, the sub-mesh of each hole is written to `gPH.result_dir` after
    /// each step.
    void set_enable_file_saving(bool enable) { enable_file_saving_ = enable; }

    /// @}
    /// \name Steps of a run
    /// They work on the mesh of the current run. Outside a run there is none: they log that and do
    /// nothing, and those with a result return one that is not success.
    /// @{

    /// Turns a hole's vertices into its boundary halfedges, one from each vertex to the next.
    /// \param verts the vertices, in the order of the boundary
    /// \param halfedges appended to, up to the first vertex that does not fit
    /// \return `RET_INVALID_INPUT` if there are fewer than 3 vertices, or one is not on a boundary
    ///         or not joined to the next
    RetVal create_hole_cell_from_verts(std::vector<VertexHandle> const& verts,
                                       std::vector<HalfedgeHandle>& halfedges);
    /// Runs all steps on `holes_`. \return `RET_SUCCESS`; `RET_FAILED` outside a run
    RetVal main_process();
    /// Measures the mean edge length, and sets the length above which the refinement splits.
    void calc_avg_edge_len();
    /// Lists in `regions_` the faces around each hole.
    void find_holes_region();
    /// Triangulates, refines and merges all holes.
    void process_holes_expanded();
    /// Lists what the run made.
    /// \param new_faces,new_verts,patch_verts as with `fill_holes_core`
    void get_extra_filling_info(std::vector<std::vector<FaceHandle>>& new_faces,
                                std::vector<std::vector<VertexHandle>>& new_verts,
                                std::vector<std::vector<VertexHandle>>& patch_verts);
    /// Logs the settings.
    void show_hole_filling_param();
    /// Logs how many elements are old, new and of regions.
    void show_mesh_info();
    /// With logging and file saving on, writes the mesh to `gPH.result_dir`/`name`.
    void save_mesh(std::string const& name);
    /// With logging on, writes the region of each hole to `gPH.result_dir` as text OBJ.
    void save_holes();

    /// @}
    /// \name Triangulation and refinement of one hole
    /// They work on any mesh with a hole, one thread a mesh, and read the settings only.
    /// @{

    /// Closes a hole with a triangulation of its polygon, by dynamic programming: every part of the
    /// polygon takes the split with the smallest largest dihedral angle and, of those, the smallest
    /// area, given what its two smaller parts have chosen before. That need not be the smallest
    /// angle of all triangulations of the polygon. A hole of n vertices takes about 12 n^2 bytes
    /// meanwhile, 1.2 GB for 10 000; what cannot be allocated is thrown before a face is added.
    /// \param mesh grown by the new faces; a face that the mesh refuses is left out. Stored face
    ///        normals are used; without them they are computed from the coordinates.
    /// \param loop the boundary halfedges of the hole, in order
    /// \param face_new set to true on the new faces
    /// \return false, without a new face, if a halfedge has no face on its other side, or if the
    ///         triangulation has an angle above 179.5 degrees
    bool hole_triangulation(TriMesh& mesh, std::vector<HalfedgeHandle>& loop,
                            FPropHandleT<bool>& face_new) const;

    /// Cost of the triangle of corners `i` < `m` < `j` of a hole's polygon.
    /// \param mesh with that hole
    /// \param i,m,j the corners, by their places in `verts`
    /// \param verts,faces the polygon's vertices, and the face across the edge from each to the
    ///        next
    /// \param lambda chosen split of each sub-polygon a..b, at a * n + b
    /// \param angle the largest angle, in degrees, to the neighbours on the sides i-m and m-j, and
    ///        on j-i where that closes the polygon
    /// \param area the triangle's area, with 1000 added for needles and for folds
    /// \param edge_exist whether an edge a-b exists already, at a * n + b
    void calc_weight(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                     std::vector<FaceHandle> const& faces, std::vector<int> const& lambda, int i,
                     int m, int j, float& angle, float& area,
                     std::vector<bool> const& edge_exist) const;

    /// Adds the triangles that the splits choose for the corners `i` to `j`: those left of the
    /// split, the split's own, those right of it.
    /// \param mesh grown by the triangles
    /// \param verts the polygon's vertices
    /// \param lambda chosen split of each sub-polygon a..b, at a * n + b
    /// \param i,j the first and the last corner
    /// \param face_new set to true on the faces that the mesh takes
    void find_best_weight(TriMesh& mesh, std::vector<VertexHandle> const& verts,
                          std::vector<int> const& lambda, int i, int j,
                          FPropHandleT<bool>& face_new) const;

    /// Splits new faces at their centroids until their edges fit the mesh's, and flips edges
    /// between new faces. Ends with a garbage collection: handles of this mesh change.
    /// \param mesh grown by what the splits make
    /// \param face_new the faces that may change; kept up to date
    /// \param vert_new set to true on new vertices
    /// \param vert_boundary set to false on new vertices
    /// \param vert_edge_len mean edge length at each vertex; without influence on the result
    /// \return true
    bool hole_refinement_ex(TriMesh& mesh, FPropHandleT<bool>& face_new,
                            VPropHandleT<bool>& vert_new, VPropHandleT<bool>& vert_boundary,
                            VPropHandleT<float>& vert_edge_len) const;

    /// Flips the edge `a`-`b` between two new faces if the other diagonal fits better, or equally
    /// well.
    /// \param mesh keeps its number of elements
    /// \param face_new the faces that may change
    /// \param f face on one side, with the third vertex `c`
    /// \param h halfedge of the face on the other side
    /// \param a,b,c the ends of the edge, and that third vertex
    /// \return whether the edge was flipped
    bool swap_edge(TriMesh& mesh, FPropHandleT<bool>& face_new, FaceHandle& f, HalfedgeHandle& h,
                   VertexHandle& a, VertexHandle& b, VertexHandle& c) const;

    /// @}
    /// \name Fairing
    /// @{

    /// Gathers new vertices and those of the regions to patches, one for each connected set that
    /// has a new vertex and fixed surroundings.
    void create_smooth_patch();
    /// Moves the patches so that the first (C0), second (C1) or third (C2) power of the Laplace
    /// operator vanishes on them. A patch that is too small, too large or cannot be solved stays as
    /// it is.
    /// \return true; false outside a run
    bool fairing_patch_C0();
    /// As `fairing_patch_C0`, for tangent planes. \return true; false outside a run
    bool fairing_patch_C1();
    /// As `fairing_patch_C0`, for curvature. \return true; false outside a run
    bool fairing_patch_C2();
    /// Sum of the cotangents of the angles opposite to the edge from `v` to `u`.
    /// \return false, with a weight of 1, where there is no such edge with two faces
    bool calc_cot_weight(TriMesh const& mesh, VertexHandle const& v, VertexHandle const& u,
                         double& weight) const;
    /// Solves `a` x = `b`.
    /// \param a the matrix, by rows
    /// \param b the right side
    /// \param x cleared before it is filled
    /// \return false if the solver reports an error
    bool MKL_Pardiso(SparseRows const& a, DenseVector const& b, std::vector<double>& x) const;
    /// Log the vertices where the fairing's equation is not met. Nothing is changed.
    void check_C0_value();
    /// As `check_C0_value`, for tangent planes.
    void check_C1_value();
    /// As `check_C0_value`, for curvature.
    void check_C2_value();

    /// @}

protected:
    TriMesh* mesh_ = nullptr;                        ///< Mesh of the current run, else none.
    int weight_type_ = 0;                            ///< Fairing weights: 0 uniform.
    int smooth_type_ = 1;                            ///< Fairing order: 0 C0, 1 C1, 2 C2.
    std::vector<std::vector<HalfedgeHandle>> holes_; ///< Boundary loops of the legal holes.
    std::vector<std::vector<FaceHandle>> regions_;   ///< Faces around each hole.
    std::vector<bool> hole_done_;                    ///< Which of `holes_` were merged.
    std::vector<bool> hole_result_;                  ///< The same for the holes as given.
    std::vector<std::vector<VertexHandle>> patches_; ///< Fairing patches.
    VPropHandleT<float> vert_edge_len_prop_;         ///< Mean edge length at a region's vertex.
    double avg_edge_len_ = 0.0;                      ///< Mean edge length of the mesh.
    double long_edge_thr_ = 0.0;                     ///< 1.5 times `avg_edge_len_`.
    FPropHandleT<bool> face_new_prop_;               ///< Face was made by filling.
    FPropHandleT<int> face_hole_prop_;               ///< Hole that made the face, else -1.
    FPropHandleT<bool> face_region_prop_;            ///< Face lies in a region.
    VPropHandleT<bool> vert_new_prop_;               ///< Vertex was made by filling.
    VPropHandleT<int> vert_hole_prop_;               ///< Hole that made the vertex, else -1.
    VPropHandleT<bool> vert_region_prop_;            ///< Vertex lies on a region face.
    VPropHandleT<int> vert_patch_prop_;              ///< Patch of the vertex, else -1.
    VPropHandleT<int> vert_patch_index_prop_;        ///< Position in the patch, else -1.
    int topology_dis_thr_ = 3;                       ///< Region width in rings of faces.
    float dijkstra_dis_thr_ = 0.0F;                  ///< Region width as a path length.
    float density_thr_ = 1.0F;                       ///< Not read.
    float angle_thr_ = 0.04363323F;                  ///< Not read; 2.5 degrees.
    int refine_rounds_ = 10;                         ///< Rounds of the refinement.
    bool flat_weight_ = false;                       ///< Only folds count as angles.
    int triangulation_sample_num_ = 400;             ///< Sets the stride of the split search.
    bool use_hole_vert_num_thr_ = false;             ///< Skip holes with many vertices.
    bool use_hole_perimeter_thr_ = true;             ///< Logged only.
    int hole_verts_thr_ = 300;                       ///< Largest hole, if that is limited.
    int fairing_verts_thr_ = 20000;                  ///< Largest system of the fairing.
    int fairing_min_verts_thr_ = 5;                  ///< Smallest system of the fairing.
    bool enable_file_saving_ = false;                ///< With logging on, write debug meshes.

private:
    void begin_run(std::size_t n_holes, int rings);
    bool has_mesh() const;
    void add_run_properties();
    void fair_patches();

    void create_sub_mesh(std::size_t hole, detail::HoleWork& work) const;
    void triangulate_hole(std::size_t hole, detail::HoleWork& work,
                          detail::HoleTurn const* turn) const;
    void refine_hole(std::size_t hole, detail::HoleWork& work) const;
    void merge_holes(std::vector<detail::HoleWork>& works);
    bool merge_hole(std::size_t hole, detail::Fill const& fill);
    std::vector<VertexHandle> loop_vertices(std::size_t hole) const;
    void save_sub_mesh(std::size_t hole, detail::HoleWork const& work, char const* pattern,
                       char const* step) const;

    bool fair(int order);
    void check(int order, char const* format);

    detail::TriangulationRule triangulation_rule() const;
    detail::FairingSystem fairing_system(int order) const;

    std::vector<VertexHandle> movable_vertices() const;

    std::vector<OpenHole> open_holes_;
    std::vector<VertexHandle> region_verts_; ///< Vertices on the faces of regions.
    std::size_t old_verts_ = 0;              ///< Number before the run; those behind are new.
    std::size_t old_faces_ = 0;
};

} // namespace OrvaneAlgorithm
