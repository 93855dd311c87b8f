#include "JsonObjects.h"

#include "Text.h"

#include "workflow/Error.h"

#include <string>

namespace veld::python
{

namespace
{

/// Deeper than any setting, and not so deep that a list which holds itself ends the process.
constexpr int DEEPEST = 64;

Json json_of(nb::handle object, std::string const& place, int depth);

Json json_of_mapping(nb::handle object, std::string const& place, int depth)
{
    Json json = Json::object();
    for (auto const [key, value] : nb::borrow<nb::dict>(object))
    {
        if (!nb::isinstance<nb::str>(key))
        {
            throw InputError(place + "has a key that is no text");
        }
        if (!value.is_none())
        {
            json[bytes_of(key)] = json_of(value, place, depth + 1);
        }
    }
    return json;
}

Json json_of_sequence(nb::handle object, std::string const& place, int depth)
{
    Json json = Json::array();
    for (nb::handle const item : object)
    {
        json.push_back(json_of(item, place, depth + 1));
    }
    return json;
}

Json json_of_integer(nb::handle object)
{
    int overflow = 0;
    long long const value = PyLong_AsLongLongAndOverflow(object.ptr(), &overflow);
    if (overflow == 0)
    {
        return value;
    }
    return overflow > 0 ? 1e300 : -1e300; // beyond every limit
}

/// Paths, and arrays or numbers of other packages.
Json json_of_foreign(nb::handle object, std::string const& place, int depth)
{
    if (nb::hasattr(object, "__fspath__"))
    {
        return json_of(object.attr("__fspath__")(), place, depth + 1);
    }
    if (nb::hasattr(object, "tolist"))
    {
        return json_of(object.attr("tolist")(), place, depth + 1);
    }
    std::string const type = nb::cast<std::string>(object.type().attr("__name__"));
    throw InputError(place + "a value of type " + type + " is no setting");
}

Json json_of(nb::handle object, std::string const& place, int depth)
{
    if (depth > DEEPEST)
    {
        throw InputError(place + "has too many lists in each other");
    }
    if (object.is_none())
    {
        return nullptr;
    }
    if (PyBool_Check(object.ptr()))
    {
        return nb::cast<bool>(object);
    }
    if (PyLong_Check(object.ptr()))
    {
        return json_of_integer(object);
    }
    if (PyFloat_Check(object.ptr()))
    {
        return nb::cast<double>(object);
    }
    if (nb::isinstance<nb::str>(object))
    {
        return bytes_of(object);
    }
    if (nb::isinstance<nb::dict>(object))
    {
        return json_of_mapping(object, place, depth);
    }
    if (nb::isinstance<nb::list>(object) || nb::isinstance<nb::tuple>(object))
    {
        return json_of_sequence(object, place, depth);
    }
    return json_of_foreign(object, place, depth);
}

} // namespace

Json json_of(nb::handle object, std::string const& place)
{
    return json_of(object, place, 0);
}

nb::object object_of(Json const& json)
{
    switch (json.type())
    {
    case Json::value_t::object:
    {
        nb::dict dict;
        for (auto const& item : json.items())
        {
            dict[text_of(item.key())] = object_of(item.value());
        }
        return dict;
    }
    case Json::value_t::array:
    {
        nb::list list;
        for (auto const& item : json)
        {
            list.append(object_of(item));
        }
        return list;
    }
    case Json::value_t::string:
        return text_of(json.get_ref<std::string const&>());
    case Json::value_t::boolean:
        return nb::bool_(json.get<bool>());
    case Json::value_t::number_integer:
        return nb::int_(json.get<long long>());
    case Json::value_t::number_unsigned:
        return nb::int_(json.get<unsigned long long>());
    case Json::value_t::number_float:
        return nb::float_(json.get<double>());
    default:
        return nb::none();
    }
}

} // namespace veld::python
