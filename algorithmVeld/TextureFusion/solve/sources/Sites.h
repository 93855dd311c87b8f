#pragma once

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A pixel of a grid.
struct Site
{
    std::size_t x = 0;
    std::size_t y = 0;
};

/// A rectangle of pixels, and some of them, each once, by rising y and for the same y by rising x.
struct SiteGrid
{
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<Site> sites;
};

} // namespace OrvaneAlgorithm::detail
