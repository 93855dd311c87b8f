#include "algorithmVeld/TextureFusion/solve/sources/SourceSolve.h"

#include "algorithmVeld/TextureFusion/solve/sources/CosineLines.h"
#include "algorithmVeld/TextureFusion/solve/sources/SourceField.h"
#include "algorithmVeld/TextureFusion/solve/sources/SourceFit.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// How a grid of sites lies in an image: cosine sums run along its rows or its columns, whichever
/// length takes less time.
class GridInImage
{
public:
    explicit GridInImage(Image<1, unsigned char> const& mask)
        : image_width_(static_cast<std::size_t>(mask.width())),
          image_height_(static_cast<std::size_t>(mask.height())),
          along_rows_(static_cast<double>(image_height_) * cosine_line_cost(image_width_) <=
                      static_cast<double>(image_width_) * cosine_line_cost(image_height_))
    {
    }

    /// \param mask not 0 in the sites
    SiteGrid grid(Image<1, unsigned char> const& mask) const
    {
        SiteGrid grid{along_rows_ ? image_width_ : image_height_,
                      along_rows_ ? image_height_ : image_width_,
                      {}};
        for (std::size_t y = 0; y < grid.height; ++y)
        {
            for (std::size_t x = 0; x < grid.width; ++x)
            {
                if (mask.data()[pixel({x, y})] != 0)
                {
                    grid.sites.push_back({x, y});
                }
            }
        }
        return grid;
    }

    /// Linear index in the image.
    std::size_t pixel(Site const& site) const
    {
        return along_rows_ ? site.y * image_width_ + site.x : site.x * image_width_ + site.y;
    }

private:
    std::size_t image_width_;
    std::size_t image_height_;
    bool along_rows_;
};

Eigen::MatrixX3d known_values(Image<3, float> const& field, SiteGrid const& grid,
                              GridInImage const& place)
{
    Eigen::MatrixX3d values(static_cast<Eigen::Index>(grid.sites.size()), 3);
    for (std::size_t i = 0; i < grid.sites.size(); ++i)
    {
        for (std::size_t c = 0; c < 3; ++c)
        {
            values(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(c)) =
                static_cast<double>(field.data()[3 * place.pixel(grid.sites[i]) + c]);
        }
    }
    return values;
}

void write_unknown(Image<3, float>& field, Image<1, unsigned char> const& mask,
                   SiteGrid const& grid, GridInImage const& place, FieldLines const& lines,
                   Eigen::RowVector3d const& constants)
{
    parallel_for_even(static_cast<std::ptrdiff_t>(grid.height),
                      [&](std::ptrdiff_t line)
                      {
                          auto const y = static_cast<std::size_t>(line);
                          for (std::size_t x = 0; x < grid.width; ++x)
                          {
                              std::size_t const i = place.pixel({x, y});
                              for (std::size_t c = 0; c < 3 && mask.data()[i] == 0; ++c)
                              {
                                  field.data()[3 * i + c] =
                                      static_cast<float>(lines[(3 * y + c) * grid.width + x] +
                                                         constants[static_cast<Eigen::Index>(c)]);
                              }
                          }
                      });
}

} // namespace

bool solve_by_sources(Image<3, float>& field, Image<1, unsigned char> const& mask)
{
    constexpr double NEAR = 1e-9;
    GridInImage const place(mask);
    SiteGrid const grid = place.grid(mask);
    Eigen::MatrixX3d const values = known_values(field, grid, place);
    auto const strengths = fit_sources(grid, values);
    if (!strengths)
    {
        return false;
    }
    FieldLines const lines = source_fields(grid, *strengths);
    Eigen::MatrixX3d off = values - values_at_sites(grid, lines);
    Eigen::RowVector3d const constants = off.colwise().mean();
    off.rowwise() -= constants;
    // The unknown pixels are off by no more than the worst known one.
    if (!(off.cwiseAbs().maxCoeff() <= NEAR * values.cwiseAbs().maxCoeff()))
    {
        return false;
    }
    write_unknown(field, mask, grid, place, lines, constants);
    return true;
}

} // namespace OrvaneAlgorithm::detail
