#pragma once

#include "algorithmVeld/TextureFusion/solve/sources/GreensTable.h"
#include "algorithmVeld/TextureFusion/solve/sources/Sites.h"

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A sparse approximation of the inverse of the matrix of Green's function between sites. The sites
/// stand in a random order, and each is predicted from the nearest ones before it, as if those
/// further away told nothing more. They hardly do, for near values screen off far ones.
class NearestPreconditioner
{
public:
    /// \param green gives the matrix
    NearestPreconditioner(SiteGrid const& grid, GreensTable const& green);

    /// The product with three columns.
    Eigen::MatrixX3d operator*(Eigen::MatrixX3d const& columns) const;

private:
    /// What a site is predicted from, with which weights, and 1 over the variance that is left.
    struct Prediction
    {
        std::vector<std::size_t> from;
        std::vector<double> weights;
        double precision = 0.0;
    };

    static Prediction predict(SiteGrid const& grid, GreensTable const& green, std::size_t site,
                              std::vector<std::size_t> const& places);

    std::vector<std::size_t> order_;      ///< of the sites
    std::vector<Prediction> predictions_; ///< by place in the order
};

} // namespace OrvaneAlgorithm::detail
