#include "pdata_compiler.h"

int main(int argc, char **argv)
{
    return pdata_compiler_main(argc, argv);
}
