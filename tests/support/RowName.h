#pragma once

#include <gtest/gtest.h>

/** Names each parameterised case after its row's name field, so that CTest lists
    "Pan/HardLeft" rather than the row's bytes. Pass it to INSTANTIATE_TEST_SUITE_P. */
struct RowName
{
    template <typename Row>
    std::string operator() (const testing::TestParamInfo<Row>& info) const { return info.param.name; }
};
