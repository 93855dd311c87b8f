#pragma once

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/vectors.h"

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <cstddef>
#include <utility>
#include <vector>

/// \file
/// Arrays that cross between C++ and Python. Views cannot be written to and keep their
/// owner alive; what Python gives is contiguous, of the right type and shape, which the package
/// sees to.

namespace veld::python
{

namespace nb = nanobind;

using FloatRows = nb::ndarray<float const, nb::shape<-1, 3>, nb::c_contig, nb::device::cpu>;
using IntRows = nb::ndarray<int const, nb::shape<-1, 3>, nb::c_contig, nb::device::cpu>;
using IntPairs = nb::ndarray<int const, nb::shape<-1, 2>, nb::c_contig, nb::device::cpu>;
using Flags = nb::ndarray<unsigned char const, nb::shape<-1>, nb::c_contig, nb::device::cpu>;
using Matrix4 = nb::ndarray<double const, nb::shape<4, 4>, nb::c_contig, nb::device::cpu>;
using Pixels =
    nb::ndarray<unsigned char const, nb::shape<-1, -1, 3>, nb::c_contig, nb::device::cpu>;
using TexcoordRows = nb::ndarray<float const, nb::shape<-1, 3, 2>, nb::c_contig, nb::device::cpu>;

using FloatView = nb::ndarray<nb::numpy, float const, nb::c_contig>;
using IntView = nb::ndarray<nb::numpy, int const, nb::c_contig>;
using ByteView = nb::ndarray<nb::numpy, unsigned char const, nb::c_contig>;

/// What Python has for itself, and may write to.
template <typename Value>
using OwnArray = nb::ndarray<nb::numpy, Value, nb::c_contig>;

/// Rows of a list of vectors that lives as long as its owner.
inline FloatView view_of(OrvaneAlgorithm::Vector3f const* first, std::size_t n, nb::handle owner)
{
    return FloatView(first, {n, 3}, owner);
}

/// Takes a value to where an array can look into it as long as it lives.
template <typename Value>
std::pair<Value*, nb::capsule> given_away(Value value)
{
    auto* const kept = new Value(std::move(value));
    nb::capsule const owner(kept, [](void* p) noexcept { delete static_cast<Value*>(p); });
    return {kept, owner};
}

/// An image as rows of pixels of blue, green and red.
inline OwnArray<unsigned char> array_of(OrvaneAlgorithm::Image<3, unsigned char> image)
{
    auto const [kept, owner] = given_away(std::move(image));
    return {kept->data(),
            {static_cast<std::size_t>(kept->height()), static_cast<std::size_t>(kept->width()), 3},
            owner};
}

inline OwnArray<int> array_of(std::vector<int> values)
{
    auto const [kept, owner] = given_away(std::move(values));
    return {kept->data(), {kept->size()}, owner};
}

/// Copies of rows.
std::vector<OrvaneAlgorithm::Vector3f> vectors_of(FloatRows const& rows);
OrvaneAlgorithm::Image<3, unsigned char> image_of(Pixels const& pixels);
OrvaneAlgorithm::RigidMatrix motion_of(Matrix4 const& matrix);
OwnArray<double> matrix_of(OrvaneAlgorithm::RigidMatrix const& motion);

} // namespace veld::python
