#include "algorithmVeld/HoleFilling/triangulation/HoleCrew.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

void HoleCrew::share(std::function<void()> const& work)
{
    Offer offer{work};
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        offers_.push_back(&offer);
    }
    changed_.notify_all();
    work();
    std::unique_lock<std::mutex> lock(mutex_);
    withdraw(offer);
    changed_.wait(lock, [&] { return offer.helpers == 0; });
}

void HoleCrew::finish_hole()
{
    {
        std::lock_guard<std::mutex> const lock(mutex_);
        --unfinished_;
    }
    changed_.notify_all();
}

void HoleCrew::help()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;)
    {
        changed_.wait(lock, [&] { return !offers_.empty() || unfinished_ == 0; });
        if (offers_.empty())
        {
            return;
        }
        auto& offer = **std::min_element(offers_.begin(), offers_.end(),
                                         [](Offer const* a, Offer const* b)
                                         { return a->helpers < b->helpers; });
        ++offer.helpers;
        lock.unlock();
        offer.work();
        lock.lock();
        withdraw(offer); // Nothing is left to begin.
        --offer.helpers;
        changed_.notify_all();
    }
}

void HoleCrew::withdraw(Offer const& offer)
{
    offers_.erase(std::remove(offers_.begin(), offers_.end(), &offer), offers_.end());
}

} // namespace OrvaneAlgorithm::detail
