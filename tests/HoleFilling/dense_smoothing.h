#pragma once

#include "algorithmVeld/HoleFilling/HoleSmooth.h"

#include "tests/support/meshes.h"

#include <Eigen/Dense>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

/// \file
/// Smoothing as it is defined, on dense matrices in `double`. Faces are lists of corners here; the
/// half-edge structure is not asked.

namespace veld_test
{

using OrvaneAlgorithm::HoleSmooth;
using OrvaneAlgorithm::TriMesh;

class DenseSmoothing
{
public:
    using Matrix = Eigen::MatrixXd;
    using Vector = Eigen::VectorXd;

    DenseSmoothing(TriMesh const& mesh, HoleSmooth::Component component,
                   HoleSmooth::Continuity continuity)
        : component_(component),
          continuity_(continuity),
          points_(static_cast<int>(mesh.n_vertices()), 3)
    {
        for (auto const v : mesh.all_vertices())
        {
            points_.row(v.idx()) = mesh.point(v).cast<double>();
        }
        faces_ = corners_of(mesh);
        start_ = points_;
        normals_ = vertex_normals();
    }

    void step(std::vector<int> const& active, double tolerance)
    {
        Matrix const next = continuity_ == HoleSmooth::C0 ? c0_target() : c1_target();
        for (int const v : active)
        {
            Eigen::RowVector3d way = next.row(v) - start_.row(v);
            Eigen::RowVector3d const n = normals_.row(v);
            double const error = std::abs(way.dot(n));
            if (component_ == HoleSmooth::Tangential)
            {
                way -= way.dot(n) * n;
            }
            else if (tolerance >= 0.0 && error > tolerance)
            {
                way *= tolerance / error;
            }
            points_.row(v) = start_.row(v) + way;
        }
    }

    Matrix const& points() const { return points_; }

private:
    Eigen::RowVector3d row(int v) const { return points_.row(v); }

    Matrix vertex_normals() const
    {
        Matrix normals = Matrix::Zero(points_.rows(), 3);
        for (auto const& [a, b, c] : faces_)
        {
            Eigen::Vector3d const u = row(b) - row(a);
            Eigen::Vector3d const w = row(c) - row(a);
            Eigen::Vector3d const n = u.cross(w).normalized();
            for (int const v : {a, b, c})
            {
                normals.row(v) += n;
            }
        }
        for (int v = 0; v < normals.rows(); ++v)
        {
            double const length = normals.row(v).norm();
            normals.row(v) /= length > 0.0 ? length : 1.0;
        }
        return normals;
    }

    /// The cotangent of the angle at `c` between the directions to `a` and `b`.
    double cotangent(int c, int a, int b) const
    {
        Eigen::Vector3d const u = row(a) - row(c);
        Eigen::Vector3d const v = row(b) - row(c);
        return u.dot(v) / u.cross(v).norm();
    }

    /// The symmetric matrix of the weights of edges.
    Matrix weights() const
    {
        Matrix w = Matrix::Zero(points_.rows(), points_.rows());
        for (auto const& face : faces_)
        {
            for (std::size_t k = 0; k < 3; ++k)
            {
                int const a = face[k];
                int const b = face[(k + 1) % 3];
                if (component_ == HoleSmooth::Normal_Dir)
                {
                    w(a, b) += cotangent(face[(k + 2) % 3], a, b);
                }
                else
                {
                    w(a, b) = component_ == HoleSmooth::Scale_Dependent
                                  ? 1.0 / (row(a) - row(b)).norm()
                                  : 1.0;
                }
            }
        }
        // Each face gave its side in its own direction, a face beyond the edge in the other one.
        Matrix const back = w.transpose();
        return component_ == HoleSmooth::Normal_Dir ? Matrix(w + back) : Matrix(w.cwiseMax(back));
    }

    /// 1 / sum of the weights around each vertex; 0 without edges.
    static Vector inverse_sums(Matrix const& w)
    {
        Vector sums = w.rowwise().sum();
        for (int v = 0; v < sums.size(); ++v)
        {
            sums(v) = std::abs(sums(v)) > 1e-5 ? 1.0 / sums(v) : sums(v);
        }
        return sums;
    }

    Matrix c0_target() const
    {
        Matrix const w = weights();
        Matrix const mean = inverse_sums(w).asDiagonal() * w * points_;
        return points_ + 0.5 * (mean - points_);
    }

    Matrix c1_target() const
    {
        Matrix const w = weights();
        Vector const inverse = inverse_sums(w);
        Matrix const laplace =
            Matrix::Identity(w.rows(), w.cols()) - Matrix(inverse.asDiagonal() * w);
        Matrix step = laplace * (laplace * points_);
        Vector const diagonal =
            inverse.cwiseProduct(w.cwiseProduct(w) * inverse + Vector(w.rowwise().sum()));
        for (int v = 0; v < step.rows(); ++v)
        {
            step.row(v) /= std::abs(diagonal(v)) > 1e-5 ? diagonal(v) : 1.0;
        }
        return points_ - 0.25 * step;
    }

    HoleSmooth::Component component_;
    HoleSmooth::Continuity continuity_;
    std::vector<std::array<int, 3>> faces_;
    Matrix points_;
    Matrix start_;
    Matrix normals_;
};

} // namespace veld_test
