/// A folder of its own for tests that read and write files.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "file_text.h"

/// A test whose working directory is a fresh folder, removed afterwards.
class work_folder : public testing::Test
{
protected:
    work_folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "pdata_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        folder = name;
        before = std::filesystem::current_path();
        std::filesystem::current_path(folder);
    }
    ~work_folder() override
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }

    std::filesystem::path folder;

private:
    std::filesystem::path before;
};

/// Writes a file of the working directory.
inline void put_file(const std::string &name, std::string_view content)
{
    std::ofstream file(name, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
}

inline void put_file(const std::string &name, const std::vector<uint8_t> &content)
{
    put_file(name, {reinterpret_cast<const char *>(content.data()), content.size()});
}

inline std::vector<uint8_t> get_bytes(const std::string &name)
{
    const std::string content = file_text(name);
    return {content.begin(), content.end()};
}
