#pragma once

#include "workflow/files/Json.h"

#include <map>
#include <string>

namespace veld
{

/// The value of a JSON text. Throws `InputError`, with line and column, where it is none.
/// \param name for errors
Json parse_json(std::string const& text, std::string const& name);

/// A JSON text that people write, and the line on which each of its values begins.
class JsonText
{
public:
    /// Throws `InputError` where the text is no JSON or has a key twice. \param name for errors
    JsonText(std::string const& text, std::string name);

    Json const& json() const { return json_; }

    /// The file and the line of a value, to stand in front of a message: "recipe.json:12: ".
    /// \param pointer to the value, or to one in whose place nothing is: then what it is in counts
    std::string place(Json::json_pointer pointer) const;

private:
    std::string name_;
    Json json_;
    std::map<std::string, int> lines_; ///< By the text of a pointer.
};

} // namespace veld
