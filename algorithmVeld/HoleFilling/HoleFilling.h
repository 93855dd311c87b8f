#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/TriangleMeasures.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <Eigen/Sparse>

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

namespace detail
{
struct HoleSubMesh;
struct HoleTurn;
struct HoleWork;
struct TriangulationRule;
} // namespace detail

/// Fills every hole of a mesh that it finds, each in a small copy of the mesh around it, all the
/// way from the triangulation to the fairing.
///
/// What lies close around a hole is often the worst of a scan. So the region of each hole is cut
/// away before it is filled, or smoothed, or left as it is (`set_region_process_type`). Holes of up
/// to five edges are closed with ears before that.
///
/// `HoleFillingCore` is the neighbour for holes that the host has chosen. It fairs the new surface
/// together with a region around it, leaves the old faces where they are, and splits by one edge
/// length for the whole mesh; this class splits by the edge lengths around each hole, and moves no
/// vertex of the old surface unless it smooths the region.
///
/// The triangulation follows P. Liepa, "Filling Holes in Meshes" (2003), and so does the scale of
/// the refinement; the fairing solves the bi-Laplacian of Kobbelt et al., "Interactive
/// Multi-Resolution Modeling on Arbitrary Meshes" (1998).
///
/// A hole that cannot be filled is logged and stays open, with its region cut away if that was
/// asked for, and the others go on. Log lines are printed while `gPH.log_enabled` is true. The
/// result is the same for any number of threads. An object works on one mesh at a time.
class ALGORITHMVELD_API HoleFilling : protected TriangleMeasures
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

    HoleFilling() = default;
    HoleFilling(HoleFilling const&) = default;
    HoleFilling& operator=(HoleFilling const&) = default;
    virtual ~HoleFilling() = default;

    /// Fills the holes of a mesh.
    ///
    /// Cutting comes before filling: a small open mesh that lies within the region of its own
    /// border is eaten completely. Vertices whose faces were cut away stay in the mesh, without
    /// faces.
    /// \param mesh gets the result at the end, and vertex and face normals with it; those of new
    ///        elements are not computed. If an exception leaves the call it is as it was. Handles
    ///        of faces and edges change where regions are cut away.
    /// \return `RET_SUCCESS` in all cases; `open_holes` tells what stayed open
    RetVal holes_filling(TriMesh& mesh);

    /// The holes of the last run that stayed open, by vertices of the mesh that came out, and why.
    std::vector<OpenHole> const& open_holes() const { return open_holes_; }
    /// How many new vertices the fills of the last run had that were too large to be faired.
    std::vector<std::size_t> const& unfaired_fills() const { return unfaired_fills_; }

    /// \name Settings
    /// @{

    /// What happens to the region around each hole before it is filled: 0 smoothed, 1 (the default)
    /// cut away, any other value neither.
    void set_region_process_type(int type) { region_process_type_ = type; }
    /// Weights of the fairing: 0 uniform, any other value (the default is 1) one over the edge's
    /// length.
    void set_weight_type(int type) { weight_type_ = type; }
    /// Width of the regions in rings of faces. They are no wider than ten mean edge lengths, too.
    void set_topology_dis_thr(int rings) { topology_dis_thr_ = rings; }
    /// Smaller values split more: a face is split where a corner is further from its centroid than
    /// the edge lengths around both, divided by this.
    void set_density_thr(float density) { density_thr_ = density; }
    /// Faces with a corner narrower than this are not split, in radians.
    void set_angle_thr(float angle) { angle_thr_ = angle; }
    /// How much `fairing_minimization_with_SimplicialCholesky` holds on to the border.
    void set_fairing_lambda(double lambda) { fairing_lambda_ = lambda; }
    /// Whether the triangulation counts only folds, and no smaller dihedral angles.
    void set_flat_weight(bool flat_weight) { flat_weight_ = flat_weight; }
    /// Number of hole vertices from which on the triangulation looks at every second, third and so
    /// on split only. Less than 1 is taken as 1.
    void set_triangulation_sample_num(int number) { triangulation_sample_num_ = number; }
    /// Holes of more edges than this stay open.
    void set_hole_verts_thr(int vertices) { hole_verts_thr_ = vertices; }
    /// Leaves loops alone whose perimeter is not below a length in millimetres, such as the outer
    /// border of an open scan, and with them what the cut joins to them. 0, the default, takes the
    /// limit away.
    void set_max_perimeter(double length) { max_perimeter_ = length; }
    /// Leaves loops alone whose fill would, on the whole, turn away from the faces along the rim by
    /// more than an angle in degrees: the outlines of loose pieces, whose backs are no holes. 180,
    /// the default, takes the limit away.
    void set_rim_angle_thr(double degrees) { rim_angle_thr_ = degrees; }
    /// Fills of more new vertices than this are not faired.
    void set_fairing_verts_thr(int vertices) { fairing_verts_thr_ = vertices; }
    /// Holes of up to so many edges are closed with ears before all others.
    void set_tiny_hole_edges(int edges) { tiny_hole_edges_ = edges; }
    /// Whether the loops of a boundary that touches itself are holes of their own, as a search for
    /// holes finds them. Off by default: such a boundary is one hole.
    void set_take_apart(bool enabled) { take_apart_ = enabled; }
    /// Whether, with logging on, the mesh and the sub-mesh of each hole are written to
    /// `gPH.result_dir` after each step.
    void set_enable_file_saving(bool enable) { enable_file_saving_ = enable; }

    /// @}

