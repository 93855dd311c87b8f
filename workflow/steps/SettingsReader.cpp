#include "workflow/steps/SettingsReader.h"

#include <fmt/format.h>

namespace veld
{

void SettingsReader::flag(char const* key, bool& value)
{
    keys_.emplace_back(key);
    value = fields_.flag(key, value);
}

void SettingsReader::integer(char const* key, int& value, int min, int max)
{
    value = has(key) ? fields_.integer(key, min, max) : value;
}

void SettingsReader::integer(char const* key, std::optional<int>& value, int min, int max)
{
    if (has(key))
    {
        value = fields_.integer(key, min, max);
    }
}

void SettingsReader::number(char const* key, double& value, double min, double max)
{
    if (!has(key))
    {
        return;
    }
    double const number = fields_.number(key);
    if (!(number >= min && number <= max))
    {
        throw InputError(
            max < NO_LIMIT
                ? fmt::format("{}'{}' has to be a number from {} to {}", place_, key, min, max)
                : fmt::format("{}'{}' has to be a number of {} or more", place_, key, min));
    }
    value = number;
}

void SettingsReader::number(char const* key, std::optional<double>& value, double min)
{
    double number = 0.0;
    this->number(key, number, min);
    if (fields_.has(key))
    {
        value = number;
    }
}

bool SettingsReader::has(char const* key)
{
    keys_.emplace_back(key);
    return fields_.has(key);
}

} // namespace veld
