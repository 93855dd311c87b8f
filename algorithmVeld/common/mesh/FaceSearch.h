#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What a rule of growth decides about a neighbour.
enum class Growth
{
    PASS, ///< It is not taken.
    TAKE, ///< It comes to the end of the list.
    STOP  ///< The search ends at once.
};

/// Grows a list from the elements that it begins with, breadth first: the list is the queue, so
/// nothing is popped, and at the end it is the result. A long search asks whether to go on.
/// \param list gets what the rule takes
/// \param neighbours `neighbours(element, visit)` calls `visit(neighbour)` for each neighbour until
///        it gives false, and returns what it gave last, true without any
/// \param rule `rule(element, neighbour)` decides about each neighbour of each element of the list.
///        It is asked as often as there is a way to the neighbour, so it has to mark what it takes
/// \return false if the rule stopped the search
template <typename Element, typename Neighbours, typename Rule>
bool grow(std::vector<Element>& list, Neighbours const& neighbours, Rule const& rule)
{
    CancelPoll poll;
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        poll.next();
        Element const element = list[i];
        bool const goes_on = neighbours(element,
                                        [&](Element neighbour)
                                        {
                                            Growth const growth = rule(element, neighbour);
                                            if (growth == Growth::TAKE)
                                            {
                                                list.push_back(neighbour);
                                            }
                                            return growth != Growth::STOP;
                                        });
        if (!goes_on)
        {
            return false;
        }
    }
    return true;
}

/// The faces across the edges of a face, from its first halfedge on. An edge without a face behind
/// it is passed over, and a face that is not valid has no neighbours.
class AcrossEdges
{
public:
    explicit AcrossEdges(TriMesh const& mesh) : mesh_(mesh) {}

    template <typename Visit>
    bool operator()(OpenMesh::FaceHandle face, Visit const& visit) const
    {
        if (!face.is_valid())
        {
            return true;
        }
        auto h = mesh_.halfedge_handle(face);
        for (int side = 0; side < 3; ++side)
        {
            auto const other = mesh_.face_handle(mesh_.opposite_halfedge_handle(h));
            if (other.is_valid() && !visit(other))
            {
                return false;
            }
            h = mesh_.next_halfedge_handle(h);
        }
        return true;
    }

private:
    TriMesh const& mesh_;
};

/// The faces at the corners of a face, as often as they share one with it. So the face itself comes
/// three times, a neighbour across an edge twice, and one at a corner once.
class AroundCorners
{
public:
    explicit AroundCorners(TriMesh const& mesh) : mesh_(mesh) {}

    template <typename Visit>
    bool operator()(OpenMesh::FaceHandle face, Visit const& visit) const
    {
        for (auto const vertex : mesh_.fv_range(face))
        {
            for (auto const other : mesh_.vf_range(vertex))
            {
                if (!visit(OpenMesh::FaceHandle(other)))
                {
                    return false;
                }
            }
        }
        return true;
    }

private:
    TriMesh const& mesh_;
};

/// The vertices at the other ends of the edges of a vertex.
class AlongEdges
{
public:
    explicit AlongEdges(TriMesh const& mesh) : mesh_(mesh) {}

    template <typename Visit>
    bool operator()(OpenMesh::VertexHandle vertex, Visit const& visit) const
    {
        for (auto const other : mesh_.vv_range(vertex))
        {
            if (!visit(OpenMesh::VertexHandle(other)))
            {
                return false;
            }
        }
        return true;
    }

private:
    TriMesh const& mesh_;
};

/// Grows a list of faces over the edges of a mesh; see `grow`. No face of the list may be marked
/// deleted, for its links lead astray.
template <typename Rule>
bool grow_faces(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle>& faces, Rule const& rule)
{
    return grow(faces, AcrossEdges(mesh), rule);
}

/// Grows a list of vertices along the edges of a mesh; see `grow`.
template <typename Rule>
bool grow_vertices(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle>& vertices,
                   Rule const& rule)
{
    return grow(vertices, AlongEdges(mesh), rule);
}

} // namespace OrvaneAlgorithm::detail
