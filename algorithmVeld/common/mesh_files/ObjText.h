#pragma once

#include "algorithmVeld/common/files/PrintedFile.h"
#include "algorithmVeld/common/vectors.h"

#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A partial model, written by hand as text OBJ. Indices are one-based and taken as they are given.
/// Nothing happens where the file could not be opened.
class ObjText
{
public:
    explicit ObjText(std::string const& path) : file_(path) {}

    bool is_open() const { return file_.is_open(); }

    void vertex_count(int n) { file_.print("# Number of vertices: %d\n", n); }
    void triangle_count(int n) { file_.print("# Number of triangles: %d\n", n); }
    void end_of_file() { file_.print("# end of file\n"); }

    void vertex(Vector3f const& p)
    {
        file_.print("v %f %f %f\n", wide(p.x()), wide(p.y()), wide(p.z()));
    }

    /// \param red,green,blue 0 to 255
    void vertex(Vector3f const& p, int red, int green, int blue)
    {
        file_.print("v %f %f %f %d %d %d\n", wide(p.x()), wide(p.y()), wide(p.z()), red, green,
                    blue);
    }

    void triangle(int a, int b, int c) { file_.print("f %d %d %d\n", a, b, c); }

    void polygon(std::vector<int> const& corners)
    {
        file_.print("f");
        for (int const corner : corners)
        {
            file_.print(" %d", corner);
        }
        file_.print("\n");
    }

    /// Ends the file. \return false if it could not be opened or not be written as a whole
    bool close() { return file_.close(); }

private:
    static double wide(float value) { return static_cast<double>(value); }

    PrintedFile file_;
};

} // namespace OrvaneAlgorithm::detail
