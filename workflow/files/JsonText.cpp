#include "workflow/files/JsonText.h"

#include "workflow/Error.h"
#include "workflow/files/JsonDepth.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

/// Nothing that people write is deeper than this.
constexpr std::size_t DEEPEST = 32;

/// Where a byte of a text is, as editors count.
struct TextPlace
{
    std::ptrdiff_t line;
    std::size_t column;
};

TextPlace place_in(std::string const& text, std::size_t at)
{
    std::size_t const end = std::min(at, text.size());
    auto const line =
        1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
    std::size_t const newline = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    return {line, newline == std::string::npos ? end + 1 : end - newline};
}

/// Where a text stops being JSON that can be read.
struct JsonFault
{
    std::size_t at = 0; ///< The byte.
    std::string number; ///< That is too large; empty where the text is no JSON.
};

/// Hears of what the parser meets, and notes why it stops.
class FaultNote : public nlohmann::json_sax<Json>
{
public:
    std::optional<JsonFault> const& fault() const { return fault_; }

    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, string_t const&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return true; }
    bool start_array(std::size_t) override { return true; }
    bool key(string_t&) override { return true; }
    bool end_object() override { return true; }
    bool end_array() override { return true; }

    /// \param read so many bytes \param token the last of them
    bool parse_error(std::size_t read, std::string const& token,
                     Json::exception const& error) override
    {
        bool const is_number = dynamic_cast<Json::out_of_range const*>(&error) != nullptr;
        fault_ = is_number ? JsonFault{read - std::min(read, token.size()), token}
                           : JsonFault{read - std::min<std::size_t>(read, 1), {}};
        return false;
    }

private:
    std::optional<JsonFault> fault_;
};

/// How far a text is read.
struct ReadingPlace
{
    int line = 1;
    int visible_line = 1; ///< Of the last character that is no blank: the parser reads ahead.
};

/// Goes through a text and counts lines.
class LineIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char const&;

    LineIterator(char const* at, ReadingPlace& place) : at_(at), place_(&place) {}

    char const& operator*() const { return *at_; }
    LineIterator& operator++()
    {
        if (*at_ == '\n')
        {
            ++place_->line;
        }
        else if (*at_ != ' ' && *at_ != '\t' && *at_ != '\r')
        {
            place_->visible_line = place_->line;
        }
        ++at_;
        return *this;
    }
    LineIterator operator++(int)
    {
        LineIterator const before = *this;
        ++*this;
        return before;
    }
    bool operator==(LineIterator const& other) const { return at_ == other.at_; }
    bool operator!=(LineIterator const& other) const { return at_ != other.at_; }

private:
    char const* at_;
    ReadingPlace* place_;
};

/// Hears of each value as the parser meets it, and notes its line.
class LineNotes : public FaultNote
{
public:
    LineNotes(std::string const& name, ReadingPlace const& place, std::map<std::string, int>& lines)
        : name_(name), place_(place), lines_(lines)
    {
    }

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, string_t const&) override { return value(); }
    bool string(string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }

    bool start_object(std::size_t) override { return begin(false); }
    bool start_array(std::size_t) override { return begin(true); }
    bool end_object() override { return end(); }
    bool end_array() override { return end(); }

    bool key(string_t& name) override
    {
        open_.back().key = name;
        if (!lines_.emplace(pointer().to_string(), place_.visible_line).second)
        {
            throw InputError(
                fmt::format("{}:{}: '{}' is there twice", name_, place_.visible_line, name));
        }
        return true;
    }

private:
    /// An object or list that has not ended.
    struct Open
    {
        bool is_array;
        std::string key;       ///< Of the value that comes, in an object.
        std::size_t index = 0; ///< The same, in a list.
    };

    /// To the value that comes.
    Json::json_pointer pointer() const
    {
        Json::json_pointer pointer;
        for (auto const& open : open_)
        {
            open.is_array ? pointer /= open.index : pointer /= open.key;
        }
        return pointer;
    }

    void note() { lines_.emplace(pointer().to_string(), place_.visible_line); }

    bool value()
    {
        note();
        next();
        return true;
    }

    void next()
    {
        if (!open_.empty())
        {
            ++open_.back().index;
        }
    }

    bool begin(bool is_array)
    {
        note();
        if (open_.size() == DEEPEST)
        {
            throw InputError(fmt::format("{}:{}: more than {} lists and objects in each other",
                                         name_, place_.visible_line, DEEPEST));
        }
        open_.push_back({is_array, {}, 0});
        return true;
    }

    bool end()
    {
        open_.pop_back();
        next();
        return true;
    }

    std::string const& name_;
    ReadingPlace const& place_;
    std::map<std::string, int>& lines_;
    std::vector<Open> open_;
};

/// Why a text that people wrote is no JSON.
std::string why_no_json(std::string const& text, JsonFault const& fault)
{
    if (!fault.number.empty())
    {
        return "a number is too large";
    }
    if (fault.at >= text.size())
    {
        return "it ends too early";
    }
    return text[fault.at] == '/' || text[fault.at] == '#' ? "JSON has no comments" : "is no JSON";
}

} // namespace

Json parse_json(std::string const& text, std::string const& name)
{
    if (is_nested_too_deeply(text))
    {
        throw InputError(fmt::format("{}: has more than {} lists and objects in each other", name,
                                     DEEPEST_JSON));
    }
    Json json = Json::parse(text, nullptr, false);
    if (!json.is_discarded())
    {
        return json;
    }
    FaultNote note;
    Json::sax_parse(text, &note);
    JsonFault const fault = note.fault().value_or(JsonFault());
    auto const [line, column] = place_in(text, fault.at);
    throw InputError(
        fault.number.empty()
            ? fmt::format("{}: is no JSON: line {}, column {}", name, line, column)
            : fmt::format("{}: is no JSON that can be read: line {}, column {}: the number {} is "
                          "too large",
                          name, line, column, fault.number));
}

JsonText::JsonText(std::string const& text, std::string name) : name_(std::move(name))
{
    ReadingPlace place;
    LineNotes notes(name_, place, lines_);
    char const* const begin = text.data();
    Json::sax_parse(LineIterator(begin, place), LineIterator(begin + text.size(), place), &notes);
    if (auto const& fault = notes.fault())
    {
        throw InputError(fmt::format("{}:{}: {}", name_, place_in(text, fault->at).line,
                                     why_no_json(text, *fault)));
    }
    json_ = Json::parse(text);
}

std::string JsonText::place(Json::json_pointer pointer) const
{
    auto found = lines_.find(pointer.to_string());
    while (found == lines_.end() && !pointer.empty())
    {
        pointer.pop_back();
        found = lines_.find(pointer.to_string());
    }
    return fmt::format("{}:{}: ", name_, found == lines_.end() ? 1 : found->second);
}

} // namespace veld
