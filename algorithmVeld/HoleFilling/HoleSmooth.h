#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

namespace detail
{
struct EdgeFans;
struct MovingPart;
enum class LaplaceWeighting;
} // namespace detail

/// Smooths a part of a mesh, such as the inner patch of a filled hole, by many small steps.
///
/// The object works on a copy of its own. In each step the active vertices move towards the
/// weighted mean of their neighbours (C0), or towards where the differences to these means are even
/// (C1); all of them see where the others were before the step. The other vertices stay, and count
/// as neighbours.
///
///     HoleSmooth smoother(mesh, active);
///     smoother.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
///     smoother.smooth(100);
///     smoother.get_iterative_smoothed_mesh(mesh);
///
/// Nothing but positions changes, and the result is the same for any number of threads. Log lines
/// are printed while `gPH.log_enabled` is true. A copy of an object goes its own way; one object is
/// not to be used from two threads at once.
class ALGORITHMVELD_API HoleSmooth
{
public:
    /// A vertex of a mesh.
    using VertexHandle = OpenMesh::VertexHandle;
    /// A property of the vertices.
    template <typename T>
    using VPropHandleT = OpenMesh::VPropHandleT<T>;

    // NOLINTBEGIN(readability-identifier-naming): the names that hosts know

    /// Which part of a vertex's way counts, and the weights of its neighbours.
    enum Component
    {
        Tangential = 0,            ///< In the tangent plane of the start; all weigh the same.
        Normal_Dir = 1,            ///< Weights by cotangents, which moves mainly along the normal.
        Tangential_and_Normal = 2, ///< All weigh the same.
        Scale_Dependent = 3        ///< Weights by 1 / length of the edge.
    };

    /// What is made even.
    enum Continuity
    {
        C0 = 0, ///< Positions: a step goes half of the way to the neighbours' mean.
        C1 = 1, ///< Tangent planes: the Laplace operator is applied twice.
        C2 = 2  ///< Accepted and logged, but nothing is computed: the vertices stay.
    };

    // NOLINTEND(readability-identifier-naming)

    /// With an empty mesh.
    HoleSmooth();

    /// Copies the mesh, with all its properties.
    /// \param mesh is not needed afterwards
    /// \param active property of that mesh: which vertices move. Without a valid handle
    ///        none does; those that are marked deleted never do.
    HoleSmooth(TriMesh const& mesh, VPropHandleT<bool> const& active);

    HoleSmooth(HoleSmooth const&) = default;
    HoleSmooth& operator=(HoleSmooth const&) = default;
    ~HoleSmooth() = default;

    /// Takes the positions of now, with the normals of the surface there, as the start by which
    /// ways are measured. It comes before the first `smooth`; later calls begin anew from where the
    /// vertices are.
    void initialize(Component component, Continuity continuity);

    /// Takes steps. The normals and planes by which ways are restricted stay those of the start,
    /// whatever the number of steps and calls; the weights are those of the mesh before each step.
    ///
    /// An active vertex without edges has the origin for its neighbours' mean and moves towards it.
    /// With `Normal_Dir`, a face that is folded flat has no finite cotangent: what lies around it
    /// is no number after the step.
    /// \return `RET_SUCCESS`. Where Cancelled leaves it, the last step was not begun, or is whole.
    RetVal smooth(unsigned int iterations);

    /// Copies all positions to a mesh of the same vertices, in general the one that was copied.
    /// Normals there stay as they were.
    /// \return false, with `target` as it was, if the numbers of vertices or of faces differ
    bool get_iterative_smoothed_mesh(TriMesh& target) const;

    /// \name Settings
    /// They hold for the next calls of `smooth`.
    /// @{

    /// How far a vertex may move along the normal of its start, in millimetres. Where it would go
    /// farther its whole way from the start is shortened, not only the part along the normal. So 0
    /// puts a vertex back that moved along its normal at all. `Tangential` has no such part, and
    /// does not look at the limit. Negative, which is the default, is no limit.
    void set_absolute_local_error(float error) { tolerance_ = error; }
    /// The same as a fraction of the diagonal of the mesh's bounding box; an empty mesh leaves the
    /// limit as it is.
    void set_relative_local_error(float error);
    /// Takes the limit away.
    void disable_local_error_check() { tolerance_ = -1.0F; }

    /// Whether `set_active_vertices` leaves out the vertices of features. It is off at first.
    void skip_features(bool skip) { skip_features_ = skip; }
    /// Lets every vertex move.
    void set_all_active();

    /// @}

protected:
    /// Which part of a way counts, as `initialize` was told.
    Component component() const { return component_; }
    /// What is made even, as `initialize` was told.
    Continuity continuity() const { return continuity_; }
    /// Whether a vertex moves.
    bool is_active(VertexHandle vertex) const { return mesh_.property(is_active_, vertex); }
    /// Position at `initialize`.
    Vector3f const& orig_position(VertexHandle vertex) const
    {
        return mesh_.property(orig_position_, vertex);
    }
    /// Normal at `initialize`.
    Vector3f const& orig_normal(VertexHandle vertex) const
    {
        return mesh_.property(orig_normal_, vertex);
    }
    /// Where the last step put a vertex, or would have put it: at first its position.
    Vector3f const& new_position(VertexHandle vertex) const
    {
        return mesh_.property(new_position_, vertex);
    }
    /// Sets where a step would put a vertex.
    void set_new_position(VertexHandle vertex, Vector3f const& position)
    {
        mesh_.property(new_position_, vertex) = position;
    }
    /// Compute the new positions of the active vertices, with the weights of `initialize` or of the
    /// last step. They are neither restricted nor taken.
    void compute_new_positions_C0();
    /// The same, for tangent planes.
    void compute_new_positions_C1();
    /// Chooses the active vertices anew, by the status that vertices, edges and faces had when the
    /// mesh was copied; for derived classes, no operation calls it. The selected ones are active,
    /// or all if none is selected, without those on a border, those that are locked, and those of
    /// features if they are skipped. One ring of vertices beside the border stays too with C1, two
    /// rings do with C2.
    void set_active_vertices();

private:
    void log_param(unsigned int iterations) const;
    detail::LaplaceWeighting weighting() const;
    detail::MovingPart moving_part() const;
    void compute_weights(detail::EdgeFans const& fans);
    void take_step(detail::MovingPart const& part);
    void find_c0_positions(detail::MovingPart const& part);
    void find_c1_positions(detail::MovingPart const& part);
    void project_to_tangent_plane(detail::MovingPart const& part);
    void local_error_check(detail::MovingPart const& part);
    void move_points(detail::MovingPart const& part);

    TriMesh mesh_; ///< What is smoothed; it carries the properties.
    bool skip_features_ = false;
    float tolerance_ = -1.0F;
    Component component_ = Tangential_and_Normal;
    Continuity continuity_ = C0;
    VPropHandleT<Vector3f> orig_position_;
    VPropHandleT<Vector3f> orig_normal_;
    VPropHandleT<Vector3f> new_position_;
    VPropHandleT<bool> is_active_;
    VPropHandleT<float> vertex_weight_; ///< 1 / sum of the weights of its edges.
    OpenMesh::EPropHandleT<float> edge_weight_;
    VPropHandleT<Vector3f> umbrella_;  ///< From the neighbours' mean to the vertex, for C1.
    VPropHandleT<Vector3f> umbrella2_; ///< Kept for the umbrella of the umbrellas, for C2.
};

} // namespace OrvaneAlgorithm
