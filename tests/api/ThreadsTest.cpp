#include "algorithmVeld/algorithmVeld.h"
#include "tests/reconstruction/depth_frames.h"
#include "tests/reconstruction/frames.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstring>
#include <fstream>
#include <thread>

/// \file
/// Every operation runs in four threads at once, each on objects of its own, and gives what it
/// gives alone. The thread checker sees what they share.

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

constexpr int THREADS = 4;

/// What an operation gave, down to the last bit.
class Outcome
{
public:
    template <typename... Parts>
    explicit Outcome(Parts const&... parts)
    {
        (add(parts), ...);
    }

    bool operator==(Outcome const& other) const { return values_ == other.values_; }

private:
    void add(int value) { values_.push_back(value); }
    void add(RetVal value) { EXPECT_EQ(value, RET_SUCCESS); }
    void add(bool done) { EXPECT_TRUE(done); }
    void add(float value)
    {
        int bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        add(bits);
    }
    void add(double value)
    {
        std::array<int, 2> bits{};
        std::memcpy(bits.data(), &value, sizeof bits);
        add(bits[0]);
        add(bits[1]);
    }
    void add(RigidMatrix const& pose)
    {
        for (Eigen::Index axis = 0; axis < 3; ++axis)
        {
            Vector3d const row = pose.get_rotation().row(axis).transpose();
            add_all(std::vector<double>{row.x(), row.y(), row.z(), pose.get_translation()[axis]});
        }
    }
    void add(OpenMesh::BaseHandle const& handle) { add(handle.idx()); }
    void add(Vector2i const& vector) { add_all(std::vector<int>{vector.x(), vector.y()}); }
    void add(Vector3f const& vector)
    {
        add_all(std::vector<float>{vector.x(), vector.y(), vector.z()});
    }
    void add(BaseTriFace const& face) { add_all(face.v); }
    void add(OpenHole const& hole) { add_all(hole.corners); }
    void add(std::string const& text) { add_all(text); }
    void add(std::wstring const& text) { add_all(text); }
    void add(TriMesh const& mesh) { add_all(fingerprint(mesh)); }
    void add(Cloud const& cloud)
    {
        add_all(cloud.vCoord);
        add_all(cloud.vNrv);
    }
    void add(RangeData const& frame)
    {
        add(static_cast<Cloud const&>(frame));
        add_all(std::vector<int>(frame.cellFlag.begin(), frame.cellFlag.end()));
    }
    void add(BaseTriMesh const& mesh)
    {
        add(static_cast<Cloud const&>(mesh));
        add_all(mesh.faces);
    }
    template <typename T>
    void add(std::vector<T> const& list)
    {
        add_all(list);
    }

    template <typename List>
    void add_all(List const& list)
    {
        add(static_cast<int>(std::size(list)));
        for (auto const& element : list)
        {
            if constexpr (std::is_integral_v<std::decay_t<decltype(element)>>)
            {
                add(static_cast<int>(element));
            }
            else
            {
                add(element);
            }
        }
    }

    std::vector<int> values_;
};

/// What a call has for itself.
struct Call
{
    TempDir const& dir;
    bool verbose = false;
};

struct Operation
{
    char const* name;
    Outcome (*run)(Call const& call);
};

using Faces = std::vector<OpenMesh::FaceHandle>;
using Vertices = std::vector<OpenMesh::VertexHandle>;

/// Square holes in a row, with a triangle apart and a vertex at which two fans meet.
TriMesh holed_mesh()
{
    TriMesh mesh =
        grid_without(18, 7, {{3, 3}, {4, 3}, {8, 2}, {12, 4}, {13, 4}, {15, 1}, {16, 2}});
    for (auto const v : mesh.vertices())
    {
        mesh.point(v).z() = 0.3F * std::sin(0.4F * static_cast<float>(v.idx()));
    }
    auto const a = mesh.add_vertex(Vector3f(50, 0, 0));
    auto const b = mesh.add_vertex(Vector3f(51, 0, 0));
    auto const c = mesh.add_vertex(Vector3f(50, 1, 0));
    mesh.add_face(a, b, c);
    return mesh;
}

