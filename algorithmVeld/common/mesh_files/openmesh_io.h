#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>

/// \file
/// What OpenMesh's exporter lacks to write a mesh whose colours are Eigen vectors. Include this
/// wherever `OpenMesh::IO::ExporterT<TriMesh>` is used: without it, colours from 0 to 1 would be
/// cut down to bytes 0 and 1.

#ifndef OM_MESHIO_HH
#error "TriMesh.h has to bring OpenMesh's MeshIO.hh, in front of EigenVectorT.hh"
#endif

namespace OpenMesh
{

/// Casts from the library's colours go by way of OpenMesh's own float vectors. Channels outside 0
/// to 1 become the nearest byte, NaN becomes 0.
template <typename Target>
struct EigenColorCaster
{
    using return_type = Target;

    static return_type cast(Eigen::Vector3f const& color)
    {
        auto const clamped = [](float channel)
        { return channel > 0.0F ? std::min(channel, 1.0F) : 0.0F; };
        return color_caster<Target, Vec3f>::cast(
            Vec3f(clamped(color[0]), clamped(color[1]), clamped(color[2])));
    }
};

template <>
struct color_caster<Vec3uc, Eigen::Vector3f> : EigenColorCaster<Vec3uc>
{
};
template <>
struct color_caster<Vec4uc, Eigen::Vector3f> : EigenColorCaster<Vec4uc>
{
};
template <>
struct color_caster<Vec3ui, Eigen::Vector3f> : EigenColorCaster<Vec3ui>
{
};

template <>
struct color_caster<Vec4ui, Eigen::Vector3f>
{
    using return_type = Vec4ui;

    static return_type cast(Eigen::Vector3f const& color)
    {
        auto const rgb = color_caster<Vec3ui, Eigen::Vector3f>::cast(color);
        return Vec4ui(rgb[0], rgb[1], rgb[2], 255);
    }
};

/// Floats stay as they are.
template <>
struct color_caster<Vec3f, Eigen::Vector3f>
{
    using return_type = Vec3f;

    static return_type cast(Eigen::Vector3f const& color)
    {
        return Vec3f(color[0], color[1], color[2]);
    }
};

template <>
struct color_caster<Vec4f, Eigen::Vector3f>
{
    using return_type = Vec4f;

    static return_type cast(Eigen::Vector3f const& color)
    {
        return Vec4f(color[0], color[1], color[2], 1.0F);
    }
};

} // namespace OpenMesh
