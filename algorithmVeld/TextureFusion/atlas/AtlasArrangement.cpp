#include "algorithmVeld/TextureFusion/atlas/AtlasArrangement.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int N_PLACES = 3; ///< at each rectangle

bool fits_an_int(std::int64_t value)
{
    return value <= std::numeric_limits<int>::max();
}

std::uint64_t cell_key(std::int64_t column, std::int64_t row)
{
    return static_cast<std::uint64_t>(column) << 32U | static_cast<std::uint64_t>(row);
}

} // namespace

AtlasArrangement::Box AtlasArrangement::box_at(Place const& place, std::int64_t width,
                                               std::int64_t height) const
{
    return {place.first, place.first + width - 1 + gap_, place.second,
            place.second + height - 1 + gap_};
}

AtlasArrangement::Place AtlasArrangement::place_beside(Box const& box, int which) const
{
    std::int64_t const right = box.max_x + 1;
    std::int64_t const below = box.max_y + 1;
    return {which == 0 ? box.min_x : right, which == 1 ? box.min_y : below};
}

/// \return false if `visit(key)` gave false for a cell, and none is visited behind it
template <typename Visit>
bool AtlasArrangement::for_each_cell(Box const& box, Visit const& visit) const
{
    for (std::int64_t row = box.min_y / cell_; row <= box.max_y / cell_; ++row)
    {
        for (std::int64_t column = box.min_x / cell_; column <= box.max_x / cell_; ++column)
        {
            if (!visit(cell_key(column, row)))
            {
                return false;
            }
        }
    }
    return true;
}

bool AtlasArrangement::is_free(Box const& box) const
{
    auto const is_apart = [&](std::uint32_t i)
    {
        Box const& other = boxes_[i];
        return box.min_x > other.max_x || box.max_x < other.min_x || box.min_y > other.max_y ||
               box.max_y < other.min_y;
    };
    return for_each_cell(box,
                         [&](std::uint64_t key)
                         {
                             auto const found = grid_.find(key);
                             return found == grid_.end() ||
                                    std::all_of(found->second.begin(), found->second.end(),
                                                is_apart);
                         });
}

void AtlasArrangement::place_first(PatchTex& record)
{
    take(record, {0, 0});
}

bool AtlasArrangement::place(PatchTex& record)
{
    for (Place const& place : places_)
    {
        if (fits_an_int(place.first + record.width()) &&
            fits_an_int(place.second + record.height()) &&
            is_free(box_at(place, record.width(), record.height())))
        {
            take(record, Place(place));
            return true;
        }
    }
    return false;
}

void AtlasArrangement::take(PatchTex& record, Place const& place)
{
    record.atlas_x = static_cast<int>(place.first);
    record.atlas_y = static_cast<int>(place.second);
    size_ =
        size_.cwiseMax(Vector2i(record.atlas_y + record.height(), record.atlas_x + record.width()));
    Box const box = box_at(place, record.width(), record.height());
    auto const number = static_cast<std::uint32_t>(boxes_.size());
    boxes_.push_back(box);
    for_each_cell(box,
                  [&](std::uint64_t key)
                  {
                      grid_[key].push_back(number);
                      return true;
                  });
    forget_taken_places(box);
    for (int which = 0; which < N_PLACES; ++which)
    {
        Place const beside = place_beside(box, which);
        if (is_free(box_at(beside, 1, 1)))
        {
            places_.push_back(beside);
        }
    }
}

/// Drops the places in which not even one pixel would be apart from a box.
void AtlasArrangement::forget_taken_places(Box const& box)
{
    auto const is_taken = [&](Place const& place)
    {
        Box const pixel = box_at(place, 1, 1);
        return pixel.min_x <= box.max_x && pixel.max_x >= box.min_x && pixel.min_y <= box.max_y &&
               pixel.max_y >= box.min_y;
    };
    places_.erase(std::remove_if(places_.begin(), places_.end(), is_taken), places_.end());
}

bool AtlasArrangement::find_free_pixel(std::size_t n, BlackCell& pixel) const
{
    for (std::size_t i = 0; i < std::min(n, boxes_.size()); ++i)
    {
        for (int which = 0; which < N_PLACES; ++which)
        {
            Place const place = place_beside(boxes_[i], which);
            if (place.first < size_.y() && place.second < size_.x() && is_free(box_at(place, 1, 1)))
            {
                pixel = {static_cast<int>(place.first), static_cast<int>(place.second)};
                return true;
            }
        }
    }
    return false;
}

std::vector<std::size_t> arrangement_order(std::vector<PatchTex> const& records)
{
    std::vector<std::size_t> order(records.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b)
                     {
                         PatchTex const& first = records[a];
                         PatchTex const& second = records[b];
                         return first.height() != second.height() ? first.height() > second.height()
                                                                  : first.width() > second.width();
                     });
    return order;
}

int arrangement_cell(std::vector<PatchTex> const& records)
{
    constexpr int SMALLEST = 16;
    double area = 0.0;
    for (PatchTex const& record : records)
    {
        area += static_cast<double>(record.width()) * record.height();
    }
    double const mean = area / static_cast<double>(std::max<std::size_t>(records.size(), 1));
    return std::max(SMALLEST, static_cast<int>(std::sqrt(mean)));
}

} // namespace OrvaneAlgorithm::detail
