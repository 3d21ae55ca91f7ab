// Verification of the loadable pdb of the large description, and of the pdb in front of it.
#include "allocation_peak.h"
#include "bench_input.h"
#include "bench_run.h"
#include "pdata_compile.h"
#include "pdb_verify.h"

namespace
{

constexpr double MEGABYTE = 1e6;

/// Where the parts of a pdb stand in a file, one behind another.
std::vector<uint8_t> file_of(const pdb_list_t &pdb)
{
    std::vector<uint8_t> file;
    for (const pdb_t &part : pdb) {
        const std::span<const uint8_t> bytes = pdb_header_bytes(part);
        file.insert(file.end(), bytes.begin(), bytes.end());
    }
    return file;
}

struct files_t {
    std::vector<uint8_t> described;
    std::vector<uint8_t> loadable;
};

files_t make_files()
{
    files_t files;
    const std::string text = generate_description(bench_shape, nullptr);
    pdb_list_t pdb;
    pdb_t loadable;
    bench_serialize(bench_pdd(text), &pdb);
    files.described = file_of(pdb);
    bench_require(pdata_compile(&pdb, &loadable, nullptr, {}, 1) == PDATA_SUCCESS, "compiling");
    const std::span<const uint8_t> bytes = pdb_header_bytes(loadable);
    files.loadable.assign(bytes.begin(), bytes.end());
    return files;
}

const files_t &files()
{
    static const files_t made = make_files();
    return made;
}

double verify(const std::vector<uint8_t> &file)
{
    return bench_time([&] {
        pdb_view_t view;
        view_error_t error;
        bench_require(pdb_verify_open(file, view, error), error.text);
    });
}

size_t verify_peak()
{
    const std::vector<uint8_t> &file = files().loadable;
    allocation_peak_start();
    (void)verify(file); // its time is measured elsewhere
    return allocation_peak_bytes();
}

void report()
{
    bench_heading("verification");
    const double loadable = static_cast<double>(files().loadable.size()) / MEGABYTE;
    const double described = static_cast<double>(files().described.size()) / MEGABYTE;
    bench_line("loadable pdb", loadable, "MB");
    bench_at_least("rate on it", loadable / bench_fastest("loadable"), "MB/s", 200);
    bench_line("pdb of the description", described, "MB");
    bench_at_least("rate on it", described / bench_fastest("description"), "MB/s", 200);
    bench_peak("memory", verify_peak(), files().loadable.size() * 2 + (16U << 20));
}

} // namespace

int main(int argc, char **argv)
{
    bench_add("loadable", {files().loadable.size(), 0}, [] { return verify(files().loadable); });
    bench_add("description", {files().described.size(), 0},
              [] { return verify(files().described); });
    return bench_main(argc, argv, report);
}
