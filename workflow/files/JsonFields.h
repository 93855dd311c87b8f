#pragma once

#include "workflow/files/Json.h"

#include <string>
#include <vector>

namespace veld
{

/// Reads the values of a JSON object and throws `InputError` where one is missing or of another
/// kind.
class JsonFields
{
public:
    /// \param place stands in front of every message
    JsonFields(Json const& object, std::string place);

    /// Refuses keys other than these, which are typing errors.
    void allow_only(std::vector<std::string> const& keys) const;

    bool has(std::string const& key) const { return object_.contains(key); }
    JsonFields object(std::string const& key) const;
    std::string text(std::string const& key) const;
    std::string text(std::string const& key, std::string const& otherwise) const;
    bool flag(std::string const& key, bool otherwise) const;
    int integer(std::string const& key, int min, int max) const;
    double number(std::string const& key) const;
    /// A list of finite numbers.
    std::vector<double> numbers(std::string const& key, std::size_t count) const;
    /// A list of such lists, row behind row.
    std::vector<double> rows(std::string const& key, std::size_t n_rows, std::size_t count) const;

private:
    Json const& at(std::string const& key) const;
    [[noreturn]] void refuse(std::string const& key, std::string const& wanted) const;

    Json const& object_;
    std::string place_;
};

} // namespace veld
