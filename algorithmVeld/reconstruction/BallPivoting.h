#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm
{

/// Closes the gaps between pieces of a surface, and ties in loose points, by a ball that rolls
/// around the edges of the boundary that is there: the idea of Bernardini, Mittleman, Rushmeier,
/// Silva and Taubin, "The ball-pivoting algorithm for surface reconstruction" (1999), turned to
/// repair.
///
/// There is no seed triangle: every new face grows from an existing one. The ball lies on the face
/// beside a boundary edge and turns around that edge. A vertex can make a face with the edge if it
/// is on the boundary, the ball can touch it, and the face would agree with the vertex normals. Of
/// these the one with the smallest pivot angle is taken, unless the ball there has another vertex
/// inside it; then the next one. The angle is measured by the right hand along the halfedge without
/// a face, so a ball that rolls on across a gap comes to its end at just under a full turn: it is
/// the emptiness of the ball that finds the nearest one there.
///
/// The halfedges are walked once, in the order of their numbers, and edges of new faces come at the
/// end of the walk, so a pass grows as far as it can.
///
/// Faces are added at the end of the mesh; no vertex is made or moved. Normals of new faces and of
/// the vertices around them are not brought up to date. Lengths are in the unit of the mesh, which
/// is millimetres everywhere else; the emptiness test has a margin of 0.001 of them.
///
/// All runs on the calling thread, so the mesh does not depend on the number of threads. An object
/// serves one call at a time. Besides the log, the report of a run is printed past it, whatever the
/// log switch says. Coordinates that are no numbers are never met by the ball.
class ALGORITHMVELD_API BallPivoting
{
public:
    /// In millimetres: how far inside the ball a vertex has to be; it keeps the corners of the face
    /// itself out.
    static constexpr double EMPTINESS_MARGIN = 0.001;

    BallPivoting() = default;
    /// Copies share the frames that were loaded, and the trees until one of them builds its own.
    BallPivoting(BallPivoting& other) = default;
    BallPivoting& operator=(BallPivoting& other) = default;
    ~BallPivoting() = default;

    /// Does nothing: an object is ready when it is made.
    void initialize() {}

    /// Reads a frame file (`.rge`) for each path; what cannot be read is an empty frame.
    /// \return true
    bool load_data(std::vector<std::wstring> const& paths);
    /// Prints each path past the log, taken apart. Reads nothing. \return true
    bool load_data(std::vector<std::string> const& paths);
    /// Does nothing: frames become a mesh by `MeshMerge`. \return true
    bool rangeData_to_triMesh() { return true; }
    /// Measures the mean distance between neighbours on a frame's grid, at 2000 of its points.
    /// \param range the frame
    /// \param mean in millimetres; -1 if the frame has no neighbours
    /// \return whether it has any
    bool get_mean_dis(RangeData const& range, float& mean) const;

    /// The smallest dot product between the normal of a new face and those of its vertices: the
    /// cosine itself, 0.5 by default.
    float get_NormConsistencyThr() const { return mNormConsistencyThr; }
    /// Sets that cosine.
    void set_NormConsistencyThr(float cosine) { mNormConsistencyThr = cosine; }
    /// Whether a pass computes the normals of the mesh at its beginning. Otherwise those are taken
    /// that the mesh has; without any, no normal is looked at. Off by default.
    bool get_norm_mode() const { return mNormMode; }
    /// Sets whether a pass computes them.
    void set_norm_mode(bool enabled) { mNormMode = enabled; }
    /// Whether the ball has to be empty; on by default. Otherwise the vertex that is met first is
    /// taken, whatever the ball holds.
    bool get_node_in_sphere_restrain() const { return mNodeInSphereRestrain; }
    /// Sets whether it has to be empty.
    void set_node_in_sphere_restrain(bool enabled) { mNodeInSphereRestrain = enabled; }
    /// Whether, after the pass of each radius, the smaller fans of faces around the corners of
    /// faces that the mesh refused are deleted and a second pass runs. Off by default.
    void set_enable_delete_isolated_faces(bool enabled) { mEnableDeleteIsolatedFaces = enabled; }
    /// Where the surroundings of refused faces are written as text OBJ; empty, the default, for
    /// nowhere.
    void set_debug_save_path(std::string const& directory) { mDebugSavePath = directory; }

    /// How often the mesh refused a face since the object was made.
    int refused_faces() const { return mRefusedFaces; }

    /// Runs one pass with one radius. Whether the ball is empty is asked of the vertices that the
    /// last call with several radii saw; without such a call it always counts as empty.
    /// \param mesh gets the new faces. What is marked deleted gets none, but a deleted edge counts
    ///        as one without faces, which is an error of the data. With `set_norm_mode` it has
    ///        normals during the pass; they stay requested if the pass returns false.
    /// \param radius of the ball. It is doubled up to five times for a face on which the ball does
    ///        not fit, but only to find where it starts.
    /// \param added_faces replaced by the number of new faces
    /// \param boundary_vertices replaced by the number of vertices on the boundary before the pass,
    ///        lone vertices among them
    /// \param level part of the names of the files about refused faces
    /// \return false, with nothing done, if there are fewer than 3 boundary vertices
    bool repair_mesh(TriMesh& mesh, float radius, int& added_faces, int& boundary_vertices,
                     int level);

    /// Runs a pass with each of several radii, until one finds fewer than 3 boundary vertices.
    /// \param mesh gets the new faces. With `set_enable_delete_isolated_faces` faces may also be
    ///        lost; then what is marked deleted is taken out and elements are renumbered.
    /// \param radii of the balls, in the order of the passes. Empty for 0.333, 0.471 and 0.666 of
    ///        the mean length of an edge, measured on the first 2000 faces; a mesh without faces
    ///        has no radii then and stays as it is.
    /// \return false, with nothing done, for a mesh with fewer than 3 vertices
    bool repair_mesh(TriMesh& mesh, std::vector<float> const& radii);

private:
    using FailedFace = std::pair<OpenMesh::HalfedgeHandle, OpenMesh::VertexHandle>;

    class Pass;
    class PassNormals;

    /// What is left of the series after a radius.
    enum class Series
    {
        GOES_ON,
        ENDS
    };

    Series run_radius(TriMesh& mesh, float radius);
    Series run_passes(TriMesh& mesh, float radius, int& boundary_vertices);
    void build_vertex_tree(TriMesh const& mesh);
    bool knows_all_vertices_of(TriMesh const& mesh) const;
    bool no_extra_vertex_in_sphere(Vector3f const& centre, float radius) const;
    void report_pass(float radius, int added_faces) const;
    bool delete_isolated_faces(TriMesh& mesh, std::vector<FailedFace>& failed);
    void keep_failed_face(FailedFace const& failed);
    void OutputNeighbourRegion(TriMesh const& mesh, OpenMesh::VertexHandle va,
                               OpenMesh::VertexHandle vb, OpenMesh::VertexHandle vc, float radius,
                               int level, bool with_failed_face) const;

    std::vector<std::shared_ptr<RangeData>> mRangeDatas; ///< Copies of the object share them.
    std::vector<TriMesh> mTriMeshes;                     ///< Nothing fills it.
    std::vector<FailedFace> mFailedFaces;         ///< A boundary halfedge, and the third vertex.
    std::set<std::pair<int, int>> mFailedFaceSet; ///< The same by index.
    KdTree3f mVertexTree;                         ///< All vertices, for the emptiness test.
    std::vector<Vector3f> mVertexTreePoints;      ///< Where they were.
    KdTree3f mBoundaryTree;                       ///< Those on the boundary when a pass began.
    float mNormConsistencyThr = 0.5F;             ///< The cosine of 60 degrees.
    std::string mDebugSavePath;
    bool mNormMode = false;
    bool mNodeInSphereRestrain = true;
    bool mEnableDeleteIsolatedFaces = false;
    int mOppositeHalfedgeErrors = 0; ///< Boundary edges without any face.
    int mTriangleVerticesErrors = 0; ///< Faces with fewer than 3 corners.
    int mOrigialSphereErrors = 0;    ///< Faces on which no ball fits.
    int mRefusedFaces = 0;
    int mSphereRetryCount = 5;
    float mSphereRetryScale = 2.0F;
};

} // namespace OrvaneAlgorithm
