#include "workflow/report/page/PageTables.h"

#include "workflow/report/page/Html.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace veld
{

namespace
{

constexpr std::size_t MOST_ROWS = 200;  // of a list; the rest is in the record
constexpr std::size_t MOST_VALUES = 12; // of a list in one cell

/// Thousands apart by a narrow space that does not break.
std::string grouped(std::string digits)
{
    std::size_t const first = digits.find_first_of("0123456789");
    std::size_t const end = std::min(digits.find('.'), digits.size());
    for (std::size_t at = end; at > first + 3; at -= 3)
    {
        digits.insert(at - 3, "\u202F");
    }
    return digits;
}

/// Four digits that count, without an exponent where people would not write one.
std::string decimal(double value)
{
    constexpr double LARGE = 1e4;
    constexpr double TINY = 1e-4;
    double const size = std::abs(value);
    if (size >= LARGE && size < 1e15)
    {
        return grouped(fmt::format("{:.0f}", value));
    }
    return size >= TINY || size == 0.0 ? fmt::format("{:.4g}", value)
                                       : fmt::format("{:.2e}", value);
}

bool is_table(Json const& value)
{
    return value.is_array() && !value.empty() &&
           std::all_of(value.begin(), value.end(),
                       [](Json const& item) { return item.is_object(); });
}

std::string value_cell(Json const& value)
{
    return fmt::format("<td{}>{}</td>", value.is_number() ? " class=\"number\"" : "",
                       html_text(page_value(value)));
}

/// All keys of a list of objects, in the order in which they come.
std::vector<std::string> columns_of(Json const& list)
{
    std::vector<std::string> columns;
    for (Json const& row : list)
    {
        for (auto const& [key, value] : row.items())
        {
            if (std::find(columns.begin(), columns.end(), key) == columns.end())
            {
                columns.push_back(key);
            }
        }
    }
    return columns;
}

/// A list of objects behind one line that opens.
std::string list_table(std::string const& name, Json const& list)
{
    auto const columns = columns_of(list);
    std::string html = fmt::format("<details><summary>{}: {}</summary>\n<div class=\"wide\"><table>"
                                   "<thead><tr>",
                                   html_text(name), list.size());
    for (auto const& column : columns)
    {
        html += fmt::format("<th scope=\"col\">{}</th>", html_text(page_name(column)));
    }
    html += "</tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < std::min(list.size(), MOST_ROWS); ++i)
    {
        html += "<tr>";
        for (auto const& column : columns)
        {
            html += value_cell(list[i].value(column, Json()));
        }
        html += "</tr>\n";
    }
    html += "</tbody></table></div>\n";
    if (list.size() > MOST_ROWS)
    {
        html += fmt::format("<p>The first {} of {}; all are in the record.</p>\n", MOST_ROWS,
                            list.size());
    }
    return html + "</details>\n";
}

/// Rows and lists of an object, and of those in it.
struct Rows
{
    std::string rows;
    std::string lists;

    void add(std::string const& before, Json const& object)
    {
        for (auto const& [key, value] : object.items())
        {
            std::string const name = before + page_name(key);
            if (value.is_object())
            {
                add(name + ", ", value);
            }
            else if (is_table(value))
            {
                lists += list_table(name, value);
            }
            else
            {
                rows += fmt::format("<tr><th scope=\"row\">{}</th>{}</tr>\n", html_text(name),
                                    value_cell(value));
            }
        }
    }
};

/// The bars alone: the table beside them has the numbers.
std::string time_bars(std::vector<RunStep> const& steps, double longest)
{
    constexpr int WIDTH = 400;
    constexpr int LINE = 36; // as high as a row of the table
    constexpr int BAR = 18;
    std::string svg = fmt::format(
        "<svg class=\"chart\" viewBox=\"0 0 {} {}\" height=\"{}\" preserveAspectRatio=\"none\" "
        "role=\"img\" "
        "aria-label=\"Bars: how long each step took; the numbers stand in the table\">\n",
        WIDTH, LINE * static_cast<int>(steps.size()), LINE * static_cast<int>(steps.size()));
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        double const width =
            longest > 0.0 ? WIDTH * std::max(0.0, steps[i].seconds) / longest : 0.0;
        svg +=
            fmt::format("<rect class=\"bar\" x=\"0\" y=\"{}\" width=\"{:.1f}\" height=\"{}\"/>\n",
                        static_cast<int>(i) * LINE + (LINE - BAR) / 2, std::max(width, 1.0), BAR);
    }
    return svg + "</svg>\n";
}

} // namespace

