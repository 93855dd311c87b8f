#include "algorithmVeld/TextureFusion/solve/sources/SourceFit.h"

#include "algorithmVeld/TextureFusion/solve/sources/GreensTable.h"
#include "algorithmVeld/TextureFusion/solve/sources/NearestPreconditioner.h"
#include "algorithmVeld/TextureFusion/solve/sources/SourceField.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <memory>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Columns = Eigen::MatrixX3d;

Eigen::Index row_of(std::size_t i)
{
    return static_cast<Eigen::Index>(i);
}

/// What sources do to the values in the sites: a matrix, or where that would be large beside the
/// rectangle, nothing, and then their fields are computed each time.
class SiteResponse
{
public:
    SiteResponse(SiteGrid const& grid, GreensTable const& green) : grid_(grid)
    {
        constexpr std::size_t SMALL = 1000;
        constexpr std::size_t ENTRIES_PER_PIXEL = 16;
        std::size_t const n = grid.sites.size();
        if (n > SMALL && n > ENTRIES_PER_PIXEL * grid.width * grid.height / n)
        {
            return;
        }
        matrix_.resize(row_of(n), row_of(n));
        parallel_for_even(row_of(n),
                          [&](std::ptrdiff_t i)
                          {
                              Site const& source = grid.sites[static_cast<std::size_t>(i)];
                              for (std::size_t k = 0; k < n; ++k)
                              {
                                  matrix_(row_of(k), i) = green(grid.sites[k], source);
                              }
                          });
    }

    Columns operator*(Columns const& strengths) const
    {
        if (matrix_.size() == 0)
        {
            return values_at_sites(grid_, source_fields(grid_, strengths));
        }
        Columns values(strengths.rows(), 3);
        parallel_for_even(strengths.rows(),
                          [&](std::ptrdiff_t i)
                          {
                              for (Eigen::Index c = 0; c < 3; ++c)
                              {
                                  values(i, c) = matrix_.col(i).dot(strengths.col(c));
                              }
                          });
        return values;
    }

private:
    SiteGrid const& grid_;
    Eigen::MatrixXd matrix_;
};

/// The preconditioner among columns whose sum is 0. The values are good up to a constant, and it
/// says which.
class ProjectedPreconditioner
{
public:
    ProjectedPreconditioner(SiteGrid const& grid, GreensTable const& green)
        : nearest_(grid, green),
          of_ones_((nearest_ * Columns::Ones(row_of(grid.sites.size()), 3)).col(0)),
          sum_of_ones_(of_ones_.sum())
    {
    }

    /// Takes from the residual the constant that counts for nothing. \return the product
    Columns apply(Columns& residual) const
    {
        Columns product = nearest_ * residual;
        Eigen::RowVector3d const constants = product.colwise().sum() / sum_of_ones_;
        product -= of_ones_ * constants;
        residual.rowwise() -= constants;
        return product;
    }

private:
    NearestPreconditioner nearest_;
    Eigen::VectorXd of_ones_;
    double sum_of_ones_;
};

/// Conjugate gradients for three right sides side by side, each with step lengths of its own.
class ConjugateSteps
{
public:
    explicit ConjugateSteps(Columns const& values)
        : residual_(values),
          direction_(Columns::Zero(values.rows(), 3)),
          strengths_(Columns::Zero(values.rows(), 3)),
          near_enough_(NEAR * values.cwiseAbs().colwise().maxCoeff())
    {
    }

    /// \return whether the strengths are good
    bool turn(ProjectedPreconditioner const& preconditioner)
    {
        Columns const product = preconditioner.apply(residual_);
        is_done_ = residual_.cwiseAbs().colwise().maxCoeff().array() <= near_enough_.array();
        auto const before = energy_;
        energy_ = residual_.cwiseProduct(product).colwise().sum();
        for (Eigen::Index c = 0; c < 3; ++c)
        {
            double const share = before[c] > 0.0 ? energy_[c] / before[c] : 0.0;
            direction_.col(c) = product.col(c) + share * direction_.col(c);
        }
        return is_done_.all();
    }

    void go(SiteResponse const& response)
    {
        Columns const product = response * direction_;
        for (Eigen::Index c = 0; c < 3; ++c)
        {
            double const curvature = direction_.col(c).dot(product.col(c));
            double const length = is_done_[c] ? 0.0 : energy_[c] / curvature;
            strengths_.col(c) += length * direction_.col(c);
            residual_.col(c) -= length * product.col(c);
        }
    }

    Columns const& strengths() const { return strengths_; }

private:
    static constexpr double NEAR = 1e-12;

    Columns residual_;
    Columns direction_;
    Columns strengths_;
    Eigen::RowVector3d near_enough_;
    Eigen::RowVector3d energy_ = Eigen::RowVector3d::Zero();
    Eigen::Array<bool, 1, 3> is_done_;
};

} // namespace

std::optional<Columns> fit_sources(SiteGrid const& grid, Columns const& values)
{
    constexpr int MOST_STEPS = 60;
    auto green = std::make_unique<GreensTable>(grid.width, grid.height);
    ProjectedPreconditioner const preconditioner(grid, *green);
    SiteResponse const response(grid, *green);
    green.reset();
    ConjugateSteps steps(values);
    for (int step = 0; step < MOST_STEPS; ++step)
    {
        poll_cancel();
        if (steps.turn(preconditioner))
        {
            return steps.strengths();
        }
        steps.go(response);
    }
    return {};
}

} // namespace OrvaneAlgorithm::detail
