#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// A row of a parameterised test, listed and printed by its name.
struct TestRow
{
    const char* what;

    friend std::ostream& operator<<(std::ostream& out, const TestRow& row) { return out << row.what; }
};

template <class Row> std::string RowName(const testing::TestParamInfo<Row>& info)
{
    return info.param.what;
}
