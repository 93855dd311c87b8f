#include "algorithmVeld/TextureFusion/solve/sources/SourceField.h"

#include "algorithmVeld/TextureFusion/solve/sources/CosineLines.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t N_FIELDS = 3;
constexpr std::size_t BLOCK = 32; // frequencies that are worked on together

/// cos(pi j / (2 width)) for a whole period.
std::vector<double> cosine_table(std::size_t width)
{
    std::vector<double> table(4 * width);
    for (std::size_t j = 0; j < table.size(); ++j)
    {
        table[j] = std::cos(PI * static_cast<double>(j) / (2.0 * static_cast<double>(width)));
    }
    return table;
}

/// The equations of some frequencies in x. Each has three terms in y: the tridiagonal matrix of a
/// frequency has -1 beside its diagonal, and each row sums up to the frequency's eigenvalue.
class FrequencyBlock
{
public:
    FrequencyBlock(SiteGrid const& grid, Eigen::MatrixX3d const& strengths,
                   std::vector<double> const& cosines, std::size_t begin, double* lines)
        : grid_(grid),
          strengths_(strengths),
          cosines_(cosines),
          begin_(begin),
          n_(std::min(BLOCK, grid.width - begin)),
          lines_(lines),
          inverse_pivots_(grid.height * n_)
    {
        factorise();
    }

    void solve()
    {
        eliminate_forwards();
        substitute_backwards();
    }

private:
    double* line(std::size_t y, std::size_t field)
    {
        return &lines_[(y * N_FIELDS + field) * grid_.width + begin_];
    }

    /// The pivots exceed 1 by sums of positive terms: nothing cancels out. That of the last row
    /// is the excess alone, 0 for the frequency 0.
    void factorise()
    {
        std::size_t const height = grid_.height;
        std::vector<double> eigenvalues(n_);
        for (std::size_t k = 0; k < n_; ++k)
        {
            double const s = 2.0 * std::sin(PI * static_cast<double>(begin_ + k) /
                                            (2.0 * static_cast<double>(grid_.width)));
            eigenvalues[k] = s * s;
        }
        std::vector<double> excess(n_, 0.0);
        for (std::size_t y = 0; y < height; ++y)
        {
            double* const inverse = &inverse_pivots_[y * n_];
            double const* const before = y > 0 ? inverse - n_ : inverse;
            for (std::size_t k = 0; k < n_; ++k)
            {
                excess[k] = eigenvalues[k] + excess[k] * before[k];
                inverse[k] = 1.0 / (1.0 + excess[k]);
            }
        }
        for (std::size_t k = 0; k < n_; ++k)
        {
            inverse_pivots_[(height - 1) * n_ + k] = excess[k] > 0.0 ? 1.0 / excess[k] : 0.0;
        }
    }

    void eliminate_forwards()
    {
        std::size_t next = 0;
        for (std::size_t y = 0; y < grid_.height; ++y)
        {
            for (std::size_t field = 0; field < N_FIELDS; ++field)
            {
                double* const here = line(y, field);
                if (y == 0)
                {
                    std::fill_n(here, n_, 0.0);
                    continue;
                }
                double const* const before = line(y - 1, field);
                double const* const inverse = &inverse_pivots_[(y - 1) * n_];
                for (std::size_t k = 0; k < n_; ++k)
                {
                    here[k] = before[k] * inverse[k];
                }
            }
            for (; next < grid_.sites.size() && grid_.sites[next].y == y; ++next)
            {
                add_source(next);
            }
        }
    }

    void add_source(std::size_t i)
    {
        Site const& site = grid_.sites[i];
        std::size_t const step = 2 * site.x + 1;
        std::size_t at = step * begin_ % cosines_.size();
        double wave[BLOCK];
        for (std::size_t k = 0; k < n_; ++k)
        {
            wave[k] = cosines_[at];
            at += step;
            at -= at >= cosines_.size() ? cosines_.size() : 0;
        }
        for (std::size_t field = 0; field < N_FIELDS; ++field)
        {
            double* const here = line(site.y, field);
            double const strength =
                strengths_(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(field));
            for (std::size_t k = 0; k < n_; ++k)
            {
                here[k] += strength * wave[k];
            }
        }
    }

    void substitute_backwards()
    {
        for (std::size_t y = grid_.height; y-- > 0;)
        {
            double const* const inverse = &inverse_pivots_[y * n_];
            for (std::size_t field = 0; field < N_FIELDS; ++field)
            {
                double* const here = line(y, field);
                if (y + 1 == grid_.height)
                {
                    for (std::size_t k = 0; k < n_; ++k)
                    {
                        here[k] *= inverse[k];
                    }
                    continue;
                }
                double const* const after = line(y + 1, field);
                for (std::size_t k = 0; k < n_; ++k)
                {
                    here[k] = (here[k] + after[k]) * inverse[k];
                }
            }
        }
    }

    SiteGrid const& grid_;
    Eigen::MatrixX3d const& strengths_;
    std::vector<double> const& cosines_;
    std::size_t begin_;
    std::size_t n_;
    double* lines_;                      ///< of three fields
    std::vector<double> inverse_pivots_; ///< by y
};

} // namespace

FieldLines source_fields(SiteGrid const& grid, Eigen::MatrixX3d const& strengths)
{
    FieldLines lines(new double[N_FIELDS * grid.width * grid.height]);
    auto const cosines = cosine_table(grid.width);
    parallel_for_even(static_cast<std::ptrdiff_t>((grid.width + BLOCK - 1) / BLOCK),
                      [&](std::ptrdiff_t block)
                      {
                          FrequencyBlock(grid, strengths, cosines,
                                         static_cast<std::size_t>(block) * BLOCK, lines.get())
                              .solve();
                      });
    sum_cosines_between(lines.get(), N_FIELDS * grid.height, grid.width,
                        1.0 / static_cast<double>(grid.width));
    return lines;
}

Eigen::MatrixX3d values_at_sites(SiteGrid const& grid, FieldLines const& fields)
{
    Eigen::MatrixX3d values(static_cast<Eigen::Index>(grid.sites.size()), N_FIELDS);
    for (std::size_t i = 0; i < grid.sites.size(); ++i)
    {
        for (std::size_t c = 0; c < N_FIELDS; ++c)
        {
            Site const& site = grid.sites[i];
            values(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c)) =
                fields[(site.y * N_FIELDS + c) * grid.width + site.x];
        }
    }
    return values;
}

} // namespace OrvaneAlgorithm::detail
