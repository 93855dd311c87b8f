#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/ReadingProgress.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// What the format has beside faces and their vertices, and what it is called where it is told that
/// it is not kept; nothing where there is nothing to lose.
constexpr std::pair<std::string_view, char const*> IGNORED_KEYWORDS[] = {
    {"g", "groups"},
    {"o", "groups"},
    {"s", "smoothing groups"},
    {"mtllib", "materials"},
    {"usemtl", "materials"},
    {"maplib", "materials"},
    {"usemap", "materials"},
    {"l", "lines"},
    {"p", "single points"},
    {"vp", "curves and surfaces"},
    {"bsp", "curves and surfaces"},
    {"bzp", "curves and surfaces"},
    {"cdc", "curves and surfaces"},
    {"cdp", "curves and surfaces"},
    {"curv", "curves and surfaces"},
    {"curv2", "curves and surfaces"},
    {"res", "curves and surfaces"},
    {"surf", "curves and surfaces"},
    {"bevel", nullptr},
    {"bmat", nullptr},
    {"c_interp", nullptr},
    {"call", nullptr},
    {"con", nullptr},
    {"csh", nullptr},
    {"cstype", nullptr},
    {"ctech", nullptr},
    {"d_interp", nullptr},
    {"deg", nullptr},
    {"end", nullptr},
    {"hole", nullptr},
    {"lod", nullptr},
    {"mg", nullptr},
    {"parm", nullptr},
    {"scrv", nullptr},
    {"shadow_obj", nullptr},
    {"sp", nullptr},
    {"stech", nullptr},
    {"step", nullptr},
    {"trace_obj", nullptr},
    {"trim", nullptr}};

/// Walks through the text by lines, each of which goes on in the next one behind a backslash.
/// Comments do not: a path may end them.
class ObjCursor
{
public:
    explicit ObjCursor(std::string_view content) : text_(content) {}

    bool next_line_with_words()
    {
        while (!next_word().empty())
        {
        }
        has_ended_ = false;
        goes_on_ = false;
        return text_.next_line_with_words();
    }

    /// The next word of the line; empty at its end and where a comment begins.
    std::string_view next_word()
    {
        while (!has_ended_)
        {
            auto word = text_.next_word();
            if (!word.empty() && word.back() == '\\' && TextCursor(text_).next_word().empty())
            {
                goes_on_ = true;
                word.remove_suffix(1);
            }
            if (!word.empty() && word.front() != '#')
            {
                return word;
            }
            has_ended_ = !word.empty() || !goes_on_ || !text_.next_line();
            goes_on_ = false;
        }
        return {};
    }

    std::string_view rest() const { return text_.rest(); }
    std::size_t line_number() const { return text_.line_number(); }

private:
    TextCursor text_;
    bool goes_on_ = false; ///< A backslash was there.
    bool has_ended_ = true;
};

class ObjParser
{
public:
    explicit ObjParser(std::string_view content) : text_(content) {}

    MeshSoup parse()
    {
        ReadingProgress progress(text_.rest().size());
        while (text_.next_line_with_words())
        {
            progress.next(text_.rest().size());
            parse_line();
        }
        if (soup_.points.empty())
        {
            throw FileError("holds no vertices");
        }
        soup_.first_number = 1;
        finish_normals();
        finish_texcoords();
        finish_colors();
        return std::move(soup_);
    }

private:
    static constexpr int NONE = -1;

    [[noreturn]] void refuse(char const* what) const
    {
        throw FileError("line " + std::to_string(text_.line_number()) + " " + what);
    }

    void parse_line()
    {
        auto const keyword = text_.next_word();
        if (keyword == "v")
        {
            parse_vertex();
        }
        else if (keyword == "vn")
        {
            normals_.push_back(parse_vector());
        }
        else if (keyword == "vt")
        {
            parse_texcoord();
        }
        else if (keyword == "f")
        {
            parse_face();
        }
        else if (!keyword.empty())
        {
            pass_over(keyword);
        }
    }

    void pass_over(std::string_view keyword)
    {
        auto const* const found =
            std::find_if(std::begin(IGNORED_KEYWORDS), std::end(IGNORED_KEYWORDS),
                         [&](auto const& known) { return known.first == keyword; });
        if (found == std::end(IGNORED_KEYWORDS))
        {
            refuse("is not understood");
        }
        if (found->second != nullptr)
        {
            soup_.drop(found->second);
        }
    }

    float parse_float()
    {
        float value = 0;
        if (!parse_number(text_.next_word(), value))
        {
            refuse("has too few numbers");
        }
        return value;
    }

    Vector3f parse_vector()
    {
        float const x = parse_float();
        float const y = parse_float();
        float const z = parse_float();
        return {x, y, z};
    }

    /// Three coordinates, and perhaps three channels of a colour behind them. One more number is a
    /// weight.
    void parse_vertex()
    {
        soup_.points.push_back(parse_vector());
        ObjCursor ahead = text_;
        int more = 0;
        while (!ahead.next_word().empty())
        {
            ++more;
        }
        if (more >= 3)
        {
            soup_.colors.push_back(parse_vector());
        }
    }

    /// One number at least. One that is none makes a corner without texture coordinates: the mesh
    /// is usable without.
    void parse_texcoord()
    {
        Vector2f texcoord = no_texcoord();
        if (parse_number(text_.next_word(), texcoord[0]))
        {
            auto const word = text_.next_word();
            texcoord[1] = 0.0F;
            if (!word.empty() && !parse_number(word, texcoord[1]))
            {
                texcoord = no_texcoord();
            }
        }
        texcoords_.push_back(texcoord);
    }

