#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <exception>

namespace OrvaneAlgorithm::detail
{

/// Empties the mesh if an exception leaves the scope, for half of a merge is of no use.
class EmptiedOnException
{
public:
    explicit EmptiedOnException(TriMesh& mesh) : mesh_(mesh) {}
    ~EmptiedOnException()
    {
        if (std::uncaught_exceptions() > exceptions_)
        {
            mesh_.clear();
        }
    }
    EmptiedOnException(EmptiedOnException const&) = delete;
    EmptiedOnException& operator=(EmptiedOnException const&) = delete;

private:
    TriMesh& mesh_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace OrvaneAlgorithm::detail
