#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Cuts sticks, small upright cylinders, out of a scanned mesh. Hosts call `extract_sticks`, where
/// it says what comes out.
///
/// From the vertex nearest to a seed point the search climbs along z to the stick's tip, spreads
/// distances along the edges from there, and takes the faces around the tip that are near enough in
/// a straight line and along the surface.
class ExtractStick
{
public:
    ExtractStick() = default;
    ExtractStick(ExtractStick const&) = default;
    ExtractStick& operator=(ExtractStick const&) = default;
    ~ExtractStick() = default;

    RetVal extract_sticks(TriMesh& mesh, std::vector<Vector3f> const& seed_points,
                          std::vector<Vector2f> const& stick_sizes, std::vector<TriMesh>& sticks,
                          bool positive_z, bool verbose);

private:
    /// Marks of the elements of one kind, which are taken back one by one: clearing them costs what
    /// the stick touched and not what the mesh holds.
    class Marks
    {
    public:
        void reset(std::size_t n);
        /// \return false if the element was marked before
        bool mark(int i);
        void clear();
        std::vector<int> const& marked() const { return marked_; }

    private:
        std::vector<char> marks_;
        std::vector<int> marked_;
    };

    void show_statistics(TriMesh const& mesh) const;
    RetVal extract_all(TriMesh& mesh, std::vector<Vector3f> const& seed_points,
                       std::vector<Vector2f> const& stick_sizes, std::vector<TriMesh>& sticks);
    void prepare(TriMesh const& mesh);
    void show_seed(Vector3f const& input, Vector3f const& located, float sq_dist) const;

    bool segment_stick(TriMesh const& mesh, OpenMesh::VertexHandle seed, TriMesh& stick);
    OpenMesh::VertexHandle climb_to_tip(TriMesh const& mesh, OpenMesh::VertexHandle seed);
    void spread_distances(TriMesh const& mesh, OpenMesh::VertexHandle tip);
    std::vector<int> collect_faces(TriMesh const& mesh, OpenMesh::VertexHandle tip);
    std::vector<int> vertices_of(TriMesh const& mesh, std::vector<int> const& faces);
    void copy_stick(TriMesh const& mesh, std::vector<int> const& vertices,
                    std::vector<int> const& faces, TriMesh& stick);

    bool is_behind(Vector3f const& point, Vector3f const& other) const;
    float reach() const;
    bool is_within_reach(TriMesh const& mesh, OpenMesh::FaceHandle face, Vector3f const& tip) const;

    bool positive_z_ = true;      ///< whether the tip lies towards +z
    float stick_diameter_ = 6.0F; ///< of the stick being cut
    float stick_height_ = 15.5F;  ///< of the stick being cut
    bool verbose_ = false;
    Marks visited_vertices_;
    Marks visited_faces_;
    std::vector<float> distances_; ///< of the vertices from the tip, along edges
    std::vector<int> reached_;     ///< the vertices whose distances the last stick set
    std::vector<OpenMesh::VertexHandle> copies_; ///< of the mesh's vertices, in the stick
};

} // namespace OrvaneAlgorithm
