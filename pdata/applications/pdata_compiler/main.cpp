#include <malloc.h>

#include "pdata_compiler.h"

/// Buffers of this many bytes and more go back to the system when they are freed. The C library
/// would raise the bound to the largest buffer freed so far, and the sections of a loadable pdb
/// would stay in memory beside the output that they were copied into.
static constexpr int RETURNED_BUFFER_SIZE = 128 * 1024;

int main(int argc, char **argv)
{
    (void)mallopt(M_MMAP_THRESHOLD, RETURNED_BUFFER_SIZE); // without it only more memory is used
    return pdata_compiler_main(argc, argv);
}