BaseTriMesh holed_array_mesh()
{
    BaseTriMesh mesh;
    TriMesh_convert_to_BaseTriMesh(holed_mesh(), mesh);
    mesh.update_VNrv();
    return mesh;
}

/// All holes but the outer border.
Holes inner_holes(TriMesh& mesh)
{
    Holes holes;
    FindHolesEx::find_holes(mesh, 12.0, holes, false);
    return holes;
}

Verts const MARKERS{{4, 2, 0}, {9, 5, 0}};
Verts const NORMALS{{0, 0, 1}, {0, 0, 1}};

/// A plate with a cone on it.
TriMesh plate_with_cone()
{
    TriMesh mesh = grid(12, 12);
    for (auto const v : mesh.vertices())
    {
        Vector3f& p = mesh.point(v);
        float const off = std::hypot(p.x() - 6, p.y() - 6);
        p.z() = std::max(0.0F, 8.0F - 3.0F * off);
    }
    return mesh;
}

Outcome fill_carefully(Call const& call, int smooth_type)
{
    TriMesh mesh = holed_mesh();
    Holes const holes = inner_holes(mesh);
    HoleFillingCore filler;
    filler.set_smooth_type(smooth_type);
    std::vector<bool> filled;
    std::vector<Faces> faces;
    Holes verts;
    Holes patches;
    RetVal const value =
        filler.fill_holes_core_ex(mesh, holes, filled, 2, faces, verts, patches, call.verbose);
    return Outcome(value, mesh, filled, faces, verts, patches, filler.open_holes());
}

/// Writes two frames of 2 x 2 points with their poses as text, and reads them.
Outcome read_text_frames(Call const& call)
{
    for (int const number : {1, 2})
    {
        std::ofstream(call.dir.file("cloud" + std::to_string(number) + ".asc"))
            << "0 0 1\n1 0 1\n0 1 1\n1 1 " << number << "\n";
        std::ofstream(call.dir.file("rt" + std::to_string(number) + ".txt"))
            << "1 0 0 0 1 0 0 0 1 " << number << " 0 0\n";
    }
    PointCloud2RangeData reader;
    reader.set_ImageSize(2, 2);
    reader.set_DataInputDir(call.dir.path().string());
    reader.set_PointCloudName("cloud", ".asc");
    reader.set_RtParamName("rt", ".txt");
    reader.set_FrameIdInfo(1, 2);
    reader.set_rt_file_with_12_params(true);
    reader.Initialize();
    bool const done = reader.processPointCloud();
    return Outcome(done, reader.get_rangeData(0), reader.get_rangeData(1));
}

Outcome write_and_read(Call const& call, std::string const& extension)
{
    std::string const path = call.dir.file("mesh" + extension);
    std::string error;
    TriMesh mesh;
    MeshReadReport report;
    bool const written = write_mesh(path, holed_mesh(), error);
    bool const read = read_mesh(path, mesh, report);
    return Outcome(written, read, mesh, error, report.error);
}

/// Out to the file and back, with a copy that goes its own way.
template <typename Data>
Outcome swap_out_and_in(Data data)
{
    int const out = data.swap_out_data();
    Data copy = data;
    Data moved = std::move(data);
    int const in = moved.swap_in_data() + copy.swap_in_data();
    return Outcome(out == 0, in == 0, moved, copy);
}

