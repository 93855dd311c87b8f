#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Removes what adhesive round markers left in a scan, and the noisy rim of a scan.
///
/// Each marker leaves a disc of wrong surface. The simple operations take away every vertex nearer
/// to a marker than a radius, with its faces; those with `_ex` look at connected pieces of surface
/// near a marker and take away those that look the way the marker does.
///
/// All distances are in the unit of the points, millimetres, and all limits are strict: a vertex at
/// exactly `radius`, a dot product of exactly `normal_dot_thr` stay. Points, markers and normals
/// that are not finite are near nothing and agree with nothing. No marker means no change.
///
/// Everything is changed in place. Clouds and array meshes keep their order, and lose what the host
/// has flagged as deleted as well; a flag channel that is off is switched on for the time of the
/// call only. In a half-edge mesh the gaps are filled from the end, so handles do not stay. Normals
/// and colours of what stays are not touched.
///
/// The log lines of an operation are printed when its own `verbose` is true; `gPH` is not looked
/// at. No operation works in parallel, for one marker's result depends on those before it.
class ALGORITHMVELD_API RemoveBoundary
{
public:
    RemoveBoundary() = default;
    RemoveBoundary(RemoveBoundary const&) {}
    RemoveBoundary& operator=(RemoveBoundary const&) { return *this; }
    ~RemoveBoundary() = default;

    /// Removes the points near markers.
    /// \param cloud loses the points, and those that are flagged as deleted
    /// \param marker_points places of the markers
    /// \param marker_normals their unit normals, one each; not looked at unless `use_normals`
    /// \param radius a point nearer than this goes
    /// \param use_normals whether the point's normal has to agree with the marker's
    /// \param normal_dot_thr the dot product of the two normals has to exceed this
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT`, with nothing changed, if `use_normals` is true
    ///         and the numbers of points and normals differ or the cloud has no normals
    static RetVal remove_marker_cloud(Cloud& cloud, std::vector<Vector3f> const& marker_points,
                                      std::vector<Vector3f> const& marker_normals, double radius,
                                      bool use_normals, double normal_dot_thr, bool verbose);

    /// Removes the vertices nearer to markers than `radius`, with their faces. A vertex that loses
    /// its last face by this stays in an array mesh and goes from a half-edge mesh.
    /// \param mesh loses the vertices and faces
    /// \param marker_points places of the markers
    /// \param radius a vertex nearer than this goes
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`
    static RetVal remove_marker_mesh(BaseTriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                     double radius, bool verbose);
    /// The same for a half-edge mesh.
    static RetVal remove_marker_mesh(TriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                     double radius, bool verbose);

    /// Removes the pieces of surface near markers that look the way the marker does: the faces with
    /// a vertex nearer than `radius` fall into connected pieces, and a piece goes as a whole if the
    /// sum of its face normals, normalised, agrees with the marker's normal. Vertices stay.
    ///
    /// A face is judged once, for the first marker that it is near to, and whatever that said is
    /// final. Pieces of an array mesh are joined by faces that share a vertex, pieces of a
    /// half-edge mesh by faces that share an edge.
    ///
    /// Normals that the mesh lacks are computed: an array mesh loses them again, a half-edge mesh
    /// keeps them.
    /// \param mesh loses the faces
    /// \param marker_points places of the markers
    /// \param radius a vertex nearer than this is near
    /// \param marker_normals unit normals of the markers, one each
    /// \param normal_dot_thr the dot product of the two normals has to exceed this
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT`, with nothing changed, if the numbers of points
    ///         and normals differ. The array form throws what `BaseTriMeshSearch` throws, with no
    ///         face removed.
    static RetVal remove_marker_mesh_ex(BaseTriMesh& mesh,
                                        std::vector<Vector3f> const& marker_points,
                                        std::vector<Vector3f> const& marker_normals, double radius,
                                        double normal_dot_thr, bool verbose);
    /// The same for a half-edge mesh.
    static RetVal remove_marker_mesh_ex(TriMesh& mesh, std::vector<Vector3f> const& marker_points,
                                        std::vector<Vector3f> const& marker_normals, double radius,
                                        double normal_dot_thr, bool verbose);

    /// Peels faces from every boundary: those along it, which are ring 0, and `ring_num` rings
    /// behind them. So one ring more goes than the number says, and 0 still takes those along the
    /// boundary. Rings are counted over edges; a closed mesh loses nothing. Vertices stay.
    /// \param mesh loses the faces
    /// \param ring_num how many rings go behind the first
    /// \param verbose whether to log
    /// \return `RET_SUCCESS`
    static RetVal remove_n_rings(TriMesh& mesh, int ring_num, bool verbose);
};

} // namespace OrvaneAlgorithm