protected:
    /// \name Steps of a run, on `mesh_`
    /// @{

    /// Computes the normals of the mesh, adds the properties of the run, and measures the mesh.
    void preprocessing();
    /// Measures edges, faces and valences of the mesh, for the other steps and the log.
    void calc_mesh_fea();
    /// Closes holes of few edges with ears.
    void fill_tiny_holes();
    /// Lists the boundary loops in `holes_`.
    void find_holes_ordered_halfedges();
    /// Grows the regions around the holes.
    void expand_holes();
    /// Grows `regions_` around `holes_` and flags their faces in `face_region_prop_`.
    void calc_mesh_prop_value();
    /// Smooths the regions around the holes.
    void smooth_holes_region();
    /// Cuts the regions around the holes away.
    void delete_hole_region();
    /// Fills all of `holes_`.
    void process_holes();
    /// Fills one of `holes_`. \return false if it stays open, or partly open
    bool hole_filling(int hole);
    /// With logging and file saving on, writes the mesh to `gPH.result_dir`/`name`.
    void save_mesh(std::string const& name);
    /// With logging on, writes the region of each hole to `gPH.result_dir`.
    void save_holes();

    /// @}
    /// \name Steps for one hole, on a mesh with that hole
    /// @{

    /// Closes a hole with a triangulation of its rim, as `HoleFillingCore::hole_triangulation`.
    /// \param mesh grown by the new faces
    /// \param loop the boundary halfedges of the hole, in order
    /// \param face_new set to true on the new faces
    /// \return false, without a new face, if the hole cannot be closed
    bool hole_triangulation(TriMesh& mesh, std::vector<HalfedgeHandle>& loop,
                            FPropHandleT<bool>& face_new) const;
    /// Splits new faces at their centroids until they are as dense as the mesh around the hole, and
    /// flips edges between new faces. Handles change.
    /// \param mesh grown by what the splits make
    /// \param face_new the faces that may change; kept up to date
    /// \param vert_new set to true on new vertices
    /// \param vert_boundary set to false on new vertices
    /// \param vert_edge_len mean edge length at each vertex; that of a new vertex is the mean of
    ///        the three around it
    /// \return true
    bool hole_refinement(TriMesh& mesh, FPropHandleT<bool>& face_new, VPropHandleT<bool>& vert_new,
                         VPropHandleT<bool>& vert_boundary,
                         VPropHandleT<float>& vert_edge_len) const;
    /// Evens out the vertices of the fill, each within its tangent plane.
    void smooth_hole_inner_patch(TriMesh& mesh, VPropHandleT<bool>& active) const;
    /// Moves the new vertices so that the surface continues what surrounds the hole.
    /// \return true, also where they were left where they are
    bool hole_fairing(TriMesh& mesh, FPropHandleT<bool>& face_new, VPropHandleT<bool>& vert_new,
                      VPropHandleT<bool>& vert_boundary) const;

    /// Solves the bi-Laplacian on the flagged vertices, by the direct solver in spite of its name.
    bool fairing_minimization_with_SparseLU(TriMesh& mesh, VPropHandleT<bool>& inner) const;
    /// The same.
    bool fairing_minimization_with_ConjugateGradient(TriMesh& mesh,
                                                     VPropHandleT<bool>& inner) const;
    /// Moves the new vertices to where the squares of their Laplacians, and those of how far the
    /// border would move, weighted with `fairing_lambda_`, add up to the least.
    /// \return false if the system cannot be solved: nothing has moved then
    bool fairing_minimization_with_SimplicialCholesky(TriMesh& mesh, FPropHandleT<bool>& face_new,
                                                      VPropHandleT<bool>& vert_new,
                                                      VPropHandleT<bool>& vert_boundary) const;
    /// Moves each flagged vertex, in one pass, to the mean of its neighbours weighted with one over
    /// their distance.
    void fairing_plane(TriMesh& mesh, VPropHandleT<bool>& inner) const;
    /// Whether nine tenths of the old faces, needles left out, are within ten degrees of their
    /// mean.
    bool is_flat_hole(TriMesh& mesh, FPropHandleT<bool>& face_new) const;
    /// Logs how many elements there are, and the normals with coordinates that are no numbers.
    void verify_mesh(TriMesh& mesh) const;
    /// Solves `a` x = `b`.
    /// \param a the matrix, by rows
    /// \param b the right side
    /// \param inner number of vertices, for the log
    /// \param x cleared before it is filled
    /// \return false if the solver reports an error
    bool MKL_Pardiso(SparseRows const& a, DenseVector const& b, int inner,
                     std::vector<double>& x) const;

    /// @}
    /// \name Geometry
    /// @{

    /// As in `HoleFillingCore`, with a thousand mean face areas in place of 1000.
    void calc_weight(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                     std::vector<FaceHandle> const& faces, std::vector<int> const& lambda, int i,
                     int m, int j, float& angle, float& area,
                     std::vector<bool> const& edge_exist) const;
    /// Centre and radius of the circle through three points; not finite for points on a line.
    static void calc_tri_circum_circle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                       Vector3f& centre, float& radius);

    /// @}

    /// Fills those of `holes_` that are selected, in parallel, and merges them in their order.
    void fill_holes(std::function<bool(std::size_t)> const& selected);
    /// Grows `regions_` around loops, and flags their faces and no others. Behind a cut the regions
    /// are for the sub-meshes only.
    /// \param loops one for each of `holes_`, empty where no region is wanted
    /// \param in_region the flags
    void grow_regions(std::vector<std::vector<HalfedgeHandle>> const& loops,
                      FPropHandleT<bool> in_region);
    /// Deletes the flagged faces of `mesh_`, and none of its vertices.
    void delete_flagged_faces(FPropHandleT<bool> flag);
    /// Takes what a run added off `mesh_` and moves it to the host's mesh.
    void give_back(TriMesh& mesh);
    /// Drops what the run before has left, and copies the host's mesh.
    void begin_run(TriMesh const& mesh);
    /// With logging and file saving on, writes `mesh_` under a step of its own.
    void dump(char const* name, char const* step) const;

    int region_process_type_ = 1;            ///< 0 smooth, 1 delete, else neither.
    int weight_type_ = 1;                    ///< Fairing weights: 0 uniform, else 1 / length.
    TriMesh mesh_;                           ///< Working copy of the host's mesh.
    VPropHandleT<float> vert_edge_len_prop_; ///< Mean length of the edges at a vertex.
    FPropHandleT<bool> face_region_prop_;    ///< Face lies in a region.
    int topology_dis_thr_ = 10;              ///< Region width in rings of faces.
    float dijkstra_dis_thr_ = 0.0F;          ///< Region width as a path length.
    float density_thr_ = 1.414F;             ///< Density of the refinement.
    float angle_thr_ = 0.04363323F;          ///< Narrowest corner of a split; 2.5 degrees.
    double fairing_lambda_ = 1.0;            ///< Hold on the border.
    double min_edge = 0.0;                   ///< Lengths of edges in millimetres.
    double max_edge = 0.0;                   ///< The longest.
    double avg_edge = 0.0;                   ///< Their mean.
    double min_area = 0.0;                   ///< Areas of faces in square millimetres.
    double max_area = 0.0;                   ///< The largest.
    double total_area = 0.0;                 ///< Their sum.
    double avg_area = 0.0;                   ///< Their mean.
    int min_ring = 0;                        ///< Valences of vertices.
    int max_ring = 0;                        ///< The largest.
    double avg_ring = 0.0;                   ///< Their mean.
    std::vector<std::vector<HalfedgeHandle>> holes_; ///< Loops of the last search.
    std::vector<std::vector<FaceHandle>> regions_;   ///< Faces around each hole.
    std::vector<double> hole_lengths_;               ///< Perimeter of each hole.
    bool flat_weight_ = false;                       ///< Only folds count as angles.
    int triangulation_sample_num_ = 400;             ///< Sets the stride of the split search.
    int hole_verts_thr_ = 3000;                      ///< Largest hole.
    int fairing_verts_thr_ = 20000;                  ///< Largest system of the fairing.
    bool enable_file_saving_ = false;                ///< With logging on, write debug meshes.