    void parse_face()
    {
        corners_.clear();
        for (auto word = text_.next_word(); !word.empty(); word = text_.next_word())
        {
            parse_corner(word);
        }
        soup_.add_face(corners_);
    }

    /// A corner is "v", "v/t", "v/t/n" or "v//n".
    void parse_corner(std::string_view word)
    {
        auto const first = word.find('/');
        corners_.push_back(parse_index(word.substr(0, first), soup_.points.size()));
        auto const second = first == std::string_view::npos ? first : word.find('/', first + 1);
        corner_texcoords_.push_back(
            first == std::string_view::npos
                ? NONE
                : texcoord_index(word.substr(first + 1, second - first - 1)));
        corner_normals_.push_back(second == std::string_view::npos
                                      ? NONE
                                      : parse_index(word.substr(second + 1), normals_.size()));
    }

    /// What is no index is no texture coordinate.
    int texcoord_index(std::string_view word) const
    {
        int index = NONE;
        return read_index(word, texcoords_.size(), index) ? index : NONE;
    }

    /// Indices count from 1, negative ones back from the newest element.
    static bool read_index(std::string_view word, std::size_t n, int& index)
    {
        std::int64_t number = 0;
        if (!parse_number(word, number) || number == 0 ||
            number > std::numeric_limits<int>::max() || number < -static_cast<std::int64_t>(n))
        {
            return false;
        }
        index = static_cast<int>(number > 0 ? number - 1 : static_cast<std::int64_t>(n) + number);
        return true;
    }

    int parse_index(std::string_view word, std::size_t n) const
    {
        int index = NONE;
        if (!read_index(word, n, index))
        {
            refuse("has a corner that is no index");
        }
        return index;
    }

    /// A vertex gets the normal of the first corner that gives it one. As many normals as vertices
    /// are taken to be theirs, so that vertices without a face have theirs too.
    void finish_normals()
    {
        auto const n = soup_.points.size();
        std::vector<int> normal_of(n, NONE);
        bool any = false;
        auto normal = corner_normals_.begin();
        CancelPoll poll;
        soup_.for_each_face(
            [&](std::size_t face, int const* corners, std::size_t n_corners)
            {
                poll.next();
                for (std::size_t i = 0; i < n_corners; ++i, ++normal)
                {
                    require_normal(face, *normal);
                    auto const vertex = static_cast<std::size_t>(corners[i]);
                    if (*normal == NONE || vertex >= n)
                    {
                        continue;
                    }
                    any = true;
                    normal_of[vertex] = normal_of[vertex] == NONE ? *normal : normal_of[vertex];
                    note_second_normal(normal_of[vertex], *normal);
                }
            });
        if (any || normals_.size() == n)
        {
            take_normals(normal_of);
        }
    }

    void note_second_normal(int first, int second)
    {
        if (first != second &&
            normals_[static_cast<std::size_t>(first)] != normals_[static_cast<std::size_t>(second)])
        {
            soup_.drop("normals that differ between the faces of a vertex");
        }
    }

    void finish_texcoords()
    {
        if (texcoords_.empty())
        {
            return;
        }
        auto corner = corner_texcoords_.begin();
        std::vector<Vector2f> list;
        CancelPoll poll;
        soup_.for_each_face(
            [&](std::size_t, int const*, std::size_t n_corners)
            {
                poll.next();
                list.clear();
                for (std::size_t i = 0; i < n_corners; ++i, ++corner)
                {
                    bool const is_there =
                        *corner != NONE && static_cast<std::size_t>(*corner) < texcoords_.size();
                    list.push_back(is_there ? texcoords_[static_cast<std::size_t>(*corner)]
                                            : no_texcoord());
                }
                soup_.add_texcoords(n_corners, list);
            });
    }

    void require_normal(std::size_t face, int normal) const
    {
        if (normal != NONE && static_cast<std::size_t>(normal) >= normals_.size())
        {
            throw FileError("face " + std::to_string(face + 1) + " names normal " +
                            std::to_string(normal + 1) + ", but there are only " +
                            std::to_string(normals_.size()));
        }
    }

    void take_normals(std::vector<int> const& normal_of)
    {
        bool const is_one_a_vertex = normals_.size() == normal_of.size();
        soup_.normals.assign(normal_of.size(), Vector3f::Zero());
        for (std::size_t i = 0; i < normal_of.size(); ++i)
        {
            if (normal_of[i] != NONE)
            {
                soup_.normals[i] = normals_[static_cast<std::size_t>(normal_of[i])];
            }
            else if (is_one_a_vertex)
            {
                soup_.normals[i] = normals_[i];
            }
        }
    }

    /// Colours count if every vertex has one. They are floats from 0 to 1; larger ones are bytes.
    void finish_colors()
    {
        if (soup_.colors.size() != soup_.points.size())
        {
            soup_.colors.clear();
            return;
        }
        bool const are_bytes = std::any_of(soup_.colors.begin(), soup_.colors.end(),
                                           [](Vector3f const& c) { return c.maxCoeff() > 1.0F; });
        for (auto& color : soup_.colors)
        {
            color /= are_bytes ? 255.0F : 1.0F;
        }
    }

    ObjCursor text_;
    MeshSoup soup_;
    std::vector<Vector3f> normals_;
    std::vector<Vector2f> texcoords_;
    std::vector<int> corners_;          ///< Of the face that is being read.
    std::vector<int> corner_normals_;   ///< Of all faces.
    std::vector<int> corner_texcoords_; ///< Of all faces.
};

} // namespace

MeshSoup read_obj(std::string_view content)
{
    return ObjParser(without_byte_order_mark(content)).parse();
}

} // namespace OrvaneAlgorithm::detail