Operation const OPERATIONS[] = {
    {"ear_clipping",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         RetVal const value = ear_clipping(mesh, true, false, true, 12, 1.0, 150.0);
         return Outcome(value, mesh);
     }},
    {"extract_sticks",
     [](Call const& call)
     {
         TriMesh mesh = plate_with_cone();
         std::vector<TriMesh> sticks;
         RetVal const value =
             extract_sticks(mesh, {{6, 4, 2}}, {{4.0F, 6.0F}}, sticks, true, call.verbose);
         return Outcome(value, sticks);
     }},
    {"fill_holes_core",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Holes const holes = inner_holes(mesh);
         std::vector<Faces> faces;
         Holes verts;
         Holes patches;
         RetVal const value = fill_holes_core(mesh, holes, 2, faces, verts, patches, call.verbose);
         return Outcome(value, mesh, faces, verts, patches);
     }},
    {"fill_single_hole_core",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Vertices const hole = inner_holes(mesh).front();
         Faces faces;
         Vertices verts;
         Vertices patch;
         RetVal const value =
             fill_single_hole_core(mesh, hole, 2, faces, verts, patch, call.verbose);
         return Outcome(value, mesh, faces, verts, patch);
     }},
    {"HoleFilling",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         HoleFilling filling;
         filling.set_topology_dis_thr(1);
         RetVal const value = filling.holes_filling(mesh);
         return Outcome(value, mesh, filling.open_holes());
     }},
    {"MarkerHoleFilling",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         MarkerHoleFilling filling;
         filling.set_topology_dis_thr(1);
         filling.set_marker_search_radius(2.0);
         RetVal const value = filling.marker_holes_filling(mesh, MARKERS);
         return Outcome(value, mesh, filling.open_holes());
     }},
    {"HoleSmooth",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         HoleSmooth smoother(mesh, OpenMesh::VPropHandleT<bool>());
         smoother.set_all_active();
         smoother.initialize(HoleSmooth::Normal_Dir, HoleSmooth::C1);
         smoother.set_relative_local_error(0.01F);
         RetVal const value = smoother.smooth(5);
         bool const same_size = smoother.get_iterative_smoothed_mesh(mesh);
         return Outcome(value, same_size, mesh);
     }},
    {"find_hole",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Vertices near;
         Vertices known;
         RetVal const a = find_hole(mesh, {8, 2, 0}, 2.0, near, call.verbose);
         RetVal const b = find_hole(mesh, {8, 2, 0}, inner_holes(mesh), 2.0, known, call.verbose);
         return Outcome(a, b, near, known);
     }},
    {"find_holes",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Holes all;
         Holes small;
         RetVal const a = find_holes(mesh, all, call.verbose);
         RetVal const b = find_holes(mesh, 5.0, small, call.verbose);
         return Outcome(a, b, all, small);
     }},
    {"find_marker_holes",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Holes holes;
         RetVal const value =
             find_marker_holes(mesh, MARKERS, NORMALS, 2.0, 2.0, true, 0.5, holes, call.verbose);
         return Outcome(value, holes);
     }},
    {"mesh_merge",
     [](Call const& call)
     {
         auto const frames = random_frames(7, 3, 12, 1.0F);
         TriMesh mesh;
         std::vector<int> sources;
         RetVal const value =
             mesh_merge(pointers(frames), 1.5, mesh, call.verbose, 12, 3, 5.0, sources);
         return Outcome(value, mesh, sources);
     }},
    {"GeoPatentRecon",
     [](Call const& call)
     {
         auto const frames = random_frames(7, 3, 12, 1.0F);
         TriMesh mesh;
         std::vector<int> sources;
         RetVal const value = GeoPatentRecon().mesh_merge(pointers(frames), 1.0, mesh, call.verbose,
                                                          12, 3, 5.0, sources);
         return Outcome(value, mesh, sources);
     }},
    {"remove_marker_cloud",
     [](Call const& call)
     {
         Cloud cloud = holed_array_mesh();
         RetVal const value =
             remove_marker_cloud(cloud, MARKERS, NORMALS, 1.5, true, 0.1, call.verbose);
         return Outcome(value, cloud);
     }},
    {"remove_marker_mesh",
     [](Call const& call)
     {
         TriMesh simple = holed_mesh();
         TriMesh careful = holed_mesh();
         RetVal const a = remove_marker_mesh(simple, MARKERS, {}, 1.5, false, 0.1, call.verbose);
         RetVal const b =
             remove_marker_mesh(careful, MARKERS, NORMALS, 1.5, true, 0.1, call.verbose);
         return Outcome(a, b, simple, careful);
     }},
    {"remove_marker_mesh of an array mesh",
     [](Call const& call)
     {
         BaseTriMesh simple = holed_array_mesh();
         BaseTriMesh careful = holed_array_mesh();
         RetVal const a = remove_marker_mesh(simple, MARKERS, {}, 1.5, false, 0.1, call.verbose);
         RetVal const b =
             remove_marker_mesh(careful, MARKERS, NORMALS, 1.5, true, 0.1, call.verbose);
         return Outcome(a, b, simple, careful);
     }},
    {"remove_non_manifold_verts",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         RetVal const value = remove_non_manifold_verts(mesh, call.verbose);
         return Outcome(value, mesh);
     }},
    {"remove_small_components",
     [](Call const& call)
     {
         TriMesh by_face = holed_mesh();
         TriMesh by_vert = holed_mesh();
         TriMesh strong = holed_mesh();
         RetVal const a = remove_small_components_by_face(by_face, 1, call.verbose);
         RetVal const b = remove_small_components_by_vert(by_vert, 3, call.verbose);
         RetVal const c = remove_small_components_by_face_strong_connection(strong, 20, 1);
         return Outcome(a, b, c, by_face, by_vert, strong);
     }},
    {"EarClipping",
     [](Call const&)
     {
         EarClipping filler;
         filler.set_max_perimeter(12.0);
         TriMesh mesh = holed_mesh();
         TriMesh plane = holed_mesh();
         filler.fill_hole(mesh);
         filler.fill_hole_type_plane(plane);
         return Outcome(mesh, plane, filler.open_holes());
     }},
    {"EarTrimming",
     [](Call const&)
     {
         EarTrimming filler;
         filler.set_max_perimeter(12.0);
         filler.set_edge_length_constraint(false);
         TriMesh mesh = holed_mesh();
         RetVal const value = filler.ear_trimming(mesh);
         return Outcome(value, mesh, filler.open_holes());
     }},
    {"HoleFillingCore, C0", [](Call const& call) { return fill_carefully(call, 0); }},
    {"HoleFillingCore, C1", [](Call const& call) { return fill_carefully(call, 1); }},
    {"HoleFillingCore, C2", [](Call const& call) { return fill_carefully(call, 2); }},
    {"FindHoles",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         Holes all;
         Holes simple;
         Vertices starts;
         FindHoles finder;
         RetVal const a = FindHoles::find_holes(mesh, all, call.verbose);
         RetVal const b = FindHoles::find_holes(mesh, MARKERS, 2.0, starts, call.verbose);
         RetVal const c = finder.find_simple_holes(mesh, simple, call.verbose);
         return Outcome(a, b, c, all, starts, simple);
     }},
    {"PostProcessing",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         PostProcessing().remove_small_objects(mesh, 2);
         return Outcome(mesh);
     }},
    {"RemoveBoundary",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         RetVal const value = RemoveBoundary::remove_n_rings(mesh, 1, call.verbose);
         return Outcome(value, mesh);
     }},
    {"FrameOverlap",
     [](Call const&)
     {
         auto const frames = random_frames(3, 3, 12, 1.0F);
         std::vector<RangeData> kept;
         RetVal const value = FrameOverlap().remove_overlap(pointers(frames), kept);
         return Outcome(value, kept);
     }},
    {"FrameAlignment",
     [](Call const&)
     {
         std::vector<RangeData> frames{hilly_frame(0, 0, 30, 1, 0.05),
                                       hilly_frame(9, 4, 30, 2, 0.05)};
         RigidMatrix off;
         off.set_translation(Vector3d(0.1, -0.2, 0.3));
         frames[1].set_rigidMatrix(off);
         std::vector<RigidMatrix> poses;
         RetVal const value = FrameAlignment().align(pointers(frames), poses);
         return Outcome(value, poses);
     }},
    {"DepthFrames",
     [](Call const&)
     {
         std::vector<RangeData> const frames{depth_frame(depth_wall(1000.0), NOISE_SQUARE, 1),
                                             depth_frame(depth_wall(1003.0), NOISE_SQUARE, 2)};
         std::vector<RangeData> prepared;
         RetVal const value = DepthFrames().prepare(pointers(frames), prepared);
         return Outcome(value, prepared);
     }},
    {"TopologyRepair",
     [](Call const&)
     {
         TriMesh mesh = holed_mesh();
         TopologyRepair repairer;
         repairer.set_search_radius(2.5F);
         bool const done = repairer.repair_mesh(mesh);
         return Outcome(done, mesh);
     }},
    {"PointCloud2RangeData", read_text_frames},
    {"BaseTriMeshSearch",
     [](Call const&)
     {
         BaseTriMesh const mesh = holed_array_mesh();
         BaseTriMeshSearch search(mesh);
         int* begin = nullptr;
         int* end = nullptr;
         search.v2fRing1(-1, begin, end); // prints
         search.f2fRing1(5, begin, end);
         return Outcome(std::vector<int>(begin, end));
     }},
    {"MeshAssistant",
     [](Call const& call)
     {
         TriMesh mesh = holed_mesh();
         MeshAssistant::output_hole_region(mesh, call.dir.path().string());
         MeshAssistant::output_faces(mesh, {OpenMesh::FaceHandle(3)}, "faces.obj");
         MeshAssistant::output_neighbour_region(mesh, vh(20), vh(21), vh(40), {1, 1, 0}, {2, 1, 0},
                                                1.0F, true, "near");
         std::string name = "nodes";
         MeshAssistant::output_nodes_region(mesh, {vh(20), vh(21)}, name);
         return Outcome(mesh);
     }},
    {"WinCallWrapper and UtilTool",
     [](Call const& call)
     {
         std::ofstream(call.dir.file("a7.obj")) << "v 0 0 0\n";
         std::wstring const dir = call.dir.path().wstring();
         std::size_t const listed = WinCallWrapper::get_dir_arr(dir, call.verbose).size() +
                                    WinCallWrapper::get_file_arr(dir, L"obj", call.verbose).size();
         UtilTool::FileSeriesDesc series;
         series.set_name_info(std::string("dir"), "a", ".obj");
         series.set_fileNumArr({1, 22});
         std::vector<std::string> names;
         series.get_filenames(names);
         return Outcome(static_cast<int>(listed), names);
     }},
    {"KdTree3f",
     [](Call const&)
     {
         KdTree3f tree;
         tree.build_kdtree(holed_array_mesh().vCoord);
         std::vector<int> hits;
         std::vector<float> distances;
         tree.radius_search({6, 3, 0}, 2.5F, hits, distances, 0);
         int nearest = 0;
         float distance = 0;
         tree.nearest_search({6.4F, 3, 0}, nearest, distance);
         return Outcome(hits, distances, nearest, distance);
     }},
    {"ImagePacking and randomly_select_more",
     [](Call const&)
     {
         std::vector<Vector2i> positions;
         Vector2i total;
         RetVal const value = ImagePacking::pack({{4, 7}, {9, 2}, {3, 3}}, 1, positions, total);
         std::vector<int> selected;
         randomly_select_more(50, 10, selected);
         return Outcome(value, positions, total, static_cast<int>(selected.size()));
     }},
    {"mesh_conversion",
     [](Call const&)
     {
         TriMesh mesh;
         BaseTriMesh const arrays = holed_array_mesh();
         std::size_t const left_out = BaseTriMesh_convert_to_TriMesh(arrays, mesh);
         return Outcome(static_cast<int>(left_out), arrays, mesh);
     }},
    {"mesh files, PLY", [](Call const& call) { return write_and_read(call, ".ply"); }},
    {"mesh files, STL", [](Call const& call) { return write_and_read(call, ".stl"); }},
    {"mesh files, OBJ", [](Call const& call) { return write_and_read(call, ".obj"); }},
    {"mesh files, OFF", [](Call const& call) { return write_and_read(call, ".off"); }},
    {"mesh files, OM", [](Call const& call) { return write_and_read(call, ".om"); }},
    {"image files",
     [](Call const& call)
     {
         int sum = 0;
         for (char const* const name : {"image.png", "image.jpg"})
         {
             Image<3, unsigned char> image(9, 5);
             image.pixel(4, 2)[1] = 200;
             sum += write_rgb_image(call.dir.file(name), image);
             sum += read_rgb_image(call.dir.file(name), image) + 1000 * image.pixel(4, 2)[1];
         }
         return Outcome(sum);
     }},
    {"frame files",
     [](Call const& call)
     {
         std::wstring const path = (call.dir.path() / "frame.rge").wstring();
         RangeData frame;
         int const written = CRangeDataIO::write_rge(path, random_frames(5, 1, 9, 1.0F).front());
         int const read = CRangeDataIO::read_rge(path, frame);
         return Outcome(written == 0, read == 0, frame);
     }},
    {"swapping a TriMesh", [](Call const&) { return swap_out_and_in(holed_mesh()); }},
    {"swapping a BaseTriMesh", [](Call const&) { return swap_out_and_in(holed_array_mesh()); }},
    {"swapping a RangeData",
     [](Call const&) { return swap_out_and_in(random_frames(5, 1, 9, 1.0F).front()); }},
    {"stopwatches and steps",
     [](Call const&)
     {
         ScopeTimer const timer("scope");
         gLH.startSpecStepTimer("host", "");
         gLH.lapSpecStepTimer("host");
         return Outcome(!gLH.steps_as_json().empty());
     }},
};

