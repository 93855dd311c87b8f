#pragma once

#include <algorithm>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// How often each label occurs among some faces.
class LabelCounts
{
public:
    void clear() { counts_.clear(); }
    bool empty() const { return counts_.empty(); }

    void add(int label)
    {
        auto const at =
            std::lower_bound(counts_.begin(), counts_.end(), label,
                             [](Count const& count, int wanted) { return count.label < wanted; });
        if (at != counts_.end() && at->label == label)
        {
            ++at->n;
        }
        else
        {
            counts_.insert(at, {label, 1});
        }
    }

    /// Of equally frequent labels the lowest. There has to be one.
    int most_frequent() const
    {
        return std::max_element(counts_.begin(), counts_.end(),
                                [](Count const& a, Count const& b) { return a.n < b.n; })
            ->label;
    }

    /// The most frequent label first, of equally frequent ones the lowest.
    std::vector<int> by_frequency() const
    {
        std::vector<Count> sorted = counts_;
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](Count const& a, Count const& b) { return a.n > b.n; });
        std::vector<int> labels;
        labels.reserve(sorted.size());
        for (Count const& count : sorted)
        {
            labels.push_back(count.label);
        }
        return labels;
    }

private:
    struct Count
    {
        int label;
        int n;
    };
    std::vector<Count> counts_; ///< in the order of labels
};

} // namespace OrvaneAlgorithm::detail
