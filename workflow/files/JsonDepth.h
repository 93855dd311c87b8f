#pragma once

#include <cstddef>
#include <string_view>

namespace veld
{

/// Nothing that is read has more lists and objects in each other than this.
constexpr std::size_t DEEPEST_JSON = 100;

/// Whether a JSON text has more lists and objects in each other: JSON is copied and written by
/// functions that call themselves, so that a small file could take all of the stack. Texts that
/// are no JSON may get either answer.
bool is_nested_too_deeply(std::string_view json);

} // namespace veld
