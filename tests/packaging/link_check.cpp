// A host that links the shared library: both see one log, one mesh, one exception.

#include <algorithmVeld/algorithmVeld.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace OrvaneAlgorithm;

namespace
{

void expect(bool holds, char const* what)
{
    if (!holds)
    {
        std::fprintf(stderr, "not so: %s\n", what);
        std::exit(1);
    }
}

void log_reaches_the_host()
{
    std::string text;
    gLH.set_sink([&](std::string const& piece) { text += piece; });
    gLH.LogPrintf("%d holes\n", 3);
    gLH.set_sink({});
    expect(text == "3 holes\n", "the sink gets what is logged");

    gLH.startSpecStepTimer("outer", "");
    gLH.lapSpecStepTimer("outer");
    expect(gLH.steps_as_json().find("\"name\":\"outer\"") != std::string::npos,
           "a step is in the tree");
}

void exception_of_the_sink_comes_back()
{
    gLH.set_sink([](std::string const&) { throw std::string("from the host"); });
    bool caught = false;
    try
    {
        gLH.print_log("text");
    }
    catch (std::string const& thrown)
    {
        caught = thrown == "from the host";
    }
    gLH.set_sink({});
    expect(caught, "what the host throws passes through the library");
}

void mesh_is_one_thing_to_both()
{
    TriMesh mesh;
    std::vector<OpenMesh::VertexHandle> corners;
    for (auto const& point : {Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 2, 0)})
    {
        corners.push_back(mesh.add_vertex(point));
    }
    expect(mesh.add_face(corners).is_valid(), "the host makes a face");
    expect(mesh.is_legal(), "the library walks it");
    OpenMesh::VPropHandleT<int> mark;
    mesh.add_property(mark, "host:mark");
    mesh.property(mark, corners[1]) = 7;
    mesh.reserve_more(1000, 1000, 1000);
    expect(mesh.property(mark, corners[1]) == 7,
           "the host's property outlives growth in the library");

    Vector3f low;
    Vector3f high;
    static_cast<BaseData const&>(mesh).get_boundBox(low, high);
    expect(low == Vector3f(0, 0, 0) && high == Vector3f(1, 2, 0), "the box is the corners' own");
}

void search_tree_finds()
{
    KdTree3f tree;
    tree.build_kdtree({{0, 0, 0}, {1, 0, 0}, {3, 0, 0}});
    std::vector<int> hits;
    std::vector<float> distances;
    expect(tree.radius_search({0.75F, 0, 0}, 1.0F, hits, distances, 0) == 2, "two are near");
    expect(hits == std::vector<int>{1, 0}, "the nearest comes first");
}

} // namespace

int main()
{
    log_reaches_the_host();
    exception_of_the_sink_comes_back();
    mesh_is_one_thing_to_both();
    search_tree_finds();
    return 0;
}