private:
    void handle_regions();
    void take_boundaries_apart();
    void leave_out_borders();
    std::optional<OpenReason> reason_to_leave_out(std::vector<HalfedgeHandle> const& loop,
                                                  std::vector<VertexHandle> const& corners) const;
    void close_hole(std::size_t hole, detail::HoleWork& work, detail::HoleTurn const* turn) const;
    bool find_loop(std::size_t hole, detail::HoleSubMesh& sub) const;
    std::optional<OpenReason> triangulate(detail::HoleSubMesh& sub,
                                          detail::HoleTurn const* turn) const;
    bool close_sub_mesh(std::size_t hole, detail::HoleWork& work, detail::HoleSubMesh& sub,
                        detail::HoleTurn const* turn) const;
    void merge_hole(std::size_t hole, detail::HoleWork& work);
    bool fair_with_solver(TriMesh& mesh, VPropHandleT<bool>& inner) const;
    void save_sub_mesh(std::size_t hole, detail::HoleSubMesh const& sub, char const* pattern,
                       char const* step) const;
    detail::TriangulationRule triangulation_rule() const;

    double max_perimeter_ = 0.0;
    double rim_angle_thr_ = 180.0;
    int tiny_hole_edges_ = 5;
    bool take_apart_ = false;
    /// From-vertices of the loops that are left alone; vertices keep their numbers over a run.
    std::set<int> border_;
    bool searched_ = false; ///< Whether the holes of this run have been searched for before.
    bool is_cut_ = false;   ///< Whether this run has cut regions away.
    std::vector<OpenHole> open_holes_;
    std::vector<std::size_t> unfaired_fills_;
};

} // namespace OrvaneAlgorithm
