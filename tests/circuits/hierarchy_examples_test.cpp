// The examples of the hierarchy: one power stage used twice with its own
// duty cycle each, and a flyback converter isolated by an ideal transformer.
#include <gtest/gtest.h>

#include "circuit_run.h"
#include "qz3.h"

using qz3test::Circuit;
using qz3test::Example;
using qz3test::MeanOver;

// A buck stage gives D * Vin on average: 25 % and 75 % of 12 V.
TEST(HierarchyExamples, OneStageTwiceWithItsOwnDuty) {
    Circuit c(Example("buck_two_stages.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(10e-3));
    EXPECT_NEAR(MeanOver(c.Read("Vout1"), 9e-3, 10e-3), 3.0, 0.05);
    EXPECT_NEAR(MeanOver(c.Read("Vout2"), 9e-3, 10e-3), 9.0, 0.1);
}

// In continuous conduction a flyback gives n * D / (1 - D) * Vin:
// 0.5 * 0.4 / 0.6 * 24 V = 8 V.
TEST(HierarchyExamples, FlybackThroughAnIdealTransformer) {
    Circuit c(Example("flyback_ideal_transformer.qz3"));
    QZ3_START_OR_SKIP(c);
    ASSERT_TRUE(c.RunTo(20e-3));
    EXPECT_NEAR(MeanOver(c.Read("Vout"), 18e-3, 20e-3), 8.0, 0.15);
}
