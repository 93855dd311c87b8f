#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <exception>

namespace OrvaneAlgorithm::detail
{

/// Takes what is marked deleted out of the mesh, where the status attributes tell. Leaves the same
/// mesh as `garbage_collection(true, true, true)`: the gaps are filled from the end.
void compact(TriMesh& mesh);

/// Takes out what was deleted so far if an exception leaves the scope: without their marks nobody
/// could tell deleted elements from the others. It stands behind the scope that requests the marks.
class CompactedOnException
{
public:
    explicit CompactedOnException(TriMesh& mesh) : mesh_(mesh) {}
    ~CompactedOnException()
    {
        if (std::uncaught_exceptions() > exceptions_)
        {
            compact(mesh_);
        }
    }
    CompactedOnException(CompactedOnException const&) = delete;
    CompactedOnException& operator=(CompactedOnException const&) = delete;

private:
    TriMesh& mesh_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace OrvaneAlgorithm::detail
