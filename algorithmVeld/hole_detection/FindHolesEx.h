#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Finds the holes of a mesh: its boundary loops as simple polygons.
///
/// A hole is the list of the from-vertices of its boundary halfedges, in the order in which
/// `next_halfedge_handle` walks the loop; no vertex occurs twice in it. A boundary that passes a
/// vertex twice is split there into several holes.
///
/// The log lines of an operation are printed when its own `verbose` is true; `gPH` is not looked
/// at. No mesh is changed, but for a temporary property and, in `find_marker_holes`, for normals.
/// Where the links of a mesh are damaged, so that its boundary does not close, there is no hole.
class ALGORITHMVELD_API FindHolesEx
{
public:
    FindHolesEx() = default;
    FindHolesEx(FindHolesEx const&) {}
    FindHolesEx& operator=(FindHolesEx const&) { return *this; }
    ~FindHolesEx() = default;

    /// Finds all holes, in the order of the lowest halfedge index of their walks.
    /// \param mesh gets a temporary property, and is not changed otherwise
    /// \param holes cleared before it is filled
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if there is no hole
    static RetVal find_holes(TriMesh& mesh, Holes& holes, bool verbose);

    /// Finds the holes whose perimeter is less than `perimeter` (in the mesh's unit, millimetres).
    /// \param mesh gets a temporary property, and is not changed otherwise
    /// \param perimeter in millimetres; a hole of exactly this length is left out
    /// \param holes cleared before it is filled; left alone if the mesh has no hole at all
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`, also if every hole is too long; `RET_INVALID_INPUT` if the mesh has
    ///         no hole
    static RetVal find_holes(TriMesh& mesh, double perimeter, Holes& holes, bool verbose);

    /// Finds the known hole with the vertex nearest to `point`; of equally near ones the first.
    /// \param mesh with these holes
    /// \param point a place near the hole
    /// \param known_holes as `find_holes` gave them; handles that are not valid are skipped
    /// \param distance the vertex has to be nearer than this
    /// \param hole the hole; empty if none is near enough, left alone without known holes
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` without known holes; `RET_FAILED` if none is near
    ///         enough
    static RetVal find_hole(TriMesh const& mesh, Vector3f const& point, Holes const& known_holes,
                            double distance, std::vector<OpenMesh::VertexHandle>& hole,
                            bool verbose);

    /// Finds the hole through the boundary vertex nearest to `point`.
    /// \param mesh is not changed
    /// \param point a place near the hole
    /// \param distance the vertex has to be nearer than this
    /// \param hole the hole; if the boundary touches itself, the loop with the vertex nearest to
    ///        `point`. Empty if no vertex is near, left alone if none of the near ones lies on a
    ///        boundary
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if no vertex is near; `RET_FAILED` if no boundary
    ///         vertex is
    static RetVal find_hole(TriMesh const& mesh, Vector3f const& point, double distance,
                            std::vector<OpenMesh::VertexHandle>& hole, bool verbose);

    /// Finds the holes that a scanner's round adhesive markers left: shorter than a marker's
    /// circumference, with their centre near a marker.
    /// \param mesh gets a temporary property, and normals where they are asked for
    /// \param marker_points places of the markers
    /// \param marker_normals their unit normals, one each; not looked at unless `use_normals`
    /// \param hole_match_thr the centre of a hole has to be nearer to the marker than this
    /// \param marker_radius radius of a marker
    /// \param use_normals whether the hole's normal has to agree with the marker's. Vertex and face
    ///        normals are then requested and computed if the mesh lacks them, and stay.
    /// \param normal_dot_thr the dot product of the two normals has to exceed this
    /// \param holes cleared before it is filled, in the order of `find_holes`; left alone on bad
    ///        input and if the mesh has no hole
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` if no hole fits, or if `use_normals` is true and
    ///         the numbers of points and normals differ
    static RetVal find_marker_holes(TriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                    std::vector<Vector3f> const& marker_normals,
                                    double hole_match_thr, double marker_radius, bool use_normals,
                                    double normal_dot_thr, Holes& holes, bool verbose);
};

} // namespace OrvaneAlgorithm
