#pragma once

#include "algorithmVeld/common/types.h"

#include <nlohmann/json.hpp>

namespace veld
{

/// JSON objects whose keys keep the order in which they were set, so that output reads well.
using Json = nlohmann::ordered_json;

/// A point as a list of three numbers.
template <typename Vector>
Json json_point(Vector const& point)
{
    return Json::array({point.x(), point.y(), point.z()});
}

} // namespace veld
