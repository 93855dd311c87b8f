#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <memory>
#include <utility>

namespace veld_test
{

/// Counts how often the mesh sizes its arrays: those of one kind of element once for each property
/// of the kind and each element that is added. It is a property of each kind itself, and goes with
/// the mesh.
class ArrayWatch
{
public:
    explicit ArrayWatch(OrvaneAlgorithm::TriMesh& mesh)
    {
        OpenMesh::VPropHandleT<int> vertices;
        mesh.add_property(vertices, "watch");
        replace(*(mesh.vprops_begin() + vertices.idx()), vertices_, mesh.n_vertices());
        OpenMesh::FPropHandleT<int> faces;
        mesh.add_property(faces, "watch");
        replace(*(mesh.fprops_begin() + faces.idx()), faces_, mesh.n_faces());
    }

    std::size_t vertices() const { return *vertices_; }
    std::size_t faces() const { return *faces_; }

private:
    using Count = std::shared_ptr<std::size_t>;

    class Property : public OpenMesh::PropertyT<int>
    {
    public:
        Property(Count count, std::size_t n)
            : PropertyT<int>("watch", OpenMesh::get_type_name<int>()), count_(std::move(count))
        {
            PropertyT<int>::resize(n);
        }
        void resize(std::size_t n) override
        {
            ++*count_;
            PropertyT<int>::resize(n);
        }

    private:
        Count count_;
    };

    static void replace(OpenMesh::BaseProperty*& place, Count const& count, std::size_t n)
    {
        delete place;
        place = new Property(count, n);
    }

    Count vertices_ = std::make_shared<std::size_t>(0);
    Count faces_ = std::make_shared<std::size_t>(0);
};

} // namespace veld_test
