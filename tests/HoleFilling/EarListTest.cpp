#include "algorithmVeld/HoleFilling/ears/EarList.h"

#include <gtest/gtest.h>

#include <limits>
#include <list>
#include <random>

using namespace OrvaneAlgorithm;
using detail::EarList;
using detail::EarRemoval;
using OpenMesh::VertexHandle;

namespace
{

/// A ring of corners with the given vertices and angles.
std::vector<HoleNode> ring(std::vector<int> const& vertices, std::vector<float> const& angles)
{
    std::vector<HoleNode> nodes(vertices.size());
    auto const n = nodes.size();
    for (std::size_t i = 0; i < n; ++i)
    {
        nodes[i].cur = VertexHandle(vertices[i]);
        nodes[i].prev = VertexHandle(vertices[(i + n - 1) % n]);
        nodes[i].next = VertexHandle(vertices[(i + 1) % n]);
        nodes[i].angle = angles[i];
    }
    return nodes;
}

std::vector<int> indices(std::vector<VertexHandle> const& corners)
{
    std::vector<int> result;
    for (auto const corner : corners)
    {
        result.push_back(corner.idx());
    }
    return result;
}

auto const KEEP_ANGLE = [](HoleNode&) { return true; };
auto const REFUSE = [](HoleNode&) { return false; };

} // namespace

TEST(EarList, FirstNodeInListOrderWinsATie)
{
    EarList const list(ring({4, 3, 2, 1}, {2.0F, 1.0F, 1.0F, 2.0F}));
    EXPECT_EQ(list.smallest(), 1U);
}

TEST(EarList, AngleThatIsNoNumberComesLast)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    EarList list(ring({0, 1, 2}, {nan, 6.0F, nan}));
    EXPECT_EQ(list.smallest(), 1U);
    EarList const nothing_else(ring({0, 1, 2}, {nan, nan, nan}));
    EXPECT_EQ(nothing_else.smallest(), 0U);
}

TEST(EarList, WidenedCornerIsPassedOver)
{
    EarList list(ring({0, 1, 2}, {1.0F, 2.0F, 3.0F}));
    list.widen(0, 6.2831855F);
    EXPECT_EQ(list.smallest(), 1U);
    EXPECT_EQ(list[0].angle, 1.0F + 6.2831855F);
}

TEST(EarList, EmptyListHasNoNodes)
{
    EarList const list({});
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.front(), EarList::NONE);
    EXPECT_EQ(list.smallest(), EarList::NONE);
    EXPECT_EQ(list.find(VertexHandle(0)), EarList::NONE);
    EXPECT_TRUE(list.corners().empty());
}

