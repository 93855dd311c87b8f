#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The property with the frame of each vertex, which is on a mesh already: taken off it, and its
/// handle made invalid, at the end of the scope.
class FrameNumbers
{
public:
    FrameNumbers(TriMesh& mesh, OpenMesh::VPropHandleT<int>& frame_of_vertex)
        : mesh_(mesh), frame_of_vertex_(frame_of_vertex)
    {
    }
    ~FrameNumbers() { mesh_.remove_property(frame_of_vertex_); }
    FrameNumbers(FrameNumbers const&) = delete;
    FrameNumbers& operator=(FrameNumbers const&) = delete;

    void copy_to(std::vector<int>& vertex_frames) const
    {
        vertex_frames.resize(mesh_.n_vertices());
        for (auto const vertex : mesh_.all_vertices())
        {
            vertex_frames[static_cast<std::size_t>(vertex.idx())] =
                mesh_.property(frame_of_vertex_, vertex);
        }
    }

private:
    TriMesh& mesh_;
    OpenMesh::VPropHandleT<int>& frame_of_vertex_;
};

} // namespace OrvaneAlgorithm::detail
