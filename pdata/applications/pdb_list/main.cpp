#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

#include "pdata_error.h"
#include "pdb_list.h"

namespace
{

struct close_file {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

/// Reads a file whole.
bool read_file(const char *name, std::vector<uint8_t> &bytes)
{
    constexpr size_t block = 1 << 16;
    const std::unique_ptr<std::FILE, close_file> file(std::fopen(name, "rb"));
    if (file == nullptr)
        return false;
    for (size_t got = block; got == block;) {
        const size_t size = bytes.size();
        bytes.resize(size + block);
        got = std::fread(bytes.data() + size, 1, block, file.get());
        bytes.resize(size + got);
    }
    return std::ferror(file.get()) == 0;
}

int list_file(const char *name)
{
    std::vector<uint8_t> pdb;
    view_error_t error;
    if (!read_file(name, pdb)) {
        std::fprintf(stderr, "unable to read %s\n", name);
        return PDATA_ERR_IO;
    }
    if (pdb_list_print(pdb, error))
        return PDATA_SUCCESS;
    std::fprintf(stderr, "%s: %s at byte %zu: %s\n", name, view_fault_name(error.fault),
                 error.offset, error.text);
    return PDATA_ERR_INVALID_PDB;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <file.pdb>\n", argc > 0 ? argv[0] : "pdb_list");
        return PDATA_ERR_INVALID_OPERATION;
    }
    try {
        return list_file(argv[1]);
    } catch (const std::exception &) {
        std::fprintf(stderr, "no memory for %s\n", argv[1]);
        return PDATA_ERR_NO_MEMORY;
    }
}
