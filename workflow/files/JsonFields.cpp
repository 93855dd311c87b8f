#include "workflow/files/JsonFields.h"

#include "workflow/Error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace veld
{

namespace
{

/// \return false unless `list` is a list of `count` finite numbers, which go behind `numbers`
bool append_numbers(Json const& list, std::size_t count, std::vector<double>& numbers)
{
    if (!list.is_array() || list.size() != count)
    {
        return false;
    }
    for (auto const& value : list)
    {
        if (!value.is_number() || !std::isfinite(value.get<double>()))
        {
            return false;
        }
        numbers.push_back(value.get<double>());
    }
    return true;
}

} // namespace

JsonFields::JsonFields(Json const& object, std::string place)
    : object_(object), place_(std::move(place))
{
    if (!object.is_object())
    {
        throw InputError(place_ + "is no JSON object");
    }
}

void JsonFields::allow_only(std::vector<std::string> const& keys) const
{
    for (auto const& item : object_.items())
    {
        if (std::find(keys.begin(), keys.end(), item.key()) == keys.end())
        {
            throw InputError(fmt::format("{}'{}' is not known here (known: {})", place_, item.key(),
                                         fmt::join(keys, " ")));
        }
    }
}

Json const& JsonFields::at(std::string const& key) const
{
    auto const found = object_.find(key);
    if (found == object_.end())
    {
        throw InputError(fmt::format("{}'{}' is missing", place_, key));
    }
    return *found;
}

void JsonFields::refuse(std::string const& key, std::string const& wanted) const
{
    throw InputError(fmt::format("{}'{}' has to be {}", place_, key, wanted));
}

JsonFields JsonFields::object(std::string const& key) const
{
    return {at(key), fmt::format("{}{}: ", place_, key)};
}

std::string JsonFields::text(std::string const& key) const
{
    Json const& value = at(key);
    if (!value.is_string())
    {
        refuse(key, "a text");
    }
    return value.get<std::string>();
}

std::string JsonFields::text(std::string const& key, std::string const& otherwise) const
{
    return has(key) ? text(key) : otherwise;
}

bool JsonFields::flag(std::string const& key, bool otherwise) const
{
    if (!has(key))
    {
        return otherwise;
    }
    if (!at(key).is_boolean())
    {
        refuse(key, "true or false");
    }
    return at(key).get<bool>();
}

int JsonFields::integer(std::string const& key, int min, int max) const
{
    Json const& value = at(key);
    // Some programs write whole numbers as 400.0.
    double const number = value.is_number() ? value.get<double>() : NAN;
    if (!(number >= min && number <= max) || number != std::floor(number))
    {
        refuse(key, fmt::format("a whole number from {} to {}", min, max));
    }
    return static_cast<int>(number);
}

double JsonFields::number(std::string const& key) const
{
    Json const& value = at(key);
    if (!value.is_number() || !std::isfinite(value.get<double>()))
    {
        refuse(key, "a number");
    }
    return value.get<double>();
}

std::vector<double> JsonFields::numbers(std::string const& key, std::size_t count) const
{
    std::vector<double> result;
    if (!append_numbers(at(key), count, result))
    {
        refuse(key, fmt::format("a list of {} numbers", count));
    }
    return result;
}

std::vector<double> JsonFields::rows(std::string const& key, std::size_t n_rows,
                                     std::size_t count) const
{
    Json const& value = at(key);
    std::vector<double> result;
    bool const fits =
        value.is_array() && value.size() == n_rows &&
        std::all_of(value.begin(), value.end(),
                    [&](Json const& row) { return append_numbers(row, count, result); });
    if (!fits)
    {
        refuse(key, fmt::format("{} rows of {} numbers", n_rows, count));
    }
    return result;
}

} // namespace veld
