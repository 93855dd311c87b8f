#include "algorithmVeld/common/running/OrderedWork.h"

#include "algorithmVeld/common/geometry/BoundingBox.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

// A cell's key has 21 bits for each axis. Places beyond that fall into the last cell, which makes
// some wait for each other that need not.
constexpr int BITS = 21;
constexpr std::int64_t LAST_CELL = (1 << BITS) - 1;
constexpr int NO_PLACE = std::numeric_limits<int>::max();

using Cell = std::array<std::int64_t, 3>;

std::uint64_t key_of(Cell const& cell)
{
    return (static_cast<std::uint64_t>(cell[0]) << (2 * BITS)) |
           (static_cast<std::uint64_t>(cell[1]) << BITS) | static_cast<std::uint64_t>(cell[2]);
}

Cell cell_of(std::uint64_t key)
{
    constexpr std::uint64_t MASK = LAST_CELL;
    return {{static_cast<std::int64_t>(key >> (2 * BITS)),
             static_cast<std::int64_t>((key >> BITS) & MASK),
             static_cast<std::int64_t>(key & MASK)}};
}

Cell cell_at(Vector3f const& place, Vector3f const& min, double width)
{
    Cell cell{};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        auto const i = static_cast<Eigen::Index>(axis);
        double const steps = (static_cast<double>(place[i]) - static_cast<double>(min[i])) / width;
        // A comparison with NaN is false.
        cell[axis] =
            steps < static_cast<double>(LAST_CELL) ? static_cast<std::int64_t>(steps) : LAST_CELL;
    }
    return cell;
}

bool is_inside(Cell const& cell)
{
    return std::all_of(cell.begin(), cell.end(),
                       [](std::int64_t c) { return c >= 0 && c <= LAST_CELL; });
}

} // namespace

OrderedWork::OrderedWork(std::vector<Vector3f> const& places, double reach)
    : cell_(places.size()), is_ready_(places.size())
{
    sort_into_cells(places, reach);
    find_neighbours();
    for (int cell = 0; cell < static_cast<int>(keys_.size()); ++cell)
    {
        if (is_first_around(cell))
        {
            make_ready(next_place(cell));
        }
    }
}

