#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/ReadingProgress.h"

#include <array>
#include <cmath>
#include <string>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t POSITION_ALONE = 3;
constexpr std::size_t POSITION_AND_INTENSITY = 4;
constexpr std::size_t POSITION_AND_NORMAL = 6;

/// The numbers of one line.
struct PointLine
{
    std::array<float, POSITION_AND_NORMAL> numbers{};
    std::size_t count = 0;
};

[[noreturn]] void refuse_line(TextCursor const& text, std::string const& why)
{
    throw FileError("line " + std::to_string(text.line_number()) + " " + why);
}

PointLine parse_line(TextCursor& text)
{
    PointLine line;
    for (auto word = text.next_word(); !word.empty() && word.front() != '#';
         word = text.next_word())
    {
        float number = 0.0F;
        if (!parse_number(word, number))
        {
            refuse_line(text, "is not a list of numbers");
        }
        if (line.count == line.numbers.size())
        {
            refuse_line(text, "has more than 6 numbers");
        }
        line.numbers[line.count++] = number;
    }
    return line;
}

/// Colours stand in the same places, and would look like normals to everybody behind.
void require_normal(TextCursor const& text, Vector3f const& normal)
{
    constexpr float TOLERANCE = 0.1F;
    float const length = normal.norm();
    if (length != 0.0F && std::abs(length - 1.0F) > TOLERANCE)
    {
        refuse_line(text, "has numbers 4 to 6 that are no normal of length 1");
    }
}

class CloudParser
{
public:
    explicit CloudParser(std::string_view content) : text_(without_byte_order_mark(content)) {}

    MeshSoup parse()
    {
        ReadingProgress progress(text_.rest().size());
        while (text_.next_line_with_words())
        {
            progress.next(text_.rest().size());
            PointLine const line = parse_line(text_);
            if (line.count > 0)
            {
                add(line);
            }
        }
        if (soup_.points.empty())
        {
            throw FileError("holds no points");
        }
        return std::move(soup_);
    }

private:
    void add(PointLine const& line)
    {
        if (soup_.points.empty())
        {
            begin(line.count);
        }
        if (line.count != numbers_)
        {
            refuse_line(text_, "has " + std::to_string(line.count) +
                                   " numbers, and the first has " + std::to_string(numbers_));
        }
        auto const& n = line.numbers;
        soup_.points.emplace_back(n[0], n[1], n[2]);
        if (numbers_ == POSITION_AND_INTENSITY)
        {
            soup_.values.front().values.push_back(n[3]);
        }
        if (numbers_ == POSITION_AND_NORMAL)
        {
            soup_.normals.emplace_back(n[3], n[4], n[5]);
            require_normal(text_, soup_.normals.back());
        }
    }

    /// The first line says what all of them hold.
    void begin(std::size_t numbers)
    {
        if (numbers != POSITION_ALONE && numbers != POSITION_AND_INTENSITY &&
            numbers != POSITION_AND_NORMAL)
        {
            refuse_line(text_, "has " + std::to_string(numbers) +
                                   " numbers: a point has 3, 4 with an intensity, or 6 with a "
                                   "normal");
        }
        numbers_ = numbers;
        if (numbers_ == POSITION_AND_INTENSITY)
        {
            soup_.values.push_back({"intensity", {}});
        }
    }

    TextCursor text_;
    MeshSoup soup_;
    std::size_t numbers_ = 0; ///< of each line
};

} // namespace

MeshSoup read_cloud_text(std::string_view content)
{
    return CloudParser(content).parse();
}

} // namespace OrvaneAlgorithm::detail
