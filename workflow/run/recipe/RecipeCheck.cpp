#include "workflow/run/recipe/RecipeCheck.h"

#include "workflow/Error.h"
#include "workflow/run/Recipe.h"

#include <fmt/format.h>

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

using Adapter = valijson::adapters::NlohmannJsonAdapter;

Json const& schema_json()
{
    static Json const json = Json::parse(recipe_schema());
    return json;
}

/// Where the validator found what is wrong.
/// \param context its path: `<root>`, then `["name"]` or `[3]` each
Json::json_pointer pointer_of(std::vector<std::string> const& context)
{
    Json::json_pointer pointer;
    for (std::size_t i = 1; i < context.size(); ++i)
    {
        std::string const& part = context[i];
        bool const is_name = part.size() > 4 && part[1] == '"';
        pointer /= is_name ? part.substr(2, part.size() - 4) : part.substr(1, part.size() - 2);
    }
    return pointer;
}

/// The first place that the validator complains of, deepest in the recipe: what it says of those
/// above follows from it.
Json::json_pointer deepest_fault(valijson::ValidationResults const& results)
{
    auto const shallower = [](auto const& a, auto const& b)
    { return a.context.size() < b.context.size(); };
    auto const found = std::max_element(results.begin(), results.end(), shallower);
    return found == results.end() ? Json::json_pointer() : pointer_of(found->context);
}

/// The part of the schema itself that a reference leads to.
Json const& resolved(Json const& schema)
{
    auto const reference = schema.find("$ref");
    return reference == schema.end()
               ? schema
               : schema_json().at(Json::json_pointer(reference->get<std::string>().substr(1)));
}

/// The names and numbers of a pointer, from the outermost one on.
std::vector<std::string> parts_of(Json::json_pointer pointer)
{
    std::vector<std::string> parts;
    for (; !pointer.empty(); pointer.pop_back())
    {
        parts.push_back(pointer.back());
    }
    std::reverse(parts.begin(), parts.end());
    return parts;
}

/// The schema of a value of the recipe; null if there is none.
Json const* schema_at(Json const& recipe, Json::json_pointer const& pointer)
{
    Json const* schema = &schema_json();
    Json const* value = &recipe;
    for (auto const& part : parts_of(pointer))
    {
        if (value->is_array())
        {
            schema = schema->contains("items") ? &resolved((*schema)["items"]) : nullptr;
            value = &(*value)[std::stoul(part)];
        }
        else
        {
            bool const is_settings = part == "settings" && value->contains("step");
            schema = is_settings ? &schema_of_settings((*value)["step"].get<std::string>())
                     : schema->contains("properties") && (*schema)["properties"].contains(part)
                         ? &resolved((*schema)["properties"][part])
                         : nullptr;
            value = &(*value)[part];
        }
        if (schema == nullptr)
        {
            return nullptr;
        }
    }
    return schema;
}

/// A pointer as people write it: "steps[1].settings.radius: ".
std::string path_text(Json::json_pointer const& pointer)
{
    std::string text;
    for (auto const& part : parts_of(pointer))
    {
        bool const is_index = part.find_first_not_of("0123456789") == std::string::npos;
        text += is_index ? "[" + part + "]" : (text.empty() ? "" : ".") + part;
    }
    return text.empty() ? text : text + ": ";
}

/// "a number from 0 to 180 or null".
std::string wanted_range(Json const& schema, std::string const& noun)
{
    auto const number = [&](char const* key) { return schema[key].get<double>(); };
    if (schema.contains("exclusiveMinimum"))
    {
        return fmt::format("{} above {:g}", noun, number("exclusiveMinimum"));
    }
    bool const has_end = schema.contains("maximum") && number("maximum") < 2147483647.0;
    if (!schema.contains("minimum"))
    {
        return noun;
    }
    return has_end ? fmt::format("{} from {:g} to {:g}", noun, number("minimum"), number("maximum"))
                   : fmt::format("{} of {:g} or more", noun, number("minimum"));
}

/// What a schema wants of a value.
std::string wanted(Json const& schema)
{
    if (schema.contains("enum"))
    {
        std::string names;
        for (auto const& name : schema["enum"])
        {
            names += (names.empty() ? "" : ", ") +
                     (name.is_string() ? name.get<std::string>() : name.dump());
        }
        return schema["enum"].size() == 1 ? names : "one of " + names;
    }
    Json const& type = schema["type"];
    bool const or_null = type.is_array();
    std::string const first = (or_null ? type[0] : type).get<std::string>();
    std::string const size = schema.value("minItems", 0) == 0 ? ""
                             : !schema.contains("maxItems")
                                 ? fmt::format(" of at least {}", schema["minItems"].get<int>())
                             : schema["minItems"] == schema["maxItems"]
                                 ? fmt::format(" of {}", schema["minItems"].get<int>())
                                 : fmt::format(" of {} to {}", schema["minItems"].get<int>(),
                                               schema["maxItems"].get<int>());
    std::string const text = first == "number"    ? wanted_range(schema, "a number")
                             : first == "integer" ? wanted_range(schema, "a whole number")
                             : first == "boolean" ? "true or false"
                             : first == "string"  ? "a text"
                             : first == "array"   ? "a list" + size
                                                  : "an object";
    return or_null ? text + ", or null" : text;
}

/// What is wrong with a value by its schema.
std::string complaint(Json const& value, Json const& schema)
{
    if (value.is_object() && schema.contains("properties"))
    {
        Json const& known = schema["properties"];
        for (auto const& item : value.items())
        {
            if (!known.contains(item.key()))
            {
                std::string names;
                for (auto const& name : known.items())
                {
                    names += " " + name.key();
                }
                return fmt::format("'{}' is not known here (known:{})", item.key(), names);
            }
        }
        for (auto const& key : schema.value("required", Json::array()))
        {
            if (!value.contains(key.get<std::string>()))
            {
                return fmt::format("'{}' is missing", key.get<std::string>());
            }
        }
    }
    return "has to be " + wanted(schema);
}

/// The pointer, or that of the key that is not known there.
Json::json_pointer place_of_fault(Json const& value, Json const& schema, Json::json_pointer pointer)
{
    if (value.is_object() && schema.contains("properties"))
    {
        for (auto const& item : value.items())
        {
            if (!schema["properties"].contains(item.key()))
            {
                return pointer / item.key();
            }
        }
    }
    return pointer;
}

valijson::Schema const& compiled_schema()
{
    static valijson::Schema const& schema = []() -> valijson::Schema const&
    {
        static nlohmann::json const json = nlohmann::json::parse(recipe_schema());
        static valijson::Schema made;
        valijson::SchemaParser parser(valijson::SchemaParser::kDraft7);
        parser.populateSchema(Adapter(json), made);
        return made;
    }();
    return schema;
}

} // namespace

Json const& schema_of_settings(std::string const& name)
{
    return schema_json()["definitions"][name];
}

void check_recipe(JsonText const& text)
{
    nlohmann::json const plain = text.json(); // the validator knows no objects in order
    valijson::Validator validator;
    valijson::ValidationResults results;
    if (validator.validate(compiled_schema(), Adapter(plain), &results))
    {
        return;
    }
    auto const pointer = deepest_fault(results);
    Json const& value = text.json().at(pointer);
    Json const* const schema = schema_at(text.json(), pointer);
    if (schema == nullptr)
    {
        throw InputError(text.place(pointer) + path_text(pointer) + "does not belong here");
    }
    throw InputError(text.place(place_of_fault(value, *schema, pointer)) + path_text(pointer) +
                     complaint(value, *schema));
}

} // namespace veld
