/// Files as tests read them.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

/// Returns the content of a file, which must be there.
inline std::string file_text(const std::string &name)
{
    std::ifstream file(name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}
