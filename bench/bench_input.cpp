#include "bench_input.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench_run.h"
#include "pdata_compiler_files.h"

namespace
{

/// A directory that lives as long as the process.
struct temporary_directory_t {
    std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("pdata_bench." + std::to_string(getpid()));

    temporary_directory_t() { std::filesystem::create_directories(path); }
    ~temporary_directory_t()
    {
        std::error_code ignored; // what stays behind is in the temporary directory
        std::filesystem::remove_all(path, ignored);
    }
};

} // namespace

const char *bench_cfg_path()
{
    return PDATA_BENCH_CFG;
}

const pdata_cfg_t *bench_cfg()
{
    static const pdata_cfg_t *cfg =
        pdata_cfg_load_from_file(nullptr, bench_cfg_path(), pdata_compiler_read);
    bench_require(cfg != nullptr, "loading the configuration");
    return cfg;
}

pdd_t bench_pdd(std::string_view text)
{
    return {csa_buf_t(text.begin(), text.end())};
}

std::string bench_example()
{
    std::ifstream file(PDATA_BENCH_CFG "/../protocols.pdd", std::ios::binary);
    bench_require(file.good(), "reading the example");
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string bench_file(const std::string &name)
{
    static const temporary_directory_t directory;
    return directory.path / name;
}

void bench_serialize(const pdd_t &pdd, pdb_list_t *pdb)
{
    bench_require(pdata_serialize(&pdd, pdb, bench_cfg(), nullptr, PDATA_TYPE_PROTOCOL) ==
                      PDATA_SUCCESS,
                  pdata_status_msg_get());
}
