#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

#include "pdata_compiler.h"

namespace
{

/// Has large buffers go back to the system when they are freed. The C library would raise the bound
/// to the largest buffer freed so far, and the sections of a loadable pdb would stay in memory
/// beside the output that they were copied into. Without it only more memory is used.
void return_freed_buffers()
{
#ifdef M_MMAP_THRESHOLD
    (void)mallopt(M_MMAP_THRESHOLD, 128 * 1024);
#endif
}

} // namespace

int main(int argc, char **argv)
{
    return_freed_buffers();
    return pdata_compiler_main(argc, argv);
}
