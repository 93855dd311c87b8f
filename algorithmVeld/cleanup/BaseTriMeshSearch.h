#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// The neighbourhoods of an array mesh: faces and vertices around a vertex, faces around a face.
///
/// All lists are made at once, in compressed rows, under a `ScopeTimer`. The mesh is not looked at
/// afterwards; what changes in it later does not show here. Time and memory are linear in the
/// numbers of vertices and faces and in the sum of the squares of the faces around each vertex.
///
/// A lookup sets `begin` and `end` to a list, which lives as long as the object, and returns its
/// length. Lookups may run in many threads at once.
class ALGORITHMVELD_API BaseTriMeshSearch
{
public:
    /// Throws `std::out_of_range` if a face names a vertex that the mesh does not have, and
    /// `std::length_error` if the lists would get more entries than an `int` can number.
    explicit BaseTriMeshSearch(BaseTriMesh const& mesh);

    /// The faces around a vertex, in rising order. For an index out of range a line is printed past
    /// the log and the list is empty.
    int v2fRing1(int vertex, int*& begin, int*& end);

    /// The vertices that share a face with a vertex, in rising order. Throws `std::out_of_range`
    /// for an index out of range.
    int v2vRing1(int vertex, int*& begin, int*& end);

    /// The faces that share at least one vertex with a face, in the order in which they lie around
    /// its corners. For an index out of range a line is printed past the log and
    /// `std::out_of_range` is thrown.
    int f2fRing1(int face, int*& begin, int*& end);

    /// The faces that share an edge with a face, in the same order. Throws `std::out_of_range` for
    /// an index out of range.
    int f2fEdgeRing1(int face, int*& begin, int*& end);

    /// Whether one of the edges of a vertex has a face on one side only. Throws
    /// `std::out_of_range` for an index out of range.
    bool is_boundary_vertex(int vertex) const;

private:
    /// Lists in compressed rows: list i runs from offset i to offset i + 1.
    struct Lists
    {
        std::vector<int> offsets{0};
        std::vector<int> entries;

        void reserve(std::size_t lists, std::size_t n_entries);
        void end_list();
        int range(int i, int*& begin, int*& end);
    };

    void list_faces_of_vertices(std::vector<int> const& corners);
    void list_neighbours_of_vertices(std::vector<int> const& corners);
    void list_neighbours_of_faces(std::vector<int> const& corners);
    std::size_t count_meetings() const;

    int vert_count_;
    int face_count_;
    Lists v2f_;
    Lists v2v_;
    Lists f2f_;
    Lists f2f_edge_;
    std::vector<bool> is_boundary_; ///< of each vertex
};

} // namespace OrvaneAlgorithm
