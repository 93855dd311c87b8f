#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

/// Closes gaps in the boundary of a mesh by projection: around each boundary vertex the boundary
/// vertices nearby are projected onto the plane through it across its normal, triangulated there in
/// the manner of Delaunay by a sweep after Bowyer and Watson, and the triangles that have it as a
/// corner are added to the mesh, where the mesh can take them. Isolated vertices are part of the
/// boundary, so loose points are tied in. Vertices stay where they are.
///
/// The search radius is the only limit: neither the length nor the normal of a new face is tested.
/// The triangulation gives no triangles at the right rim of a neighbourhood, so that gaps may stay
/// open. Each triangle is tried in both orientations, and a free triangle of vertices can so get
/// two faces, back to back.
///
/// Lengths are those of the mesh, millimetres with the default radius. Coordinates that are not
/// finite are never found, and a vertex whose normal has no direction gets no faces of its own. The
/// mesh is the same for any number of threads, as if the vertices were handled one after the other.
/// An object keeps its settings, and the boundary of the last mesh, between calls; it is not meant
/// to be used from two threads at once.
class ALGORITHMVELD_API TopologyRepair
{
public:
    TopologyRepair() = default;
    TopologyRepair(TopologyRepair&) = default;
    TopologyRepair& operator=(TopologyRepair&) = default;
    ~TopologyRepair() = default;

    /// Does nothing; hosts of long standing call it.
    void initialize() {}

    /// The directory of the files of `OutputNeighbourRegion`; empty, the default, for none.
    void set_debug_save_path(std::string const& directory) { mDebugSavePath = directory; }
    /// The cosine of the tilt against z up to which a tangent plane is not turned across z before z
    /// is left away; 0.95 by default.
    void set_normal_z_thr(float cosine) { mNormalZThr = cosine; }
    /// How far from a vertex the others may be that it is connected to; an absolute length, which
    /// does not follow the mesh; 0.5 by default. Cost grows with its square.
    void set_search_radius(float length) { mSearchRadius = length; }

    /// Repairs a mesh, in one pass. The size of the mesh goes to the log and past it, whatever the
    /// log switch says.
    /// \param mesh gets faces. Its vertex normals are used as they are, and should be unit vectors;
    ///        if it has none, those of faces and vertices are computed, and stay.
    /// \return true
    bool repair_mesh(TriMesh& mesh);

    /// The pass of `repair_mesh`, on a boundary as it was collected by the last call of that. Only
    /// vertices that are on the boundary when their turn comes get faces. Nothing happens if that
    /// boundary was of another mesh that had more vertices, or if one of its vertices has been
    /// deleted since.
    /// \return true
    bool compute_projective_neighbours(TriMesh& mesh);

    /// Projects points onto the plane through a point. A normal of length 0 gives no plane, and
    /// coordinates that are not finite.
    /// \param point on the plane
    /// \param normal of the plane, of any length
    /// \param points,normals to be projected, and the normals there
    /// \param projected replaced: the points on the plane
    /// \param distances replaced: the distances from the plane, never negative
    /// \param cosines replaced: the products of `normal` and each of the normals, which are cosines
    ///        if all of these have unit length
    /// \throw std::out_of_range if there are fewer normals than points
    void compute_projective_point(Vector3f const& point, Vector3f const& normal,
                                  std::vector<Vector3f> const& points,
                                  std::vector<Vector3f> const& normals,
                                  std::vector<Vector3f>& projected, std::vector<float>& distances,
                                  std::vector<float>& cosines) const;

    /// Prints the faces around the corners of a triangle past the log, and writes them as text OBJ
    /// with one-based indices to the directory for it, if there is one:
    /// patch_radius-R_[A-B-C]_level-L.obj. The repair itself does not call it. Nothing happens for
    /// a corner that is not there.
    /// \param mesh is not changed
    /// \param va,vb,vc the corners
    /// \param pa,pb where the first two are; only printed
    /// \param radius,level part of the file's name
    /// \param with_failed_face whether the triangle is the first face of the file, which the name
    ///        then says
    void OutputNeighbourRegion(TriMesh const& mesh, OpenMesh::VertexHandle const& va,
                               OpenMesh::VertexHandle const& vb,
                               OpenMesh::PolyConnectivity::VertexIter const& vc, Vector3f const& pa,
                               Vector3f const& pb, float radius, int level,
                               bool with_failed_face) const;

protected:
    // Hosts know these by name and place.
    KdTree3f mVertexTree;   ///< All vertices, for hosts to search in.
    KdTree3f mBoundaryTree; ///< The boundary vertices; hits come in rising distance.
    std::vector<OpenMesh::VertexHandle> mBoundaryVertices; ///< By place in `mBoundaryTree`.
    float mNormalZThr = 0.95F;  ///< Cosine of the tilt that turns a plane.
    std::string mDebugSavePath; ///< Where diagnostic files go; empty: nowhere.
    float mSearchRadius = 0.5F; ///< Radius of a neighbourhood, in millimetres.

private:
    void collect_vertices(TriMesh const& mesh);
    bool is_boundary_of(TriMesh const& mesh) const;
    void connect(TriMesh& mesh, std::size_t begin, std::size_t end) const;
};

} // namespace OrvaneAlgorithm
