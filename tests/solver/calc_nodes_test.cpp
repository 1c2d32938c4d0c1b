#include "solver/calc.h"

#include <gtest/gtest.h>

using qz3::CCalc;

TEST(CalcNodes, RecordsAreSortedAndClassified) {
    for (const bool transient : {true, false}) {
        CCalc c;
        c.m_Transient = transient;
        ASSERT_TRUE(c.AddNodeId(5, 1));
        ASSERT_TRUE(c.AddNodeId(-3, 2));   // a sensing pin alone is no analogue pin
        ASSERT_TRUE(c.AddNodeId(7, 0));
        ASSERT_TRUE(c.AddNodeId(5, 4));
        ASSERT_TRUE(c.AddNodeId(-3, 1));   // pins with the same negative id share a node
        ASSERT_EQ(c.m_Nodes.Count(), 3);
        EXPECT_EQ(c.m_Nodes[0]->id, -3);
        EXPECT_EQ(c.m_Nodes[1]->kind, 5);
        c.ClassifyNodes();
        EXPECT_EQ(c.m_NodeCount, transient ? 2 : 3);
        EXPECT_EQ(c.m_SignalCount, transient ? 1 : 0);
        c.SetSizes(c.m_NodeCount, 2, c.m_SignalCount);
        EXPECT_EQ(c.m_Size, transient ? 5 : 6);
        EXPECT_EQ(c.m_Total, 6);
        c.IndexNodes();
        EXPECT_EQ(c.NodeIndex(-3), 1);
        EXPECT_EQ(c.NodeIndex(5), 2);
        // A signal node lies behind the branches, outside the matrices.
        EXPECT_EQ(c.NodeIndex(7), transient ? 5 : 3);
        c.FreeNodeRecords();
        EXPECT_EQ(c.m_Nodes.Count(), 0);
    }
}

TEST(CalcNodes, PairsMergeToTheLowerId) {
    CCalc c;
    ASSERT_TRUE(c.AddNodePair(7, 3));
    ASSERT_TRUE(c.AddNodePair(7, 9));
    ASSERT_TRUE(c.AddNodePair(9, 2));
    c.ReplaceNodeInLaterPairs(1, 7, 3);
    EXPECT_EQ(c.m_NodePairs[0].first, 7);
    EXPECT_EQ(c.m_NodePairs[1].first, 3);
    EXPECT_EQ(c.m_NodePairs[2].first, 9);
    c.MergeNodes();
    EXPECT_TRUE(c.m_NodePairs.empty());
}

TEST(CalcNodes, NoComponentsGiveOnlyGround) {
    CCalc c;
    ASSERT_TRUE(c.NumberNodes());
    EXPECT_EQ(c.m_Size, 1);
    EXPECT_EQ(c.m_Total, 1);
    EXPECT_EQ(c.m_NodeCount + c.m_BranchCount + c.m_SignalCount, 0);
}
