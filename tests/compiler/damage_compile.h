/// Damaged pdbs on their way into a loadable pdb. What comes out is read whole and checked.
#pragma once

#include "damage_pdb.h"
#include "loadable_reader.h"
#include "pdata_compile.h"
#include "verified.h"

/// Compiles the parts of a pdb. Returns whether that succeeded.
inline bool compile_parts(const pdb_list_t &pdb, uint32_t network_endian)
{
    pdb_t loadable;
    pdata_status_t status;
    {
        silence nothing_printed;
        status = pdata_compile(&pdb, &loadable, nullptr, {}, network_endian);
    }
    expect_status(status);
    if (status == PDATA_SUCCESS) {
        EXPECT_EQ(loadable_verify(pdb_header_bytes(loadable), LOADABLE_FOREIGN), "");
        EXPECT_EQ(verify_text(pdb_header_bytes(loadable), true), "");
    }
    forget();
    return status == PDATA_SUCCESS;
}

/// Reads the file of a pdb and compiles it. Returns whether that succeeded.
inline bool compile_pdb(std::string_view file)
{
    pdb_list_t pdb;
    read_pdb(file, &pdb);
    return compile_parts(pdb, 1);
}
