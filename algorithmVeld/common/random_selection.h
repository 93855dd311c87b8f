#pragma once

#include "algorithmVeld/common/export.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Fills `list` with `count` distinct picks from 0 to `n` - 1 in random order; with `count` equal
/// to `n` that is a random permutation. The same arguments give the same picks on every machine,
/// and fewer picks are the beginning of more.
///
/// Takes time and memory of the order of `count`, however large `n` is.
/// \param n number of candidates \param count picks, limited to `n`; nothing for a negative value
ALGORITHMVELD_API void randomly_select_more(int n, int count, std::vector<int>& list);

} // namespace OrvaneAlgorithm
