#pragma once

#include <cstddef>

/// \file
/// Cosine sums of any length over the lines of an array, one behind the other, on all threads.

namespace OrvaneAlgorithm::detail
{

/// Replaces each line a by `factor` (a_0 + 2 sum_{k=1}^{n-1} a_k cos(pi k (2 x + 1) / (2 n))).
void sum_cosines_between(double* lines, std::size_t n_lines, std::size_t length, double factor);

/// Replaces each line a of n + 1 elements by
/// `factor` (a_0 + (-1)^x a_n + 2 sum_{k=1}^{n-1} a_k cos(pi k x / n)).
void sum_cosines_at(double* lines, std::size_t n_lines, std::size_t length, double factor);

/// Roughly how long one line of this length takes, by the factors of the length.
double cosine_line_cost(std::size_t length);

} // namespace OrvaneAlgorithm::detail
