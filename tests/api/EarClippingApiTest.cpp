#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/api/algorithms.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

using namespace veld_test;
using OrvaneAlgorithm::ear_clipping;
using OrvaneAlgorithm::RET_SUCCESS;

namespace
{

std::vector<std::vector<int>> faces_of(TriMesh const& mesh)
{
    std::vector<std::vector<int>> faces;
    for (auto const f : mesh.faces())
    {
        std::vector<int> corners;
        for (auto const v : f.vertices())
        {
            corners.push_back(v.idx());
        }
        faces.push_back(corners);
    }
    return faces;
}

} // namespace

TEST(EarClippingApi, ReturnsSuccessWhateverTheMeshHolds)
{
    LogCapture const log(false);
    for (TriMesh mesh : {TriMesh(), tetrahedron(), lone_triangle(), bow_tie(), pinched_pair()})
    {
        EXPECT_EQ(ear_clipping(mesh, false, false, false, 0, 0.0, 0.0), RET_SUCCESS);
        EXPECT_EQ(ear_clipping(mesh, true, true, true, -1, -1.0, -1.0), RET_SUCCESS);
    }
    EXPECT_EQ(log.text(), "");
}

TEST(EarClippingApi, DoesWhatEarTrimmingDoes)
{
    LogCapture const log(false);
    // A hole of 12 edges in a rim of 20; each setting decides what is filled.
    struct Settings
    {
        bool use_node_num, use_edge_length, use_norm;
        int node_num_thr;
        double edge_length_thr, norm_thr;
        int holes_left;
    };
    for (auto const& s :
         {Settings{true, false, false, 12, 0, 0, 1}, Settings{true, false, false, 11, 0, 0, 2},
          Settings{false, false, false, 0, 0, 0, 0}})
    {
        TriMesh mesh = grid_with_hole(3);
        TriMesh same = mesh;
        ear_clipping(mesh, s.use_node_num, s.use_edge_length, s.use_norm, s.node_num_thr,
                     s.edge_length_thr, s.norm_thr);
        OrvaneAlgorithm::EarTrimming trimming;
        trimming.ear_trimming(same, s.use_node_num, s.use_edge_length, s.use_norm, s.node_num_thr,
                              s.edge_length_thr, s.norm_thr);
        EXPECT_EQ(faces_of(mesh), faces_of(same));
        EXPECT_EQ(count_loops(mesh), s.holes_left);
    }
}

TEST(EarClippingApi, HandsTheEdgeLengthAndTheAngleOn)
{
    LogCapture const log(false);
    TriMesh mesh = grid_with_hole(3);
    // The first closing edge of the hole is as long as the diagonal of a cell.
    ear_clipping(mesh, false, true, false, 0, 1.4, 0.0);
    EXPECT_EQ(mesh.n_faces(), grid_with_hole(3).n_faces());
    // All lies in one plane: nothing turns away by half a degree.
    ear_clipping(mesh, true, true, true, 12, 99.0, 0.5);
    EXPECT_EQ(count_loops(mesh), 1);
}

TEST(EarClippingApi, GoesByTheLogSwitchThatIsInForce)
{
    TriMesh mesh = lone_triangle();
    {
        LogCapture const log(true);
        ear_clipping(mesh, true, true, true, 0, 0.0, 0.0);
        EXPECT_EQ(log.count("ear_trimming() ..\n"), 1);
        EXPECT_TRUE(OrvaneAlgorithm::gPH.log_enabled);
    }
    LogCapture const log(false);
    ear_clipping(mesh, true, true, true, 0, 0.0, 0.0);
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(OrvaneAlgorithm::gPH.log_enabled);
}
