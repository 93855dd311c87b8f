#pragma once

#include "workflow/Error.h"
#include "workflow/SettingRanges.h"
#include "workflow/files/JsonFields.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// The values of a setting by what JSON calls them.
template <typename Value>
using Names = std::map<std::string, Value>;

template <typename Value>
std::string name_in(Names<Value> const& names, Value value)
{
    for (auto const& [name, named] : names)
    {
        if (named == value)
        {
            return name;
        }
    }
    return {};
}

/// Reads the settings of one object, leaves those that it does not name, and refuses keys that
/// nothing has asked for.
class SettingsReader
{
public:
    /// \param place stands in front of every message
    SettingsReader(Json const& json, std::string const& place) : fields_(json, place), place_(place)
    {
    }

    void flag(char const* key, bool& value);
    void integer(char const* key, int& value, int min, int max = LARGEST_COUNT);
    void integer(char const* key, std::optional<int>& value, int min, int max);
    void number(char const* key, double& value, double min, double max = NO_LIMIT);
    void number(char const* key, std::optional<double>& value, double min);

    template <typename Value>
    void name(char const* key, Value& value, Names<Value> const& names)
    {
        if (!has(key))
        {
            return;
        }
        auto const found = names.find(fields_.text(key));
        if (found == names.end())
        {
            std::string known;
            for (auto const& entry : names)
            {
                known += (known.empty() ? "" : ", ") + entry.first;
            }
            throw InputError(place_ + "'" + key + "' has to be one of " + known);
        }
        value = found->second;
    }

    /// Lets a key pass that its user reads.
    bool has(char const* key);

    JsonFields const& fields() const { return fields_; }

    void finish() const { fields_.allow_only(keys_); }

private:
    static constexpr double NO_LIMIT = 1e300;

    JsonFields fields_;
    std::string place_;
    std::vector<std::string> keys_;
};

} // namespace veld
