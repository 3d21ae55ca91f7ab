// Writes the manual pages and completions: pdata_manual FRAMES DIR. They are made from the
// definitions of the command lines and from the tables of the format, when the project is built.
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "completions.h"
#include "manual_pages.h"
#include "pdata_compiler_options.h"

namespace
{

void write_page(const std::filesystem::path &folder, const std::string &name,
                const std::string &text)
{
    std::ofstream file(folder / name, std::ios::binary);
    file << text;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + name);
}

std::string read_frame(const std::filesystem::path &folder, const std::string &name)
{
    std::ifstream file(folder / (name + ".in"), std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read the frame of " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Completions: their files, and what fills their frames.
struct completion_row_t {
    const char *name;
    void (*fill)(std::string &text, const std::vector<manual_command_t> &commands);
};

constexpr completion_row_t completions[] = {
    {"pdata.bash", completion_bash},
    {"_pdata", completion_zsh},
    {"pdata.fish", completion_fish},
};

void write_completions(const std::filesystem::path &frames, const std::filesystem::path &folder,
                       const std::vector<manual_command_t> &commands)
{
    for (const completion_row_t &row : completions) {
        std::string text = read_frame(frames, row.name);
        row.fill(text, commands);
        write_page(folder, row.name, text);
    }
}

void write_pages(const std::filesystem::path &folder, const std::vector<manual_command_t> &commands)
{
    std::filesystem::create_directories(folder);
    write_page(folder, "pdata.1", manual_page_pdata());
    for (const manual_command_t &command : commands)
        write_page(folder, fmt::format("pdata-{}.1", command.name),
                   manual_page_command(command, commands));
    write_page(folder, "pdata_compiler.1", manual_page_compiler(pdata_compiler_option_table()));
    write_page(folder, "pdb.5", manual_page_format());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fputs("usage: pdata_manual FRAMES DIR\n", stderr);
        return 2;
    }
    try {
        const std::vector<manual_command_t> commands = manual_commands();
        write_pages(argv[2], commands);
        write_completions(argv[1], argv[2], commands);
    } catch (const std::exception &error) {
        fmt::print(stderr, "pdata_manual: {}\n", error.what());
        return 1;
    }
    return 0;
}