std::string page_name(std::string const& key)
{
    std::string name = key;
    std::replace(name.begin(), name.end(), '_', ' ');
    return name;
}

std::string page_value(Json const& value)
{
    if (value.is_null())
    {
        return "\u2013";
    }
    if (value.is_boolean())
    {
        return value.get<bool>() ? "yes" : "no";
    }
    if (value.is_number_integer())
    {
        return grouped(value.dump());
    }
    if (value.is_number())
    {
        return decimal(value.get<double>());
    }
    if (value.is_string())
    {
        return value.get<std::string>();
    }
    if (value.is_array())
    {
        std::string text;
        for (std::size_t i = 0; i < std::min(value.size(), MOST_VALUES); ++i)
        {
            text += (i > 0 ? ", " : "") + page_value(value[i]);
        }
        bool const is_cut = value.size() > MOST_VALUES;
        return value.empty() ? "none"
               : is_cut      ? fmt::format("{} … ({})", text, value.size())
                             : text;
    }
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string page_seconds(double seconds)
{
    constexpr double MINUTE = 60.0;
    if (seconds >= MINUTE)
    {
        auto const whole = static_cast<long long>(std::llround(seconds));
        return fmt::format("{} min {} s", whole / 60, whole % 60);
    }
    return fmt::format("{:.{}f} s", seconds, seconds < 10.0 ? 2 : 1);
}

std::string value_table(std::string const& caption, Json const& object)
{
    Rows rows;
    if (object.is_object())
    {
        rows.add("", object);
    }
    else if (is_table(object))
    {
        rows.lists = list_table(caption, object);
    }
    else if (!object.is_null() && !object.empty())
    {
        rows.rows = fmt::format("<tr>{}</tr>\n", value_cell(object));
    }
    std::string html;
    if (!rows.rows.empty())
    {
        html = fmt::format("<table class=\"values\"><caption>{}</caption>\n<tbody>\n{}</tbody>"
                           "</table>\n",
                           html_text(caption), rows.rows);
    }
    return html + rows.lists;
}

std::string time_chart(std::vector<RunStep> const& steps)
{
    double all = 0.0;
    double longest = 0.0;
    for (RunStep const& step : steps)
    {
        all += step.seconds;
        longest = std::max(longest, step.seconds);
    }
    std::string rows;
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        RunStep const& step = steps[i];
        rows += fmt::format("<tr><th scope=\"row\"><a href=\"#step-{}\">{}</a></th>"
                            "<td class=\"number\">{}</td><td class=\"number\">{:.0f} %</td></tr>\n",
                            i + 1, html_text(step.title), page_seconds(step.seconds),
                            all > 0.0 ? 100.0 * step.seconds / all : 0.0);
    }
    return fmt::format(
        "<div class=\"times\">\n<table>\n<thead><tr><th scope=\"col\">Step</th>"
        "<th scope=\"col\" class=\"number\">Time</th><th scope=\"col\" class=\"number\">Share</th>"
        "</tr></thead>\n<tbody>\n{}</tbody>\n<tfoot><tr><th scope=\"row\">Together</th>"
        "<td class=\"number\">{}</td><td></td></tr></tfoot>\n</table>\n{}</div>\n",
        rows, page_seconds(all), time_bars(steps, longest));
}

} // namespace veld
