#pragma once

#include "workflow/steps/Merge.h"

#include "algorithmVeld/reconstruction/MeshMerge.h"

#include <string>
#include <vector>

/// \file
/// What a merge of a whole scan and one of its parts have in common.

namespace veld
{

/// In spacings: layers nearer to each other become one.
constexpr double LAYER_SPACINGS = 2.0;

std::vector<RangeData const*> pointers(std::vector<RangeData> const& frames);

/// Why a spacing is likely to be a slip, as it is far from the measured one; empty if it is not, or
/// if none was given.
std::string doubt_of_spacing(double given, double measured);

/// The given settings, and what the frames tell where they say nothing.
MergeSettings complete(MergeSettings settings, std::vector<RangeData const*> const& frames,
                       bool is_smooth, std::string const& source);

/// Takes the overlap out, which leaves one layer.
std::vector<RangeData> single_layer(std::vector<RangeData const*> const& frames,
                                    MergeResult& result);

/// A stitch with the settings of a merge.
OrvaneAlgorithm::MeshMerge merger_for(MergeSettings const& settings);

/// Makes one mesh of frames of one layer.
/// \param merger what `MergeMethod::STITCH` is done with
void stitch(std::vector<RangeData const*> const& frames, OrvaneAlgorithm::MeshMerge merger,
            MergeResult& result);

/// Throws `OperationError` where nothing is left.
void refuse_empty(MergeResult const& result);

} // namespace veld