TEST(EarList, FindsTheFirstLiveNodeOfAVertex)
{
    EarList list(ring({5, 9, 5, 7, 5}, {1, 1, 1, 1, 1}));
    EXPECT_EQ(list.find(VertexHandle(5)), 0U);
    EXPECT_EQ(list.find(VertexHandle(6)), EarList::NONE);
    // Each goes once it has become the first node of its vertex.
    EXPECT_EQ(list.remove_ear(0, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(list.find(VertexHandle(5)), 2U);
    EXPECT_EQ(list.remove_ear(4, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(list.find(VertexHandle(5)), 2U);
    EXPECT_EQ(list.remove_ear(2, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(list.find(VertexHandle(5)), EarList::NONE);
    EXPECT_EQ(indices(list.corners()), (std::vector<int>{9, 7}));
    EXPECT_EQ(list.front(), 1U);
}

TEST(EarList, RemovedEarLinksItsNeighboursAndMeasuresThem)
{
    EarList list(ring({0, 1, 2, 3}, {1, 2, 3, 4}));
    std::vector<int> measured;
    auto const measure = [&](HoleNode& node)
    {
        measured.push_back(node.cur.idx());
        node.angle = 0.5F;
        return true;
    };
    EXPECT_EQ(list.remove_ear(1, measure), EarRemoval::DONE);
    EXPECT_EQ(measured, (std::vector<int>{0, 2}));
    EXPECT_EQ(list[0].next, VertexHandle(2));
    EXPECT_EQ(list[2].prev, VertexHandle(0));
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(list.smallest(), 0U);
}

TEST(EarList, RemovalTellsWhatIsMissing)
{
    auto nodes = ring({0, 1, 2, 3}, {1, 2, 3, 4});
    nodes[1].prev = VertexHandle(8);
    nodes[2].next = VertexHandle(9);
    EarList list(nodes);
    EXPECT_EQ(list.remove_ear(1, KEEP_ANGLE), EarRemoval::NO_PREVIOUS_NODE);
    EXPECT_EQ(list.remove_ear(2, KEEP_ANGLE), EarRemoval::NO_NEXT_NODE);
    EXPECT_EQ(list.remove_ear(3, REFUSE), EarRemoval::UNMEASURED_CORNER);
    EXPECT_EQ(list.size(), 4U);
}

TEST(EarList, RemovalTellsWhichSideCannotBeMeasured)
{
    // The corner behind the ear is measured after the one before it.
    EarList list(ring({0, 1, 2, 3}, {1, 2, 3, 4}));
    auto const refuse_second = [](HoleNode& node) { return node.cur != VertexHandle(2); };
    EXPECT_EQ(list.remove_ear(1, refuse_second), EarRemoval::UNMEASURED_CORNER);
    EXPECT_EQ(list.size(), 4U);
}

TEST(EarList, AnEarThatIsGoneCannotBeTakenAgain)
{
    EarList list(ring({0, 1, 2, 3}, {1, 2, 3, 4}));
    EXPECT_EQ(list.remove_ear(1, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(list.remove_ear(1, KEEP_ANGLE), EarRemoval::NODE_NOT_ERASED);
    EXPECT_EQ(indices(list.corners()), (std::vector<int>{0, 2, 3}));
}

TEST(EarList, ASubLoopThatIsGoneCannotBeClosedAgain)
{
    EarList list(ring({0, 1, 2, 3, 4}, {1, 1, 1, 1, 1}));
    HoleNode const ear = list[1];
    auto const keys = list.key_nodes(ear);
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::CLOSURE_SIZE);
    EXPECT_EQ(indices(list.corners()), (std::vector<int>{3, 4}));
}

TEST(EarList, SubLoopOfThreeKeyNodesLeavesTheList)
{
    EarList list(ring({0, 1, 2, 3, 4}, {1, 1, 1, 1, 1}));
    HoleNode const ear = list[1];
    auto const keys = list.key_nodes(ear);
    EXPECT_EQ(keys, (std::vector<EarList::Place>{0, 1, 2}));
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(indices(list.corners()), (std::vector<int>{3, 4}));
}

TEST(EarList, SubLoopAtATouchingVertexJoinsItsTwoNodes)
{
    // 9 8 [0 1 2 0] 7: the ear at 1 closes the loop 0 1 2.
    EarList list(ring({9, 8, 0, 1, 2, 0, 7}, {1, 1, 1, 1, 1, 1, 1}));
    HoleNode const ear = list[3];
    auto const keys = list.key_nodes(ear);
    EXPECT_EQ(keys, (std::vector<EarList::Place>{2, 3, 4, 5}));
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::DONE);
    EXPECT_EQ(indices(list.corners()), (std::vector<int>{9, 8, 0, 7}));
    EXPECT_EQ(list.find(VertexHandle(0)), 5U);
    EXPECT_EQ(list[5].prev, VertexHandle(8));
    EXPECT_EQ(list[5].next, VertexHandle(7));
}

TEST(EarList, JoinedNodeThatCannotBeMeasuredIsReported)
{
    EarList list(ring({9, 8, 0, 1, 2, 0, 7}, {1, 1, 1, 1, 1, 1, 1}));
    HoleNode const ear = list[3];
    EXPECT_EQ(list.close_sub_loop(ear, list.key_nodes(ear), REFUSE), EarRemoval::UNMEASURED_CORNER);
}

TEST(EarList, WaysOutOfTwoVerticesDoNotJoin)
{
    auto nodes = ring({9, 8, 0, 1, 2, 0, 7}, {1, 1, 1, 1, 1, 1, 1});
    nodes[5].cur =
        VertexHandle(2); // leaves by another vertex than the one that the loop came in by
    nodes[5].prev = VertexHandle(0);
    EarList list(nodes);
    HoleNode const ear = list[3];
    auto const keys = list.key_nodes(ear);
    ASSERT_EQ(keys.size(), 4U);
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::HOLE_TYPE);
}

TEST(EarList, FourKeyNodesWithOneInsideTheEarAreReported)
{
    // Only the node at 1 has all its corners in the ear 0 1 2; both ways out are at 0.
    std::vector<HoleNode> nodes(4);
    auto const set = [&](std::size_t i, int prev, int cur, int next)
    {
        nodes[i].prev = VertexHandle(prev);
        nodes[i].cur = VertexHandle(cur);
        nodes[i].next = VertexHandle(next);
    };
    set(0, 9, 0, 1);
    set(1, 0, 1, 2);
    set(2, 1, 8, 2);
    set(3, 2, 0, 7);
    EarList list(nodes);
    HoleNode const ear = list[1];
    auto const keys = list.key_nodes(ear);
    ASSERT_EQ(keys.size(), 4U);
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::NODE_SIZE);
}

TEST(EarList, AnyOtherNumberOfKeyNodesIsUnexpected)
{
    EarList list(ring({0, 1, 2, 0, 1, 2}, {1, 1, 1, 1, 1, 1}));
    HoleNode const ear = list[1];
    auto const keys = list.key_nodes(ear);
    EXPECT_EQ(keys.size(), 6U);
    EXPECT_EQ(list.close_sub_loop(ear, keys, KEEP_ANGLE), EarRemoval::UNEXPECTED_KEY_NODES);
    EXPECT_EQ(list.size(), 6U);
}

TEST(EarList, BehavesLikeAPlainListWithLinearSearches)
{
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round)
    {
        auto const n = 1 + random() % 40;
        std::vector<int> vertices;
        std::vector<float> angles;
        for (unsigned i = 0; i < n; ++i)
        {
            vertices.push_back(static_cast<int>(random() % 20));
            angles.push_back(static_cast<float>(random() % 6)); // many ties
        }
        auto const nodes = ring(vertices, angles);
        EarList list(nodes);
        std::list<std::pair<std::size_t, HoleNode>> plain;
        for (std::size_t i = 0; i < nodes.size(); ++i)
        {
            plain.emplace_back(i, nodes[i]);
        }
        auto const new_angle = [](HoleNode& node)
        {
            node.angle = static_cast<float>((node.prev.idx() * 7 + node.next.idx() * 3) % 6);
            return true;
        };
        while (!plain.empty())
        {
            auto best = plain.begin();
            for (auto it = plain.begin(); it != plain.end(); ++it)
            {
                best = it->second.angle < best->second.angle ? it : best;
            }
            ASSERT_EQ(list.smallest(), best->first);
            ASSERT_EQ(list.front(), plain.front().first);
            ASSERT_EQ(list.size(), plain.size());
            auto const find = [&](VertexHandle v)
            {
                auto it = plain.begin();
                while (it != plain.end() && it->second.cur != v)
                {
                    ++it;
                }
                return it;
            };
            auto const ear = best->second;
            auto const removal = list.remove_ear(best->first, new_angle);
            auto const prev = find(ear.prev);
            if (prev == plain.end())
            {
                ASSERT_EQ(removal, EarRemoval::NO_PREVIOUS_NODE);
                break;
            }
            prev->second.next = ear.next;
            new_angle(prev->second);
            auto const next = find(ear.next);
            if (next == plain.end())
            {
                ASSERT_EQ(removal, EarRemoval::NO_NEXT_NODE);
                break;
            }
            next->second.prev = ear.prev;
            new_angle(next->second);
            ASSERT_EQ(removal, EarRemoval::DONE);
            plain.erase(best);
        }
    }
}
