#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

/// \file
/// The refinement of a fill: faces are split at their centroids, and edges flipped to the better
/// diagonal. The two passes and the flip need the four status attributes on the mesh.

namespace OrvaneAlgorithm::detail
{

/// The properties that a refinement keeps up to date.
struct RefinementFlags
{
    OpenMesh::FPropHandleT<bool> face_new;      ///< Faces that may change.
    OpenMesh::VPropHandleT<bool> vert_new;      ///< Set to true on new vertices.
    OpenMesh::VPropHandleT<bool> vert_boundary; ///< Set to false on new vertices.
};

/// A face that may be split.
struct FaceCorners
{
    std::array<OpenMesh::VertexHandle, 3> verts; ///< In halfedge order.
    std::array<Vector3f, 3> points;
    Vector3f centroid;
};

/// Whether to split a face: always the same for the same corners.
using SplitCriterion = std::function<bool(FaceCorners const&)>;
/// Told of each new vertex and the corners of the face that it split.
using SplitNotice = std::function<void(OpenMesh::VertexHandle, FaceCorners const&)>;

/// What the passes over one mesh need not look at again. Vertices stay where they are, so an edge
/// that is the better diagonal remains it until a face beside it is another one, and a face that is
/// not to be split remains so until its edges are flipped.
class SettledElements
{
public:
    bool has(OpenMesh::EdgeHandle e) const { return has(edges_, e.idx()); }
    bool has(OpenMesh::FaceHandle f) const { return has(faces_, f.idx()); }
    void add(OpenMesh::EdgeHandle e) { add(edges_, e.idx()); }
    void add(OpenMesh::FaceHandle f) { add(faces_, f.idx()); }
    void remove(OpenMesh::EdgeHandle e) { remove(edges_, e.idx()); }
    void remove(OpenMesh::FaceHandle f) { remove(faces_, f.idx()); }

private:
    using Marks = std::vector<char>;

    static bool has(Marks const& marks, int i)
    {
        auto const place = static_cast<std::size_t>(i);
        return place < marks.size() && marks[place] != 0;
    }
    static void add(Marks& marks, int i)
    {
        auto const place = static_cast<std::size_t>(i);
        if (place >= marks.size())
        {
            marks.resize(2 * place + 1);
        }
        marks[place] = 1;
    }
    static void remove(Marks& marks, int i)
    {
        if (has(marks, i))
        {
            marks[static_cast<std::size_t>(i)] = 0;
        }
    }

    Marks edges_;
    Marks faces_;
};

/// Whether two of the face's edges are longer than `long_edge` and its centroid keeps half of that
/// from every corner.
bool is_coarse(FaceCorners const& face, double long_edge);

/// Splits the new faces that meet the criterion at their centroids, and flips the edges opposite to
/// the new vertices where that is better. Faces made here wait for the next pass.
/// \param settled what the passes before have left of the mesh's elements
/// \param notice may be empty
/// \return the number of splits
int split_pass(TriMesh& mesh, RefinementFlags const& flags, SplitCriterion const& criterion,
               SettledElements& settled, SplitNotice const& notice = {});

/// Visits every edge between two new faces once and flips it where the other diagonal fits better,
/// or equally well.
/// \return the number of flips. On points of one circle every visit flips, so this need not come to
///         0.
int relax_pass(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new, SettledElements& settled);

/// Visits the edges in this way again and again until none is flipped. An edge whose diagonals are
/// equally good is flipped once at most, and all edges together four times as often as there are
/// edges, so that it ends on any points.
void relax_until_stable(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new,
                        SettledElements& settled);

/// Flips the edge `a`-`b` between the new faces `f` (with the third vertex `c`) and that of the
/// halfedge `h`, unless the angles at `a` and `b` are together larger than those opposite.
/// \return whether the edge was flipped
bool swap_edge(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new, OpenMesh::FaceHandle f,
               OpenMesh::HalfedgeHandle h, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
               OpenMesh::VertexHandle c);

/// What a refinement does, and how often.
struct RefinementRule
{
    SplitCriterion is_coarse; ///< Which faces it splits.
    int rounds;               ///< Rounds of a split pass and a relax pass, at most.
};

/// Runs the rounds, until one changes nothing, and collects the garbage: handles of the mesh
/// change.
void refine_fill(TriMesh& mesh, RefinementFlags const& flags, RefinementRule const& rule);

/// A refinement that goes on until nothing is split.
struct StableRefinement
{
    SplitCriterion is_coarse;
    SplitNotice notice;     ///< May be empty.
    int most_rounds;        ///< Rounds of a split pass and a relaxation until it is stable.
    std::size_t most_faces; ///< A mesh of so many faces gets no more rounds.
};

/// Runs the rounds and collects the garbage: handles of the mesh change.
void refine_until_stable(TriMesh& mesh, RefinementFlags const& flags, StableRefinement const& rule);

} // namespace OrvaneAlgorithm::detail
