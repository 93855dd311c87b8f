#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/export.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm
{

/// Diagnostic dumps of parts of a mesh as text OBJ, with one-based indices. No result depends on
/// them; a file that cannot be written is logged and the run goes on.
class ALGORITHMVELD_API MeshAssistant
{
public:
    MeshAssistant() = default;
    MeshAssistant(MeshAssistant const&) {}
    MeshAssistant& operator=(MeshAssistant const&) { return *this; }
    ~MeshAssistant() = default;

    /// Writes some faces to `result_dir`/`name`.
    static void output_faces(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle> const& faces,
                             std::string const& name);

    /// Writes the faces around each connected set of boundary vertices to
    /// `directory`/vertex-N-hole-region.obj, N being its first vertex. Does nothing unless logging
    /// is on.
    static void output_hole_region(TriMesh& mesh, std::string const& directory);

    /// Writes the faces within two rings of a triangle's corners, and the triangle itself, to
    /// `debug_dir`/`name`-patch_radius-R_[A-B-C].obj. Does nothing while `debug_dir` is empty.
    /// \param mesh is not changed
    /// \param a,b,c the corners of the triangle
    /// \param name begins the file's name
    /// \param point_a,point_b,radius where and how wide the caller looked; `radius` is part of the
    ///        file's name
    /// \param failed whether the triangle was refused: the file's name says so
    static void output_neighbour_region(TriMesh const& mesh, OpenMesh::VertexHandle const& a,
                                        OpenMesh::VertexHandle const& b,
                                        OpenMesh::VertexHandle const& c, Vector3f const& point_a,
                                        Vector3f const& point_b, float radius, bool failed,
                                        std::string name);

    /// Writes the faces within two rings of some vertices to `debug_dir`/`name`-start-node-N.obj, N
    /// being the first of them.
    static void output_nodes_region(TriMesh const& mesh,
                                    std::vector<OpenMesh::VertexHandle> const& nodes,
                                    std::string& name);
};

} // namespace OrvaneAlgorithm