/// Cells are so wide that places in cells that don't touch don't disturb each other.
void OrderedWork::sort_into_cells(std::vector<Vector3f> const& places, double reach)
{
    double const width = 2.0 * reach * (1.0 + 1e-6);
    Vector3f min;
    Vector3f max;
    bounding_box(places.data(), places.size(), min, max);
    std::vector<std::uint64_t> keys(places.size());
    std::transform(places.begin(), places.end(), keys.begin(),
                   [&](Vector3f const& place) { return key_of(cell_at(place, min, width)); });

    auto const key = [&](int place) { return keys[static_cast<std::size_t>(place)]; };
    order_.resize(places.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::sort(order_.begin(), order_.end(),
              [&](int a, int b) { return key(a) != key(b) ? key(a) < key(b) : a < b; });
    for (std::size_t i = 0; i < order_.size(); ++i)
    {
        if (keys_.empty() || keys_.back() != key(order_[i]))
        {
            keys_.push_back(key(order_[i]));
            next_.push_back(static_cast<int>(i));
            end_.push_back(static_cast<int>(i));
        }
        ++end_.back();
        cell_[static_cast<std::size_t>(order_[i])] = static_cast<int>(keys_.size()) - 1;
    }
}

void OrderedWork::find_neighbours()
{
    first_neighbour_.push_back(0);
    for (auto const key : keys_)
    {
        auto const [x, y, z] = cell_of(key);
        for (int step = 0; step < 27; ++step)
        {
            Cell const cell{{x + step / 9 - 1, y + step / 3 % 3 - 1, z + step % 3 - 1}};
            if (!is_inside(cell) || key_of(cell) == key)
            {
                continue;
            }
            auto const found = std::lower_bound(keys_.begin(), keys_.end(), key_of(cell));
            if (found != keys_.end() && *found == key_of(cell))
            {
                neighbours_.push_back(static_cast<int>(found - keys_.begin()));
            }
        }
        first_neighbour_.push_back(static_cast<int>(neighbours_.size()));
    }
}

/// The first place of a cell that is not done.
int OrderedWork::next_place(int cell) const
{
    auto const c = static_cast<std::size_t>(cell);
    return next_[c] < end_[c] ? order_[static_cast<std::size_t>(next_[c])] : NO_PLACE;
}

/// Whether no place that is not done comes before the next one of a cell, there or around.
bool OrderedWork::is_first_around(int cell) const
{
    auto const c = static_cast<std::size_t>(cell);
    int const own = next_place(cell);
    auto const begin = neighbours_.begin();
    return own != NO_PLACE &&
           std::all_of(begin + first_neighbour_[c], begin + first_neighbour_[c + 1],
                       [&](int neighbour) { return own < next_place(neighbour); });
}

void OrderedWork::make_ready(int place)
{
    auto& is_ready = is_ready_[static_cast<std::size_t>(place)];
    if (is_ready == 0)
    {
        is_ready = 1;
        ready_.push_back(place);
        std::push_heap(ready_.begin(), ready_.end(), std::greater<>());
    }
}

std::size_t OrderedWork::n_left() const
{
    std::size_t n = 0;
    for (std::size_t c = 0; c < end_.size(); ++c)
    {
        n += static_cast<std::size_t>(end_[c] - next_[c]);
    }
    return n;
}

/// Goes on behind a place. It can have become the turn of its cell or of those around.
void OrderedWork::finish(int place)
{
    int const cell = cell_[static_cast<std::size_t>(place)];
    auto const c = static_cast<std::size_t>(cell);
    ++next_[c];
    if (is_first_around(cell))
    {
        make_ready(next_place(cell));
    }
    for (int i = first_neighbour_[c]; i < first_neighbour_[c + 1]; ++i)
    {
        int const neighbour = neighbours_[static_cast<std::size_t>(i)];
        if (is_first_around(neighbour))
        {
            make_ready(next_place(neighbour));
        }
    }
}

// ---------------------------------------------------------------------------------- the threads

bool OrderedWork::run(std::function<bool(int)> const& work)
{
    stopped_ = false;
    poll_cancel();
    Progress progress(n_left());
    ExceptionCarrier carrier;
#pragma omp parallel num_threads(omp_get_max_threads()) if (ready_.size() > 1)
    {
        WorkerProgress worker(progress, 1);
        carrier.run(
            [&]
            {
                help(
                    [&](int place)
                    {
                        // Before the work: a place whose work is done is done.
                        worker.next();
                        return work(place);
                    });
            });
    }
    carrier.rethrow();
    return !stopped_;
}

/// What each thread does.
void OrderedWork::help(std::function<bool(int)> const& work)
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (true)
    {
        ++n_waiting_;
        changed_.wait(lock, [this] { return stopped_ || !ready_.empty() || in_work_ == 0; });
        --n_waiting_;
        if (stopped_ || ready_.empty())
        {
            return;
        }
        attempt(work, lock);
    }
}

/// Works on the first place that is ready, with the lock open meanwhile.
void OrderedWork::attempt(std::function<bool(int)> const& work, std::unique_lock<std::mutex>& lock)
{
    std::pop_heap(ready_.begin(), ready_.end(), std::greater<>());
    int const place = ready_.back();
    ready_.pop_back();
    ++in_work_;
    lock.unlock();
    bool done = false;
    std::exception_ptr exception;
    try
    {
        done = work(place);
    }
    catch (...)
    {
        exception = std::current_exception();
    }
    lock.lock();
    --in_work_;
    if (done)
    {
        finish(place);
    }
    else
    {
        is_ready_[static_cast<std::size_t>(place)] = 0;
        make_ready(place);
        stopped_ = true;
    }
    if (n_waiting_ > 0)
    {
        changed_.notify_all();
    }
    if (exception)
    {
        std::rethrow_exception(exception);
    }
}

} // namespace OrvaneAlgorithm::detail
