/// @file
/// What unit tests have in common.

#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "Model.h"

/// A test with random paths, which must leave no node behind.
class PathTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), 0U);
        EXPECT_EQ(Tavik::Impl::inspectValueTable().size(), 0U);
    }

    const testing::ScopedTrace seed{__FILE__, __LINE__, "TAVIK_TEST_SEED=" + std::to_string(Model::seed())};
    Model::Generator random{Model::seed()};
};
