/// @file
/// What unit tests have in common.

#pragma once

#include <gtest/gtest.h>

#include "Model.h"

/// A test with random paths, which must leave no node behind.
class PathTest : public testing::Test {
protected:
    void TearDown() override { expectEntries(0, 0); }

    static void expectEntries(std::size_t segments, std::size_t values) {
        EXPECT_EQ(Tavik::Impl::inspectSegmentTable().size(), segments);
        EXPECT_EQ(Tavik::Impl::inspectValueTable().size(), values);
    }

    const testing::ScopedTrace seed{__FILE__, __LINE__, "TAVIK_TEST_SEED=" + std::to_string(Model::seed())};
    Model::Generator random{Model::seed()};
};
