#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/ReadingProgress.h"

#include <algorithm>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// What the format has beside triangles and their vertices; it is passed over.
constexpr std::string_view IGNORED_KEYWORDS[] = {
    "bevel",  "bmat",   "bsp",    "bzp",        "c_interp", "call",     "cdc",  "cdp",  "con",
    "cstype", "ctech",  "curv",   "curv2",      "csh",      "d_interp", "deg",  "end",  "g",
    "hole",   "l",      "lod",    "maplib",     "mg",       "mtllib",   "o",    "p",    "parm",
    "res",    "s",      "scrv",   "shadow_obj", "sp",       "stech",    "step", "surf", "trace_obj",
    "trim",   "usemap", "usemtl", "vp",         "vt"};

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
        else if (keyword == "f")
        {
            parse_face();
        }
        else if (keyword.front() != '#' &&
                 std::find(std::begin(IGNORED_KEYWORDS), std::end(IGNORED_KEYWORDS), keyword) ==
                     std::end(IGNORED_KEYWORDS))
        {
            refuse("is not understood");
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
        TextCursor ahead = text_;
        int more = 0;
        for (auto word = ahead.next_word(); !word.empty() && word.front() != '#'; ++more)
        {
            word = ahead.next_word();
        }
        if (more >= 3)
        {
            soup_.colors.push_back(parse_vector());
        }
    }

    void parse_face()
    {
        std::array<int, 3> corners{};
        std::array<int, 3> normals{};
        std::uint64_t n = 0;
        for (auto word = text_.next_word(); !word.empty() && word.front() != '#';
             word = text_.next_word())
        {
            if (n < 3)
            {
                parse_corner(word, corners[n], normals[n]);
            }
            ++n;
        }
        require_triangle(soup_.faces.size() + 1, n);
        soup_.faces.push_back(corners);
        face_normals_.push_back(normals);
    }

    /// A corner is "v", "v/t", "v/t/n" or "v//n".
    void parse_corner(std::string_view word, int& vertex, int& normal) const
    {
        auto const first = word.find('/');
        vertex = parse_index(word.substr(0, first), soup_.points.size());
        normal = NONE;
        auto const second = first == std::string_view::npos ? first : word.find('/', first + 1);
        if (second != std::string_view::npos)
        {
            normal = parse_index(word.substr(second + 1), normals_.size());
        }
    }

    /// Indices count from 1, negative ones back from the newest element.
    int parse_index(std::string_view word, std::size_t n) const
    {
        std::int64_t index = 0;
        if (!parse_number(word, index) || index == 0 || index > std::numeric_limits<int>::max() ||
            index < -static_cast<std::int64_t>(n))
        {
            refuse("has a corner that is no index");
        }
        return static_cast<int>(index > 0 ? index - 1 : static_cast<std::int64_t>(n) + index);
    }

    /// A vertex gets the normal of the first corner that gives it one. As many normals as vertices
    /// are taken to be theirs, so that vertices without a face have theirs too.
    void finish_normals()
    {
        auto const n = soup_.points.size();
        std::vector<int> normal_of(n, NONE);
        bool any = false;
        CancelPoll poll;
        for (std::size_t f = 0; f < soup_.faces.size(); ++f)
        {
            poll.next();
            for (std::size_t i = 0; i < 3; ++i)
            {
                int const normal = face_normals_[f][i];
                require_normal(f, normal);
                auto const vertex = static_cast<std::size_t>(soup_.faces[f][i]);
                if (normal != NONE && vertex < n && normal_of[vertex] == NONE)
                {
                    normal_of[vertex] = normal;
                    any = true;
                }
            }
        }
        if (any || normals_.size() == n)
        {
            take_normals(normal_of);
        }
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

    TextCursor text_;
    MeshSoup soup_;
    std::vector<Vector3f> normals_;
    std::vector<std::array<int, 3>> face_normals_;
};

} // namespace

MeshSoup read_obj(std::string_view content)
{
    return ObjParser(content).parse();
}

} // namespace OrvaneAlgorithm::detail
