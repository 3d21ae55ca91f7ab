#include "open_pdb.h"

#include "open_file.h"
#include "pdb_verify.h"

bool open_pdb(console_t &console, const input_file_t &file, pdb_view_t &pdb)
{
    view_error_t error;
    if (pdb_verify_open(input_file_bytes(file), pdb, error))
        return true;
    print_fault(console, file.name, error);
    return false;
}