/// Takes what is logged and printed, which two operations of different `verbose` do not settle, and
/// gives the dumps a folder.
class QuietHost
{
public:
    QuietHost() : before_(gPH)
    {
        gPH.set_debug_dir(dir_.path().string());
        gPH.set_result_dir(dir_.path().string());
        auto const count = [this](std::string const& text) { length_ += text.size(); };
        gLH.set_sink(count);
        gLH.set_print_sink(count);
    }
    ~QuietHost()
    {
        gLH.set_sink({});
        gLH.set_print_sink({});
        gPH = before_;
    }
    QuietHost(QuietHost const&) = delete;
    QuietHost& operator=(QuietHost const&) = delete;

private:
    TempDir dir_;
    std::size_t length_ = 0; ///< one call at a time, so it needs no lock
    ParamHolder before_;
};

/// Runs `body(thread)` in all threads, from the same moment on.
template <typename Body>
void in_threads(Body const& body)
{
    std::atomic<int> waiting{THREADS};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                for (--waiting; waiting > 0;)
                {
                    std::this_thread::yield();
                }
                body(i);
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

Outcome run(Operation const& operation, bool verbose)
{
    TempDir const dir;
    return operation.run({dir, verbose});
}

class InThreads : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST_P(InThreads, GivesWhatItGivesAlone)
{
    QuietHost const host;
    Outcome const alone = run(GetParam(), false);
    std::vector<char> same(THREADS, 0);
    in_threads(
        [&](int thread)
        { same[static_cast<std::size_t>(thread)] = run(GetParam(), thread % 2 == 1) == alone; });
    EXPECT_EQ(same, std::vector<char>(THREADS, 1));
}

INSTANTIATE_TEST_SUITE_P(Every, InThreads, testing::ValuesIn(OPERATIONS),
                         [](auto const& test)
                         {
                             std::string name;
                             for (char const c : std::string(test.param.name))
                             {
                                 name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
                             }
                             return name;
                         });

TEST(Threads, DifferentOperationsDoNotDisturbEachOther)
{
    QuietHost const host;
    std::size_t const n = std::size(OPERATIONS);
    std::vector<Outcome> alone;
    for (Operation const& operation : OPERATIONS)
    {
        alone.push_back(run(operation, false));
    }
    std::vector<std::string> different(THREADS);
    in_threads(
        [&](int thread)
        {
            auto const t = static_cast<std::size_t>(thread);
            for (std::size_t i = 0; i < n; ++i)
            {
                std::size_t const k = (i + t * n / THREADS) % n;
                if (!(run(OPERATIONS[k], thread % 2 == 1) == alone[k]))
                {
                    different[t] += std::string(OPERATIONS[k].name) + "; ";
                }
            }
        });
    EXPECT_EQ(different, std::vector<std::string>(THREADS));
}
