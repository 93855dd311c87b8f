#include "algorithmVeld/TextureFusion/solve/sources/NearestPreconditioner.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <Eigen/Cholesky>

#include <algorithm>
#include <numeric>
#include <random>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t N_NEAREST = 24;

double square_of_distance(std::size_t a, std::size_t b)
{
    double const d = static_cast<double>(a) - static_cast<double>(b);
    return d * d;
}

/// The nearest sites so far, the first of those at one distance before the others.
class NearestSites
{
public:
    bool is_full() const { return found_.size() == N_NEAREST; }
    double farthest() const { return found_.back().first; }

    void offer(double squared_distance, std::size_t site)
    {
        std::pair<double, std::size_t> const candidate(squared_distance, site);
        if (is_full())
        {
            if (found_.back() < candidate)
            {
                return;
            }
            found_.pop_back();
        }
        found_.insert(std::upper_bound(found_.begin(), found_.end(), candidate), candidate);
    }

    std::vector<std::size_t> sites() const
    {
        std::vector<std::size_t> sites;
        sites.reserve(found_.size());
        for (auto const& nearest : found_)
        {
            sites.push_back(nearest.second);
        }
        return sites;
    }

private:
    std::vector<std::pair<double, std::size_t>> found_;
};

/// The sites near another one that have earlier places. Sites are sorted by y, so the search goes
/// both ways from the site until the distance in y alone is too large.
std::vector<std::size_t> nearest_before(std::vector<Site> const& sites, std::size_t site,
                                        std::vector<std::size_t> const& places)
{
    NearestSites nearest;
    Site const& own = sites[site];
    auto const look_at = [&](std::size_t other)
    {
        double const in_y = square_of_distance(sites[other].y, own.y);
        if (nearest.is_full() && in_y > nearest.farthest())
        {
            return false;
        }
        if (places[other] < places[site])
        {
            nearest.offer(in_y + square_of_distance(sites[other].x, own.x), other);
        }
        return true;
    };
    bool goes_down = true;
    bool goes_up = true;
    for (std::size_t step = 1; goes_down || goes_up; ++step)
    {
        goes_down = goes_down && step <= site && look_at(site - step);
        goes_up = goes_up && site + step < sites.size() && look_at(site + step);
    }
    return nearest.sites();
}

} // namespace

NearestPreconditioner::NearestPreconditioner(SiteGrid const& grid, GreensTable const& green)
    : order_(grid.sites.size()), predictions_(grid.sites.size())
{
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::mt19937 random; // its numbers are the same everywhere
    for (std::size_t n = order_.size(); n > 1; --n)
    {
        std::swap(order_[n - 1], order_[random() % n]);
    }
    std::vector<std::size_t> places(order_.size());
    for (std::size_t place = 0; place < order_.size(); ++place)
    {
        places[order_[place]] = place;
    }
    parallel_for_uneven(static_cast<std::ptrdiff_t>(order_.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const place = static_cast<std::size_t>(i);
                            predictions_[place] = predict(grid, green, order_[place], places);
                        });
}

NearestPreconditioner::Prediction
NearestPreconditioner::predict(SiteGrid const& grid, GreensTable const& green, std::size_t site,
                               std::vector<std::size_t> const& places)
{
    Prediction prediction;
    prediction.from = nearest_before(grid.sites, site, places);
    auto const n = static_cast<Eigen::Index>(prediction.from.size());
    auto const neighbour = [&](Eigen::Index k)
    { return grid.sites[prediction.from[static_cast<std::size_t>(k)]]; };
    Eigen::MatrixXd among(n, n);
    Eigen::VectorXd weights(n);
    for (Eigen::Index i = 0; i < n; ++i)
    {
        for (Eigen::Index j = 0; j <= i; ++j)
        {
            among(i, j) = green(neighbour(i), neighbour(j));
        }
        weights[i] = green(neighbour(i), grid.sites[site]);
    }
    Eigen::VectorXd const to_site = weights;
    Eigen::LLT<Eigen::Ref<Eigen::MatrixXd>> const factors(among);
    factors.solveInPlace(weights);
    prediction.weights.assign(weights.data(), weights.data() + n);
    prediction.precision = 1.0 / (green(grid.sites[site], grid.sites[site]) - weights.dot(to_site));
    return prediction;
}

Eigen::MatrixX3d NearestPreconditioner::operator*(Eigen::MatrixX3d const& columns) const
{
    auto const row = [](std::size_t site) { return static_cast<Eigen::Index>(site); };
    Eigen::MatrixX3d product = Eigen::MatrixX3d::Zero(columns.rows(), 3);
    for (std::size_t place = 0; place < order_.size(); ++place)
    {
        Prediction const& prediction = predictions_[place];
        Eigen::RowVector3d error = columns.row(row(order_[place]));
        for (std::size_t k = 0; k < prediction.from.size(); ++k)
        {
            error -= prediction.weights[k] * columns.row(row(prediction.from[k]));
        }
        error *= prediction.precision;
        product.row(row(order_[place])) += error;
        for (std::size_t k = 0; k < prediction.from.size(); ++k)
        {
            product.row(row(prediction.from[k])) -= prediction.weights[k] * error;
        }
    }
    return product;
}

} // namespace OrvaneAlgorithm::detail
