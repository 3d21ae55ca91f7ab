// Peak memory of the compiler as the system sees it: its resident pages, so with its own code, its
// stack, and what the allocator keeps of the blocks that were freed.
//
// The text is made by a process of its own: a child begins as large as its parent is.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <vector>

#include "bench_input.h"
#include "bench_run.h"

namespace
{

using command_t = std::vector<std::string>;

/// The side of the fork that becomes the command; `output` takes what it prints, unless null.
[[noreturn]] void become(const command_t &command, const char *output)
{
    std::vector<char *> words;
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str())); // execv does not write into them
    words.push_back(nullptr);
    if (output == nullptr || std::freopen(output, "wb", stdout) != nullptr)
        execv(words[0], words.data());
    _exit(127);
}

/// Runs a command and returns its peak in bytes.
size_t run(const command_t &command, const char *output)
{
    const pid_t child = fork();
    bench_require(child >= 0, "starting a process");
    if (child == 0)
        become(command, output);
    int status = 0;
    rusage usage{};
    bench_require(wait4(child, &status, 0, &usage) == child && WIFEXITED(status) &&
                      WEXITSTATUS(status) == 0,
                  command[0].c_str());
    return static_cast<size_t>(usage.ru_maxrss) * 1024;
}

void report(const char *name, const description_shape_t &shape)
{
    const std::string text = bench_file("text.pdd");
    const std::string pdb = bench_file("out.pdb");
    run({PDATA_BENCH_GENERATOR, std::to_string(shape.protocols), std::to_string(shape.rules)},
        text.c_str());
    const auto compile = [&](const char *form) {
        return run({PDATA_BENCH_COMPILER, "--pdd", text, "--cfg-path", bench_cfg_path(), form,
                    "--pdb-out", pdb},
                   nullptr);
    };
    const auto text_size = static_cast<size_t>(std::filesystem::file_size(text));
    bench_heading(std::string("memory of the process, input ") + name + ":");
    bench_peak("description flow", compile("--description"), 8 * text_size + (size_t{32} << 20));
    const size_t peak = compile("--loadable");
    const auto loadable_size = static_cast<size_t>(std::filesystem::file_size(pdb));
    bench_peak("loadable flow", peak, 3 * text_size + loadable_size + (size_t{48} << 20));
    bench_line("loadable flow, times text and output together",
               static_cast<double>(peak) / static_cast<double>(text_size + loadable_size), "");
}

} // namespace

int main()
{
    // The compiler leaves its generated sources in the working directory.
    std::filesystem::current_path(std::filesystem::path(bench_file("x")).parent_path());
    std::setbuf(stdout, nullptr); // nothing may wait in a buffer that a child takes over
    report("once", bench_shape);
    report("twice", bench_double_shape);
    report("four times", {4 * bench_shape.protocols, 4 * bench_shape.rules, 0, 1});
}
