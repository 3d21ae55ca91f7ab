#include <cstdio>

#include "pdata_compiler_files.h"
#include "pdb_list.h"

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <file.pdb>\n", argc > 0 ? argv[0] : "pdb_list");
        return PDATA_ERR_INVALID_OPERATION;
    }
    csa_buf_t pdb;
    if (!pdata_compiler_read(argv[1], &pdb)) {
        std::fprintf(stderr, "unable to read %s\n", argv[1]);
        return PDATA_ERR_IO;
    }
    const pdata_status_t status = pdb_list_print(pdb);
    if (status != PDATA_SUCCESS)
        std::printf("(%u:%s)\n%s\n", status, pdata_status_code2str(status), pdata_status_msg_get());
    return static_cast<int>(status);
}
