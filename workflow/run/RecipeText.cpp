#include "workflow/run/RecipeText.h"

#include "workflow/Error.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

/// Nothing that people write is deeper than this.
constexpr std::size_t DEEPEST = 32;

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
class LineNotes : public nlohmann::json_sax<Json>
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

    bool parse_error(std::size_t, std::string const&, Json::exception const&) override
    {
        return false;
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

/// Why the parser stopped behind the line at which it was.
std::string why_no_json(std::string const& text, std::size_t byte)
{
    std::size_t const at = byte == 0 ? 0 : byte - 1;
    if (at >= text.size())
    {
        return "it ends too early";
    }
    return text[at] == '/' || text[at] == '#' ? "JSON has no comments" : "is no JSON";
}

} // namespace

RecipeText::RecipeText(std::string const& text, std::string name) : name_(std::move(name))
{
    ReadingPlace place;
    LineNotes notes(name_, place, lines_);
    char const* const begin = text.data();
    Json::sax_parse(LineIterator(begin, place), LineIterator(begin + text.size(), place), &notes);
    try
    {
        json_ = Json::parse(text);
    }
    catch (Json::parse_error const& error)
    {
        std::size_t const end = std::min(error.byte == 0 ? 0 : error.byte - 1, text.size());
        auto const line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        throw InputError(fmt::format("{}:{}: {}", name_, line, why_no_json(text, error.byte)));
    }
    catch (Json::exception const&)
    {
        throw InputError(fmt::format("{}:{}: a number is too large", name_, place.visible_line));
    }
}

std::string RecipeText::place(Json::json_pointer pointer) const
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
