#pragma once

#include "workflow/steps/Merge.h"
#include "workflow/tiling/files/TileMesh.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"

#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace veld
{

/// A vertex as the mesh of its tile has it.
struct SeamVertex
{
    SampleKey key = 0;
    OrvaneAlgorithm::Vector3f point = OrvaneAlgorithm::Vector3f::Zero();
    OrvaneAlgorithm::Vector3f normal = OrvaneAlgorithm::Vector3f::Zero();
};

/// The surface round the gaps that tiles left, and what closes these. A vertex within a reach of
/// a gap has all its faces here; beyond, the strip ends where the mesh does not.
class SeamStrip
{
public:
    /// \param gaps the vertices that lost a face
    SeamStrip(std::vector<SeamVertex> const& gaps, MergeSettings const& settings);

    /// Whether there is no gap, and so nothing to do.
    bool is_empty() const { return gaps_.empty(); }

    /// Adds the faces of a tile that are near a gap.
    void add(TileMesh const& tile);

    /// Adds a face over a seam if it is near a gap.
    void add(KeyedFace const& face, std::array<SeamVertex, 3> const& corners);

    /// Stitches the gaps and takes vertices out at which several fans of faces meet.
    void close();

    /// The faces that close gaps.
    std::vector<KeyedFace> const& added() const { return added_; }
    /// Faces of the tiles that went.
    std::set<KeyedFace> const& removed() const { return removed_; }

private:
    using Vertex = OpenMesh::VertexHandle;
    using Face = OpenMesh::FaceHandle;

    bool is_near_gap(OrvaneAlgorithm::Vector3f const& point) const;
    Vertex vertex(SeamVertex const& from);
    void link_faces();
    std::vector<Vertex> gap_vertices() const;
    void drop_strays(int n_old_faces);
    bool may_stay(Face face) const;
    void drop_pinches(int n_old_faces);
    bool is_pinched(Vertex vertex) const;
    void drop(Face face, int n_old_faces);
    KeyedFace keys_of(Face face) const;

    MergeSettings settings_;
    float square_reach_;
    OrvaneAlgorithm::KdTree3f tree_;     ///< of the gaps
    std::unordered_set<SampleKey> gaps_; ///< vertices
    std::vector<KeyedFace> faces_;       ///< as they came
    OrvaneAlgorithm::TriMesh mesh_;
    std::vector<SampleKey> keys_; ///< of its vertices
    std::vector<char> is_whole_;  ///< whether it has all faces of each vertex
    std::unordered_map<SampleKey, Vertex> vertices_;
    std::vector<KeyedFace> added_;
    std::set<KeyedFace> removed_;
};

} // namespace veld
