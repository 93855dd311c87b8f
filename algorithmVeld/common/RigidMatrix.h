#pragma once

#include "algorithmVeld/common/vectors.h"

namespace OrvaneAlgorithm
{

/// Rigid motion: a rotation followed by a translation in millimetres.
class RigidMatrix
{
public:
    /// The identity.
    RigidMatrix() : rotation_(Matrix3d::Identity()), translation_(Vector3d::Zero()) {}

    /// Sets the rotation, which is taken as it is.
    void set_rotation(Matrix3d const& rotation) { rotation_ = rotation; }
    /// Sets the translation, in millimetres.
    void set_translation(Vector3d const& translation) { translation_ = translation; }
    /// The rotation.
    Matrix3d const& get_rotation() const { return rotation_; }
    /// The translation, in millimetres.
    Vector3d const& get_translation() const { return translation_; }

    /// Rotates and translates a point; computed in double.
    Vector3f operator*(Vector3f const& point) const
    {
        return (rotation_ * point.cast<double>() + translation_).cast<float>();
    }

    /// Rotates a direction; computed in double.
    Vector3f transform_normal(Vector3f const& normal) const
    {
        return (rotation_ * normal.cast<double>()).cast<float>();
    }

    /// Rotates a direction.
    Vector3d transform_normal(Vector3d const& normal) const { return rotation_ * normal; }

    /// The motion that undoes this one. The rotation has to be orthonormal.
    RigidMatrix inverse() const
    {
        RigidMatrix result;
        result.rotation_ = rotation_.transpose();
        result.translation_ = -(result.rotation_ * translation_);
        return result;
    }

private:
    Matrix3d rotation_;
    Vector3d translation_;
};

} // namespace OrvaneAlgorithm
